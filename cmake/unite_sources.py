#!/usr/bin/env python3
"""unite_sources.py <build folder> <output folder>: for clang-tidy, which takes most of its time for
headers, the sources of each folder that a target compiles alike as one. Prints what it wrote, the
largest first. The analyzer takes functions of included sources for the program's own, and not for
those of a header, where the name of the including one has "UnifiedSource" in it."""
import json
import pathlib
import sys

build, output = map(pathlib.Path, sys.argv[1:])
root = pathlib.Path(__file__).resolve().parent.parent
groups = {}
for entry in json.loads((build / "compile_commands.json").read_text()):
    source = pathlib.Path(entry["file"])
    if not source.is_relative_to(root):
        continue
    folder = source.relative_to(root).parent
    if folder.parts[0] not in ("ztk", "tools", "examples"):
        continue
    options = entry["command"][:entry["command"].rindex(" -o ")]
    target = entry["command"].rsplit(" -o ")[-1].partition(".dir/")[0]
    if target.startswith("tests/"):
        continue  # Compiled once more, into a program of tests.
    key = (str(folder), target, options, entry["directory"])
    groups.setdefault(key, []).append(source)

output.mkdir(parents=True, exist_ok=True)
for old in output.glob("UnifiedSource*"):
    old.unlink()
database, sizes = [], {}
for number, ((folder, _, options, directory), sources) in enumerate(groups.items()):
    united = (output / f"UnifiedSource{number}_{folder.replace('/', '_')}.cpp").resolve()
    united.write_text("".join(f'#include "{source}"\n' for source in sources))
    sizes[united] = sum(source.stat().st_size for source in sources)
    database.append({"directory": directory, "file": str(united),
                     "command": f"{options} -c {united}"})
(output / "compile_commands.json").write_text(json.dumps(database, indent=1))
for united in sorted(sizes, key=sizes.get, reverse=True):
    print(united)
