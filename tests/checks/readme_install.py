#!/usr/bin/env python3
"""Runs the commands of the README that install the library and build a program with it. Usage: readme_install.py ROOT WORK

They run in a copy of the repository's files under WORK, and the program must have written its picture.
"""
import pathlib
import shutil
import sys

sys.dont_write_bytecode = True
from readme_commands import commands_of, run  # noqa: E402

NOT_COPIED = shutil.ignore_patterns(".git", "build", "out", ".cache")


def main():
    root, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    lines = commands_of((root / "README.md").read_text(), "./dev build package")
    shutil.rmtree(work, ignore_errors=True)
    shutil.copytree(root, work, ignore=NOT_COPIED)
    picture = work / "out/hello.jpg"
    written = run(lines, work) and picture.is_file() and picture.read_bytes().startswith(b"\xff\xd8\xff")
    shutil.rmtree(work / "build", ignore_errors=True)
    print(f"{len(lines)} lines", "" if written else "and no picture")
    return 0 if written else 1


if __name__ == "__main__":
    sys.exit(main())
