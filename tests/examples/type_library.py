"""The names of the component's type library, from the source that it is compiled from."""

import pathlib
import re

IDL = (pathlib.Path(__file__).resolve().parents[2] / "src/typelib/QuinmarkRepDLL.idl.in").read_text(encoding="utf-8")
# The library's id and description. Hosts name its version too, which is the product's.
ID, DESCRIPTION = re.search(r'uuid\(([0-9A-F-]+)\),\s*version\(.*?\),\s*helpstring\("(.*?)"\)', IDL).groups()
# Each by its name without the underscore.
INTERFACES = dict(re.findall(r"interface _(\w+) : IDispatch\s*{(.*?)\n    }", IDL, re.S))
# The members that a late-bound host can call.
MEMBERS = {name: {member for attributes, member in re.findall(r"\[(id[^\]]*)\] HRESULT (\w+)", body)
                  if "restricted" not in attributes}
           for name, body in INTERFACES.items()}
# The same with their arguments.
WORDS = {name: set(re.findall(r"\w+", body)) for name, body in INTERFACES.items()}
ENUMS = {name: {word: int(value) for word, value in re.findall(r"(\w+) = (\d+)", body)}
         for name, body in re.findall(r"enum (\w+) {(.*?)}", IDL, re.S)}
CONSTANTS = {word: value for words in ENUMS.values() for word, value in words.items()}
TYPES = set(re.findall(r"\b(?:coclass|interface|enum) (\w+)", IDL))
