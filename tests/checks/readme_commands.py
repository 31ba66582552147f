#!/usr/bin/env python3
"""Runs the commands of the README that use the tool. Usage: readme_commands.py TOOL ROOT WORK

The block of the README that puts the tool on the path runs in a copy of the samples under WORK, where the tool stands at
its usual place: each line must end with exit code 0, and every file that it names under ../out must be a picture then.
"""
import pathlib
import re
import shutil
import subprocess
import sys


def commands_of(readme, start):
    """Returns the lines of the indented block with that start, as a person would type them."""
    block = re.search(rf"^    {re.escape(start)}.*?\n(?=^\S)", readme, re.MULTILINE | re.DOTALL)
    return [line.strip() for line in block.group(0).splitlines() if line.strip()]


def run(lines, folder):
    """Types lines until one fails, and returns whether none did."""
    # Each line is named before it runs, so that a failure tells where.
    script = "set -e\n" + "".join(f"echo '+' {number}\n{line}\n" for number, line in enumerate(lines))
    done = subprocess.run(["bash", "-c", script], cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode != 0:
        last = int(re.findall(r"^\+ (\d+)$", done.stdout, re.MULTILINE)[-1])
        print(f"{lines[last]}\nended with {done.returncode}\n{done.stderr}")
    return done.returncode == 0


def main():
    tool, root, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    lines = commands_of((root / "README.md").read_text(), "export PATH=")
    shutil.rmtree(work, ignore_errors=True)
    (work / "build/dev/bin").mkdir(parents=True)
    (work / "build/dev/bin/rimage").symlink_to(tool)
    shutil.copytree(root / "samples", work / "samples")
    failed = not run(lines, work)
    used = {name for line in lines for name in re.findall(r"^rimage (\w+)", line)}
    named = re.findall(r"\.\./(out/[\w.#-]+\.\w+)", "\n".join(lines))
    made = [work / name.replace("####", "0001") for name in named]
    missing = [str(path) for path in made if not path.is_file()]
    if not failed:
        read = subprocess.run([tool, "info", *made], capture_output=True, text=True)
        missing += read.stderr.splitlines()
    print("\n".join(missing) or f"{len(lines)} lines, {len(used)} sub-commands, {len(made)} pictures")
    return 1 if failed or missing or len(used) < 10 or len(made) < 10 else 0


if __name__ == "__main__":
    sys.exit(main())
