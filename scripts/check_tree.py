#!/usr/bin/env python3
"""Checks rules of the source tree that no compiler knows: which module may include which, and bans.

Prints a line for each breach; exit status 1 when there is one.
"""

import re
import subprocess
import sys
from pathlib import Path

# What the files of a folder may include, beside their own folder. Arrows run one way.
ARROWS = {
    "src/core": set(),
    "src/brotli": {"core"},
    "src/math": {"core"},
    "src/graphics": {"core", "math"},
    "src/formats": {"core", "math"},
    "src/sample": {"core", "math"},
    "src/regions": {"core", "math"},
    "src/mesh": {"core", "math", "formats"},
    "src/octree": {"core", "math", "formats"},
    "src/render": {"core", "math", "graphics", "regions", "mesh", "octree"},
    "src/converter": {"core", "brotli", "math", "formats", "octree"},
    "src/api": {"Sorvik", "core", "math", "graphics", "formats", "sample", "regions", "mesh", "octree", "render",
                "converter"},
    "include": {"Sorvik"},
    "apps": {"Sorvik", "sorvik"},
    "examples": {"Sorvik"},
}
MODULES = {"Sorvik", "api", "brotli", "core", "math", "graphics", "formats", "sample", "regions", "mesh", "octree", "render",
           "converter"}
# Of the octree the converter knows the node ids and the metadata only.
CONVERTER_MAY_INCLUDE = {"octree/OctreeNodeId.h", "octree/potree/MetaData.h"}
# JSON and Eigen are slow to compile: sources only. The forward declarations of JSON are not.
SOURCES_ONLY = re.compile(r"nlohmann/(?!json_fwd\.hpp)|Eigen/")

BANS = [
    (re.compile(r"-ffast-math|-march=native"), "results would depend on the processor"),
    (re.compile(r"\bstd::(ranges::)?views?::"), "clang 14 refuses the library's pipelines"),
    (re.compile(r"\bstd::async\b|\.detach\(\)"), "threads have an owner that joins them"),
    (re.compile(r"\b(TO[D]O|FIX[M]E|X[X]X|HA[C]K)\b"), "unfinished business belongs to the tracker"),
    (re.compile(r"\b(thread_local)\b"), "no state with a life of its own"),
    (re.compile(r"(#define|\b(class|struct|enum|union|namespace|using|auto)) _"), "such names belong to the compiler"),
]
FILE_STREAMS = re.compile(r"#include <fstream>")
MAY_USE_FILE_STREAMS = ("src/core/File", "src/core/Memory", "src/converter/", "apps/", "tests/", "bench/", "fuzz/", "examples/")
LONGEST_FILE = 600


def tracked(*patterns):
    listed = subprocess.run(["git", "ls-files", "--", *patterns], check=True, capture_output=True, text=True)
    return [Path(line) for line in listed.stdout.splitlines()]


def includes(text):
    for number, line in enumerate(text.splitlines(), 1):
        found = re.match(r'\s*#\s*include\s+([<"])([^">]+)[">]', line)
        if found:
            yield number, found.group(2), found.group(1) == '"'


def check_arrows(path, text):
    folder = next((f for f in ARROWS if str(path).startswith(f + "/")), None)
    if folder is None:
        return
    own = folder.split("/")[-1]
    for number, included, ours in includes(text):
        module = included.split("/")[0] if "/" in included else None
        if ours and module in MODULES and module != own and module not in ARROWS[folder]:
            yield number, f"{folder} must not include {included}"
        if own == "converter" and module == "octree" and included not in CONVERTER_MAY_INCLUDE:
            yield number, f"the converter knows node ids and metadata of the octree, not {included}"
        if path.suffix == ".h" and SOURCES_ONLY.search(included):
            yield number, f"{included} is for source files"
        if folder == "include" and module != "Sorvik" and "/" in included:
            yield number, f"a public header includes the standard library and its own kind, not {included}"


def check_bans(path, text):
    for number, line in enumerate(text.splitlines(), 1):
        for pattern, reason in BANS:
            if pattern.search(line):
                yield number, f"'{pattern.search(line).group(0)}': {reason}"
        if FILE_STREAMS.search(line) and not str(path).startswith(MAY_USE_FILE_STREAMS):
            yield number, "file streams belong to the code that reads and writes files"


def check_readme():
    """The README's example is a file that is built and run."""
    example = Path("examples/walk.cpp").read_text()
    if f"```cpp\n{example}```" not in Path("README.md").read_text():
        yield "README.md: its C++ example differs from examples/walk.cpp"


def main():
    breaches = list(check_readme())
    for path in tracked("*.h", "*.cpp"):
        text = path.read_text()
        breaches += [f"{path}:{number}: {what}" for number, what in check_arrows(path, text)]
        breaches += [f"{path}:{number}: {what}" for number, what in check_bans(path, text)]
        lines = text.count("\n")
        if lines > LONGEST_FILE:
            breaches.append(f"{path}:{lines}: longer than {LONGEST_FILE} lines")
        compiled_often = path.name.endswith("-inl.h")  # once for every instruction set
        if path.suffix == ".h" and not compiled_often and "#pragma once" not in text:
            breaches.append(f"{path}:1: no #pragma once")
    print("\n".join(breaches) if breaches else "include arrows and bans: nothing to say")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
