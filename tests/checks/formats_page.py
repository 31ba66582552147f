#!/usr/bin/env python3
"""Compares docs/formats.md and the pages of the formats with the tool. Usage: formats_page.py TOOL ROOT WORK

Each page of docs/formats has a table of damaged files; format_faults.py makes them, and the tool must answer as told.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
from format_faults import FAULTS  # noqa: E402
from page_tables import rows_after  # noqa: E402

CUT = 900
INDEX = "| Extension | Page | Read by | Written by | Alpha in the file that is written |"
DAMAGE = "| File | Exit code | Message, or what comes of it |"


def registered(tool):
    formats = json.loads(subprocess.run([tool, "formats", "--json"], check=True, capture_output=True).stdout)
    writers = {entry["extension"]: entry["class"] for entry in formats["writers"]}
    writers.update({extension: "Qt" for extension in formats["qt"]["writes"]})
    return {entry["extension"]: (entry["class"], writers.pop(entry["extension"], "-"))
            for entry in formats["readers"]} | {extension: ("-", by) for extension, by in writers.items()}


def result(tool, folder, *arguments, environment=None):
    """Returns the exit code and the message of a run."""
    done = subprocess.run([tool, *arguments], cwd=folder, capture_output=True, text=True,
                          env=dict(os.environ, LC_ALL="C", **(environment or {})))
    return done.returncode, done.stderr


def prepare(folder, samples):
    (folder / "folder").mkdir(parents=True)
    os.mkfifo(folder / "pipe.png")
    (folder / "empty.png").touch()
    for name in ("bad.png", "bad.dds"):
        (folder / name).write_text("no picture of any kind")
    for sample in samples.iterdir():
        (folder / sample.name).write_bytes(sample.read_bytes())
        (folder / f"cut-{sample.name}").write_bytes(sample.read_bytes()[:CUT])


# What provokes each refusal of the page.
PROVOKED = {
    "no such file": ("info", "missing.png"),
    "a folder": ("info", "folder"),
    "a pipe or device": ("info", "pipe.png"),
    "an empty file": ("info", "empty.png"),
    "an extension without a reader": ("info", "README.md"),
    "an extension without a writer": ("convert", "hopper.jpg", "out.svg"),
    "a name without an extension": ("convert", "hopper.jpg", "out"),
    "contents of another or an unknown format": ("info", "bad.png"),
    "a texture with a broken header": ("info", "bad.dds"),
    "more pixels than the limit": ("info", "bars.yuv", "--max-memory", "1"),
    "a level that a texture lacks": ("convert", "cat.dds", "out.png", "--level", "9"),
    "sides that the format cannot store": ("convert", "hopper.jpg", "--resize", "65536x1", "out.tga"),
}


def check_refusals(tool, folder, page):
    told = rows_after(page, "| What | Exit code | Message |")
    if {row[0] for row in told} != set(PROVOKED):
        yield "the page and this check tell different refusals"
    for what, code, message in told:
        got, text = result(tool, folder, *PROVOKED.get(what, ("--version",)))
        if got != int(code) or message.strip("`") not in text:
            yield f"{what}: exit code {got}, {text.strip()}"


def check_cut_files(tool, folder, page, samples):
    told = rows_after(page, "| Sample | What comes of it |")
    formats = {name.rsplit(".", 1)[1] for name, _ in told}
    if len(formats) != 11:
        yield "the page does not tell of a cut file of each format"
    for name, outcome in told:
        if (samples / name).stat().st_size <= CUT:
            yield f"{name} is no longer than what is left of it"
        got, text = result(tool, folder, "info", f"cut-{name}")
        if not fits(outcome, 0 if outcome.startswith("read") else 3, got, text):
            yield f"{name} after {CUT} bytes: exit code {got}, {text.strip()}"


def fits(outcome, expected_code, code, text):
    """Whether an exit code and a message are as told; words without a message mean that there is none."""
    message = re.search(r"`(.+?)`", outcome)
    return code == int(expected_code) and (message.group(1) in text if message else not text)


def check_page(tool, folder, page, faults, samples):
    """Compares the table of damaged files in a page with what the tool says about them."""
    told = rows_after(page.read_text(), DAMAGE)
    if {row[0] for row in told} != set(faults):
        yield f"{page.name} and format_faults.py tell different files: {sorted({row[0] for row in told} ^ set(faults))}"
        return
    for number, (what, code, outcome) in enumerate(told):
        fault = faults[what]
        name = f"{page.stem}-{number}.{fault.extension}"
        (folder / name).write_bytes(fault.make(samples))
        got, text = result(tool, folder, *(part.format(file=name) for part in fault.arguments), environment=fault.environment)
        if not fits(outcome, code, got, text):
            yield f"{page.name}: {what}: exit code {got}, {text.strip()}"


def check_pages(tool, root, folder, index):
    """Every format has a page that the index names, and every page is about a format."""
    files = {path.name: path for folder in (root / "samples", *(root / "tests/data").iterdir()) if folder.is_dir()
             for path in folder.iterdir()}
    pages = {page.stem: page for page in (root / "docs/formats").glob("*.md")}
    linked = {re.search(r"\(formats/(\w+)\.md\)", row[1]).group(1) for row in rows_after(index, INDEX)}
    if not pages.keys() == linked == FAULTS.keys():
        yield f"pages {sorted(pages)}, in the index {sorted(linked)}, with damaged files {sorted(FAULTS)}"
    for name, page in sorted(pages.items()):
        yield from check_page(tool, folder, page, FAULTS.get(name, {}), lambda sample: files[sample].read_bytes())


def main():
    tool, root, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    page = (root / "docs/formats.md").read_text()
    shutil.rmtree(work, ignore_errors=True)
    prepare(work, root / "samples")
    told = {row[0]: (row[2], row[3]) for row in rows_after(page, INDEX)}
    faults = [f"{extension}: told {told.get(extension)}, registered {registered(tool).get(extension)}"
              for extension in sorted(told.keys() | registered(tool).keys())
              if told.get(extension) != registered(tool).get(extension)]
    faults += check_refusals(tool, work, page)
    faults += check_cut_files(tool, work, page, root / "samples")
    faults += check_pages(tool, root, work, page)
    for fault in faults:
        print(re.sub(r"\s+", " ", fault))
    print(f"{len(told)} extensions, {sum(map(len, FAULTS.values()))} damaged files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
