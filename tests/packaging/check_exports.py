#!/usr/bin/env python3
"""check_exports.py <library> <source folder> [<header>...]: what a shared library lets others see.

The further headers, relative to the source folder, are those of the library's platform layer. All
that the public headers mark with ZTK_API is there, every class with virtual functions has its
type information and its table, and nothing else is there: no template of the standard library, no
helper of our own.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

library, source = sys.argv[1], pathlib.Path(sys.argv[2])
problems = []


def run(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def symbols(*options):
    """The names of defined symbols, without versions, and without those that are versions."""
    lines = (line.split() for line in run("nm", "--defined-only", "-P", *options, library).splitlines())
    return {name.split("@")[0] for name, kind, *_ in lines if kind != "A"}


def mangled(name):
    return f"{len(name)}{name}"


headers = [source / header for header in sys.argv[3:]]
headers += [h for h in sorted((source / "ztk").rglob("*.h"))
            if not {"internal", "platform"} & set(h.relative_to(source).parts)]
text = "\n".join(re.sub(r"//.*", "", h.read_text()) for h in headers)
classes = set(re.findall(r"^(?:class|struct) ZTK_API (\w+)", text, re.M))
nested = set(re.findall(r"^\s+(?:class|struct) ZTK_API (\w+)", text, re.M))
functions = set(re.findall(r"^ZTK_API [^;{]*?\b(\w+)\(", text, re.M))
assert len(classes) > 30 and len(functions) > 30, "the headers were not understood"

exported = symbols("-D")
# What qualifies the first name of a mangled symbol: tables, type information, thunks, guards.
first_name = re.compile(r"_Z(?:TV|TT|TI|TS|GV|Thn?\d+_|Tvn?\d+_n?\d+_|Z|N|V|K)*(\d+)(\w+)")


def owner(symbol):
    match = first_name.match(symbol)
    return match.group(2)[:int(match.group(1))] if match else None


owners = {symbol: owner(symbol) for symbol in exported}
for symbol in sorted(s for s, name in owners.items() if name not in classes | functions):
    problems.append(f"exported, but not marked in a public header: {symbol}")
# (A class may be inline altogether.)
for name in sorted(functions - set(owners.values())):
    problems.append(f"marked in a public header, but not exported: {name}")

# What a header of the layer declares without the mark would not link.
for header in (source / header for header in sys.argv[3:]):
    plain = re.sub(r"//.*|^\s*#.*", "", header.read_text(), flags=re.M)
    for statement in re.split(r"[;{}]", plain):
        statement = " ".join(statement.split())
        name = re.match(r"[\w:<>*&~ ]*?([\w~]+)\(", statement)
        marks = ("ZTK_API", "using", "constexpr", "inline", "for", "if", "return", "static_assert", "alignas")
        if name and not statement.startswith(marks):
            problems.append(f"{header.name} declares without ZTK_API: {name.group(1)}")

# The compiler knows which classes have virtual functions.
with tempfile.TemporaryDirectory() as work:
    program = pathlib.Path(work) / "polymorphic.cpp"
    program.write_text(
        '#include <cstdio>\n#include <type_traits>\n#include "ztk/ztk.h"\nint main() {\n'
        # A class template is asked about through the classes that derive from it.
        + "".join(f'if (std::is_polymorphic_v<{c}>) std::puts("{c}");\n'
                  for c in sorted(classes) if not re.search(rf">\s*class ZTK_API {c}\b", text))
        + "}\n")
    run("g++", "-std=c++20", f"-I{source}", "-o", f"{work}/polymorphic", str(program))
    polymorphic = set(run(f"{work}/polymorphic").split())
assert len(polymorphic) > 10, "hardly a class has virtual functions"
for name in sorted(polymorphic):
    for kind, what in (("TV", "virtual table"), ("TI", "type information"), ("TS", "type name")):
        if f"_Z{kind}{mangled(name)}" not in exported:
            problems.append(f"{name}: its {what} is not exported")

# A class inside another may not be named from outside; what the library has of it must be visible.
for symbol in symbols():
    if re.match(r"_ZT[VIS]", symbol) and symbol not in exported:
        name = run("c++filt", symbol).strip().split(" for ")[-1]
        if name.split("::")[-1].split("<")[0] in classes | nested and "anonymous" not in name:
            problems.append(f"hidden: {symbol}")

print(f"{len(exported)} symbols of {len(classes)} classes ({len(polymorphic)} with virtual functions) "
      f"and {len(functions)} functions")
if problems:
    sys.exit("\n".join(problems))
