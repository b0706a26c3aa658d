"""The example host in C#, compiled against the type library and run on the component's stand-in. A reference to the
library is made of its source here: as on Windows, a host finds nothing else in it, and arguments travel without `ref`.
The calls come over a socket."""

import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import unittest

from host_behaviour import Component, ComponentError, HostBehaviour, Table
from side import skip
from type_library import ENUMS, INTERFACES

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLE = HERE.parents[1] / "examples/csharp/Replicate.cs"
TYPES = {"BSTR": "string", "short": "short", "long": "int", "VARIANT_BOOL": "bool", "VARIANT": "object",
         "DATE": "System.DateTime", "IDispatch": "object", "IUnknown": "object"}


def members(body):
    """Of each member of an interface that can be called or read: whether it is read, its name, its result, and its
    arguments as (type, name)."""
    for attributes, name, declared in re.findall(r"\[(id[^\]]*)\] HRESULT (\w+)\((.*?)\);", body, re.S):
        arguments = [(flags, TYPES.get(kind, kind), argument)
                     for flags, kind, argument in re.findall(r"\[([^\]]*)\]\s*(\w+)\*+ (\w+)", declared)]
        results = [kind for flags, kind, _ in arguments if "retval" in flags]
        given = [(kind, argument) for flags, kind, argument in arguments if "retval" not in flags]
        if "propput" not in attributes and "restricted" not in attributes:
            yield "propget" in attributes, name, (results or ["void"])[0], given


def declarations(name, body):
    """An interface of the library, and a class whose members ask the stand-in."""
    face, forwards = "", ""
    for is_read, member, result, given in members(body):
        call = "Call(" + ", ".join([f'"{member}"'] + [argument for _, argument in given]) + ")"
        if result.startswith("_"):
            call = f"new {result[1:]}((string){call})"
        elif result != "void":
            call = f"({result}){call}"
        typed = ", ".join(f"{kind} {argument}" for kind, argument in given)
        face += f"{result} {member} {{ get; }} " if is_read else f"{result} {member}({typed}); "
        body = f"{{ {'' if result == 'void' else 'return '}{call}; }} "
        forwards += f"public {result} {member} " + (f"{{ get {body}}} " if is_read else f"({typed}) {body}")
    made = f'public {name}() : base("0") {{ }} ' if name == "Factory" else ""
    made += f"public {name}(string number) : base(number) {{ }} "
    return f"public interface _{name} {{ {face}}}\npublic class {name} : Remote, _{name} {{ {made}{forwards}}}\n"


def library():
    enums = [f"public enum {name} {{ {', '.join(f'{word} = {value}' for word, value in words.items())} }}\n"
             for name, words in ENUMS.items()]
    classes = [declarations(name, body) for name, body in INTERFACES.items() if name != "Collection"]
    return f"namespace QuinmarkRepDLL\n{{\n{''.join(enums + classes)}}}\n"


class Calls:
    """Answers the calls of a program by the objects of a stand-in."""

    def __init__(self, component):
        self.objects = [component]

    def answer(self, line):
        number, member, *arguments = line.rstrip("\n").split("\t")
        found = getattr(self.objects[int(number)], member)
        try:
            value = found(*arguments) if callable(found) else found
        except ComponentError as error:
            _, source, text, _, _, code = error.excepinfo
            return f"error\t{code}\t{source}\t{text}"
        if isinstance(value, (Component, Table)):
            self.objects.append(value)
            return f"object\t{len(self.objects) - 1}"
        return f"{type(value).__name__}\t{value}"


class CSharpHost(HostBehaviour, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        (cls.folder / "library.cs").write_text(library(), encoding="utf-8")
        cls.compile("-target:library", "library.cs", HERE / "Remote.cs")
        cls.compile("-warnaserror", "-r:library.dll", "-out:replicate.exe", EXAMPLE)

    @classmethod
    def compile(cls, *arguments):
        subprocess.run(["mcs", "-nologo", *arguments], cwd=cls.folder, check=True)

    def run_host(self, component, *arguments):
        with socket.create_server(("127.0.0.1", 0)) as server:
            host = subprocess.Popen(["mono", self.folder / "replicate.exe", "run.log", *arguments], text=True,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                    env={**os.environ, "COMPONENT": str(server.getsockname()[1])})
            with host:
                if len(arguments) < 2:
                    connection, _ = server.accept()
                    calls = Calls(component)
                    with connection, connection.makefile("rw", encoding="utf-8") as wire:
                        for line in wire:
                            wire.write(calls.answer(line) + "\n")
                            wire.flush()
                self.said = host.stdout.read()
        return host.returncode


if __name__ == "__main__":
    if not shutil.which("mcs"):
        skip("mono-mcs is missing; run scripts/install-deps.sh --tests",
             os.environ.get("QUINMARK_REQUIRE_TOOLS") == "1")
    unittest.main()
