#!/usr/bin/env python3
"""Checks the length of functions in src/, host/, plugins/ and tools/. Usage: function_length.py ROOT

A function's lines are counted from its name to its closing brace, as ctags (package universal-ctags) sees them."""
import json
import pathlib
import statistics
import subprocess
import sys

LONGEST = 100  # lines of any function
MEDIAN = 10  # lines of the middle one
FOLDERS = ["src", "host", "plugins", "tools"]


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


def main():
    found = sorted(functions(pathlib.Path(sys.argv[1])), reverse=True)
    if not found:
        print("ctags found no function")
        return 1
    lengths = [length for length, _, _ in found]
    median = statistics.median(lengths)
    print(f"{len(found)} functions, median {median:g} lines, {sum(x > 60 for x in lengths)} over 60 lines, longest:")
    for length, place, name in found[:5]:
        print(f"  {length} {place} {name}")
    return 1 if lengths[0] > LONGEST or median > MEDIAN else 0


if __name__ == "__main__":
    sys.exit(main())
