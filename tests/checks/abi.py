#!/usr/bin/env python3
"""Compares the binary interfaces of the libraries with those on record. Usage: abi.py [--update] BUILD BASELINES WORK

BUILD is a build with full debug information, BASELINES the folder of the records, WORK a folder for what is made here.
Looks at what the installed headers declare. New names are no change; a name, type, virtual function or layout that is on
record must be as it was. --update writes the records anew, to be reviewed with the change that needs it. Needs abidw and
abidiff (package abigail-tools)."""
import pathlib
import shutil
import subprocess
import sys

LIBRARIES = ["rbaselib", "rgl", "cg", "rimage"]
# No type that only the libraries themselves see.
WRITE = ["abidw", "--exported-interfaces-only", "--drop-private-types", "--drop-undefined-syms", "--no-corpus-path",
         "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed", "--no-parameter-names", "--no-write-default-sizes"]
# Instantiations of the standard library and of Qt change with their compilers and versions.
SUPPRESSED = """[suppress_function]
  symbol_name_regexp = ^_Z(N?K?St|NK?9__gnu_cxx|NK?[0-9]*Q[A-Z]).*

[suppress_variable]
  symbol_name_regexp = ^_Z(T[ISV])?(N?K?St|NK?9__gnu_cxx|NK?[0-9]*Q[A-Z]).*
"""


def install_headers(build, work):
    """Installs the public headers and returns their folder."""
    shutil.rmtree(work, ignore_errors=True)
    for component in ["host_dev", "module_dev"]:
        subprocess.run(["cmake", "--install", build, "--prefix", work, "--component", component], check=True,
                       stdout=subprocess.DEVNULL)
    return work / "include"


def write_record(library, headers, record):
    """Records the interface of a library as far as the headers declare it."""
    suppressions = record.with_suffix(".suppressions")
    suppressions.write_text(SUPPRESSED)
    subprocess.run([*WRITE, "--suppressions", suppressions, "--headers-dir", headers, "--out-file", record, library],
                   check=True)
    suppressions.unlink()
    # Indentation is a seventh of such a file.
    record.write_text("\n".join(line.strip() for line in record.read_text().splitlines()) + "\n")


def main():
    update = "--update" in sys.argv
    build, baselines, work = (pathlib.Path(argument) for argument in sys.argv[1:] if argument != "--update")
    headers = install_headers(build, work)
    failed = 0
    for library in LIBRARIES:
        baseline = baselines / f"lib{library}.abi"
        present = baseline if update else work / baseline.name
        write_record(build / "lib" / f"lib{library}.so", headers, present)
        if update:
            print(f"{baseline.name}: {baseline.stat().st_size} bytes")
            continue
        # Both sides are records: what the headers leave out is left out of both.
        compared = subprocess.run(["abidiff", "--no-added-syms", baseline, present], capture_output=True, text=True)
        if compared.returncode:
            print(f"{library}: the binary interface has changed (./dev abi --update records the new one)")
            print(compared.stdout + compared.stderr)
            failed = 1
        else:
            print(f"{library}: as on record")
    return failed


if __name__ == "__main__":
    sys.exit(main())
