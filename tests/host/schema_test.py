"""Every output of `quinrep --json` that quinrep_tests kept is as the schema says, and the schema describes no other."""

import json
import os
import pathlib
import sys
import unittest

try:
    import jsonschema
except ImportError:
    required = os.environ.get("QUINMARK_REQUIRE_TOOLS") == "1"
    print(f"{'FAILED' if required else 'SKIPPED'}: python3-jsonschema is missing; run scripts/install-deps.sh --tests")
    sys.exit(1 if required else 77)

SCHEMA = json.loads(pathlib.Path(os.environ["JSON_SCHEMA"]).read_text(encoding="utf-8"))
OUTPUTS = sorted(pathlib.Path(os.environ["JSON_OUTPUTS"]).glob("*.json"))


def validator(definition):
    return jsonschema.Draft202012Validator({"$ref": f"#/$defs/{definition}", "$defs": SCHEMA["$defs"]})


class SchemaTest(unittest.TestCase):
    def test_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_outputs_are_as_it_says(self):
        met = set()
        for file in OUTPUTS:
            definition = file.name.partition(".")[0]
            met.add(f"#/$defs/{definition}")
            output = json.loads(file.read_text(encoding="utf-8"))
            with self.subTest(file.name):
                self.assertEqual([], [f"{error.json_path}: {error.message}"
                                      for error in validator(definition).iter_errors(output)])
                self.assertFalse(validator(definition).is_valid({**output, "stranger": 1}))
        self.assertEqual({command["$ref"] for command in SCHEMA["anyOf"]}, met)


if __name__ == "__main__":
    if not OUTPUTS and os.environ.get("QUINMARK_REQUIRE_DATABASE") != "1":
        print("SKIPPED: without the databases quinrep_tests keeps no output")
        sys.exit(77)
    unittest.main()
