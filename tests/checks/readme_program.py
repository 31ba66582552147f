#!/usr/bin/env python3
"""Checks that the program in the README is the one that is built. Usage: readme_program.py ROOT"""
import pathlib
import re
import sys


def main():
    root = pathlib.Path(sys.argv[1])
    shown = re.search(r"```cpp\n(.*?)```", (root / "README.md").read_text(), re.DOTALL)
    built = (root / "examples/hello.cpp").read_text()
    if not shown or shown.group(1) != built:
        print("README.md does not show examples/hello.cpp as it is")
        return 1
    print("README.md shows examples/hello.cpp")
    return 0


if __name__ == "__main__":
    sys.exit(main())
