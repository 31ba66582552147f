#!/usr/bin/env python3
"""Runs the recipes of docs/cookbook.md and the commands of other pages. Usage: cookbook.py TOOL ROOT WORK [PAGE...]

Each block of shell commands runs in a folder of its own under WORK, which has samples/ and an empty out/. It must end with
exit code 0, or with the one that a comment "# exit code N" at the end of its last line tells, and every file out/NAME that
it names must be there then. All pictures in out/ must be readable, and together the recipes use every sub-command. The
blocks of another page run one after the other in one folder.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

RECIPE = re.compile(r"^### (.+?)\n(.*?)(?=^#|\Z)", re.MULTILINE | re.DOTALL)
BLOCK = re.compile(r"^```sh\n(.*?)^```$", re.MULTILINE | re.DOTALL)
OUTPUT = re.compile(r"(?<![\w./])out/[\w.-]+")
LEAST = 20
SECONDS = 60


def expected_code(block):
    told = re.search(r"# exit code (\d+)$", block.rstrip())
    return int(told.group(1)) if told else 0


def pictures_of(tool):
    extensions = set()
    listed = subprocess.run([tool, "formats"], check=True, capture_output=True, text=True).stdout
    for line in listed.splitlines():
        entry = re.match(r"  (\w+) +RImageStream", line)
        if entry:
            extensions.add(entry.group(1))
    return extensions


def commands_of(tool):
    text = subprocess.run([tool, "--help"], check=True, capture_output=True, text=True).stdout
    return re.findall(r"^  ([a-z]+) {2,}\S", text[text.index("Sub-commands:"):], re.MULTILINE)


def run(block, folder, environment):
    """Runs a block. Returns what is wrong, or an empty string."""
    if not folder.exists():
        (folder / "out").mkdir(parents=True)
        shutil.copytree(environment["SAMPLES"], folder / "samples")
    try:
        done = subprocess.run(["sh", "-eu", "-c", block], cwd=folder, env=environment, timeout=SECONDS,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    except subprocess.TimeoutExpired:
        return f"it took more than {SECONDS} s"
    if done.returncode != expected_code(block):
        return f"exit code {done.returncode}, not {expected_code(block)}\n{done.stdout}"
    files = [folder / name for name in OUTPUT.findall(block)]
    missing = [str(file) for file in files if not file.is_file() or file.stat().st_size == 0]
    return f"missing: {', '.join(missing)}" if missing else ""


def unreadable(tool, folder, extensions):
    files = [str(file) for file in folder.glob("*/out/*") if file.suffix[1:] in extensions]
    read = subprocess.run([tool, "info", *files], capture_output=True, text=True)
    return read.stderr


def main():
    tool, root, work, *pages = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    page = (root / "docs/cookbook.md").read_text()
    shutil.rmtree(work, ignore_errors=True)
    (work / "bin").mkdir(parents=True)
    (work / "bin/rimage").symlink_to(tool)
    environment = dict(os.environ, PATH=f"{work / 'bin'}:{os.environ['PATH']}", SAMPLES=str(root / "samples"), LC_ALL="C")

    recipes = [(title, block) for title, text in RECIPE.findall(page) for block in BLOCK.findall(text)]
    blocks = [(f"{number:02}", title, block) for number, (title, block) in enumerate(recipes)]
    for other in pages:
        blocks += [(other.stem, other.name, block) for block in BLOCK.findall(other.read_text())]
    failures = [f"{other.name} has no commands" for other in pages if not BLOCK.search(other.read_text())]
    for folder, title, block in blocks:
        started = time.monotonic()
        failure = run(block, work / folder, environment)
        print(f"{time.monotonic() - started:5.1f} s  {title}{': ' + failure if failure else ''}")
        if failure:
            failures.append(title)
    complaint = unreadable(tool, work, pictures_of(tool))
    if complaint:
        failures.append(f"pictures that cannot be read:\n{complaint}")
    if len(recipes) < LEAST or len(recipes) != page.count("```sh\n") or len(recipes) != page.count("\n### "):
        failures.append(f"{len(recipes)} recipes found, not one for each heading and block")
    used = {name for _, block in recipes for name in re.findall(r"^ *rimage (\w+)", block, re.MULTILINE)}
    unused = [name for name in commands_of(tool) if name not in used]
    if unused:
        failures.append(f"no recipe for {', '.join(unused)}")
    print(f"{len(recipes)} recipes, {len(blocks) - len(recipes)} other blocks, {len(failures)} failures")
    for failure in failures:
        print(f"FAILED: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
