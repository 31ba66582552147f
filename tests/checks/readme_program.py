#!/usr/bin/env python3
"""Checks that the program and the graph in the README are those of the repository. Usage: readme_program.py ROOT"""
import pathlib
import re
import sys

SHOWN = {"cpp": "examples/hello.cpp", "json": "samples/green-screen.json"}


def main():
    root = pathlib.Path(sys.argv[1])
    readme = (root / "README.md").read_text()
    failed = False
    for language, file in SHOWN.items():
        blocks = re.findall(rf"```{language}\n(.*?)```", readme, re.DOTALL)
        shown = blocks == [(root / file).read_text()]
        print(f"README.md {'shows' if shown else 'does not show'} {file} as it is")
        failed = failed or not shown
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
