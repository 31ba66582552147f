#!/usr/bin/env python3
"""Checks the length of functions in src/, host/, plugins/ and tools/, and of files. Usage: function_length.py ROOT

A function's lines are counted from its name to its closing brace, as ctags (package universal-ctags) sees them."""
import json
import pathlib
import statistics
import subprocess
import sys

LONGEST = 100  # lines of any function
MEDIAN = 10  # lines of the middle one
FOLDERS = ["src", "host", "plugins", "tools"]
# Files that must stay as short as they promise: a host is to be read in one go.
FILES = {"examples/hello_host.cpp": 150}


def functions(root):
    """Yields (length, place, name) of every function definition."""
    tags = subprocess.run(
        ["ctags", "--recurse", "--languages=C++", "--langmap=C++:.h.cpp", "--c++-kinds=f", "--fields=+neZ",
         "--output-format=json", "-f", "-", *FOLDERS],
        cwd=root, check=True, capture_output=True, text=True).stdout
    for line in tags.splitlines():
        tag = json.loads(line)
        if "end" in tag:
            yield tag["end"] - tag["line"] + 1, f"{tag['path']}:{tag['line']}", tag["name"]


def long_files(root):
    """Yields a line for each file that is too long."""
    for name, longest in FILES.items():
        lines = len((root / name).read_text().splitlines())
        if lines > longest:
            yield f"{name} has {lines} lines, over {longest}"


def main():
    root = pathlib.Path(sys.argv[1])
    found = sorted(functions(root), reverse=True)
    if not found:
        print("ctags found no function")
        return 1
    lengths = [length for length, _, _ in found]
    median = statistics.median(lengths)
    print(f"{len(found)} functions, median {median:g} lines, {sum(x > 60 for x in lengths)} over 60 lines, longest:")
    for length, place, name in found[:5]:
        print(f"  {length} {place} {name}")
    too_long = list(long_files(root))
    print("\n".join(too_long))
    return 1 if too_long or lengths[0] > LONGEST or median > MEDIAN else 0


if __name__ == "__main__":
    sys.exit(main())
