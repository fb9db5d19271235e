#!/usr/bin/env python3
"""Reads sources with clang-tidy, several of a folder at once.

Most of what clang-tidy does is to walk the headers that a source includes, so
sources that are compiled alike are put behind one another and read as one. Those
that cannot stand in one file, as two of them use a name for different things, are
read apart. Where a fault is found, the sources are read once more, each alone, so
that what is said names the file and the line.

  tools/tidy.py [--recent] BUILD     (a build folder with its compile_commands.json)

With --recent it reads the sources that the last COMMITS commits changed, or a header of
a name that they include, and follows the paths through a function less far.
"""

import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

AT_ONCE = 12  # sources in one reading
COMMITS = 20
TREE = Path(__file__).resolve().parent.parent


def flags_of(command, source):
    """What the compiler is told but for its input and its output."""
    words = shlex.split(command)[1:]
    output = words.index("-o")
    del words[output : output + 2]
    return tuple(word for word in words if word not in (source, "-c"))


def recent(source, changed):
    if changed is None or os.path.relpath(source, TREE) in changed:
        return True
    headers = {os.path.basename(name) for name in changed if name.endswith(".h")}
    included = re.findall(r'^#include "(?:.*/)?(.*)"', Path(source).read_text(), re.MULTILINE)
    return not headers.isdisjoint(included)


def changed_lately():
    """None when nobody knows, as in a clone without its past."""
    said = run(["git", "diff", "--name-only", f"HEAD~{COMMITS}"], TREE)
    return None if said.returncode else set(said.stdout.splitlines())


def batches(build, changed=None):
    """Sources of one folder and of the same flags, at most AT_ONCE of them each."""
    alike = defaultdict(dict)
    for entry in json.loads((build / "compile_commands.json").read_text()):
        source = entry["file"]
        if source.startswith(f"{TREE}/") and not source.startswith(f"{TREE}/build/"):
            key = (os.path.dirname(source), flags_of(entry["command"], source))
            alike[key][source] = True
    seen = set()
    for (folder, flags), sources in alike.items():
        mine = [each for each in sources if each not in seen and recent(each, changed)]
        seen.update(mine)
        for start in range(0, len(mine), AT_ONCE):
            yield folder, flags, mine[start : start + AT_ONCE]


def read(folder, flags, sources, scratch):
    """What clang-tidy says of the sources; nothing when it finds no fault."""
    if len(sources) == 1:
        said = run(["clang-tidy", "--quiet", sources[0], "--", *flags], folder)
        return said.stdout + said.stderr if said.returncode else ""

    # Where the settings hold that hold for the sources.
    apart = scratch / os.path.relpath(folder, TREE)
    with tempfile.NamedTemporaryFile("w", dir=apart, suffix=".cpp") as joined:
        joined.writelines(Path(source).read_text() + "\n" for source in sources)
        joined.flush()
        flags_here = [*flags, "-iquote", folder]
        if run(["clang++-14", "-fsyntax-only", "-w", *flags_here, joined.name], folder).returncode:
            half = len(sources) // 2
            return read(folder, flags, sources[:half], scratch) + read(
                folder, flags, sources[half:], scratch
            )
        if run(["clang-tidy", "--quiet", joined.name, "--", *flags_here], folder).returncode == 0:
            return ""
    return "".join(read(folder, flags, [source], scratch) for source in sources)


def run(command, folder):
    return subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)


def main():
    *options, name = sys.argv[1:]
    if options not in ([], ["--recent"]):
        sys.exit(__doc__)
    build = Path(name).resolve()
    found = list(batches(build, changed_lately() if options else None))
    # Some functions have paths without end.
    depth = "mode=shallow" if options else "max-nodes=40000"
    depth = ("-Xclang", "-analyzer-config", "-Xclang", depth)
    found = [(folder, flags + depth, sources) for folder, flags, sources in found]
    if not found:
        sys.exit(f"{build}/compile_commands.json names no source of this tree")
    with tempfile.TemporaryDirectory() as apart, ThreadPoolExecutor(os.cpu_count()) as readers:
        scratch = Path(apart)
        for folder, _, _ in found:
            (scratch / os.path.relpath(folder, TREE)).mkdir(parents=True, exist_ok=True)
        for folder in (scratch, *filter(Path.is_dir, scratch.rglob("*"))):
            settings = TREE / folder.relative_to(scratch) / ".clang-tidy"
            if settings.exists():
                shutil.copy(settings, folder)
        said = list(readers.map(lambda each: read(*each, scratch), found))
    print("".join(said), end="")
    print(f"clang-tidy: {sum(len(sources) for _, _, sources in found)} files")
    if any(said):
        sys.exit("clang-tidy finds fault with the files above")


if __name__ == "__main__":
    main()
