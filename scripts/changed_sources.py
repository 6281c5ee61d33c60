#!/usr/bin/env python3
"""Prints the sources that clang-tidy looks at: those in the compile commands that lately changed commits touched,
or that include a touched header, near or far. With --all: every one.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

COMMITS = 50


def lines(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def compiled_sources():
    root = Path.cwd()
    tracked = set(lines("git", "ls-files", "--", "*.cpp"))
    sources = set()
    for entry in json.loads(Path("build/asan/compile_commands.json").read_text()):
        path = Path(entry["file"])
        if path.is_relative_to(root) and str(path.relative_to(root)) in tracked:
            sources.add(str(path.relative_to(root)))
    return sources


def touched_files():
    return set(lines("git", "log", f"-{COMMITS}", "--name-only", "--format="))


def with_includers(touched):
    """The touched files and all that include one of them, by the names in their #include lines."""
    included_by = {}
    for name in lines("git", "ls-files", "--", "*.h", "*.cpp"):
        for included in re.findall(r'#\s*include\s+"([^"]+)"', Path(name).read_text()):
            included_by.setdefault(included, set()).add(name)
    reached, pending = set(touched), list(touched)
    while pending:
        name = pending.pop()
        for spelled, includers in included_by.items():
            if name.endswith("/" + spelled):
                new = includers - reached
                reached |= new
                pending += new
    return reached


def main():
    sources = compiled_sources()
    if "--all" not in sys.argv[1:]:
        sources &= with_includers(touched_files())
    print("\n".join(sorted(sources)))


if __name__ == "__main__":
    main()
