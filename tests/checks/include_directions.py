#!/usr/bin/env python3
"""Checks that every include in src/ follows the allowed directions. Usage: include_directions.py ROOT"""
import pathlib
import re
import sys

# folder -> the folders of src/ that it may include, beside itself and the host's libraries
ALLOWED = {
    "image": set(),
    "streams": {"image"},
    "dds": {"streams", "image"},
    "fp": {"image"},
    "operators": {"fp", "image"},
    "module": {"operators", "fp", "dds", "streams", "image"},
    "stereo": set(),
}
HOST = {"rbaselib", "rgl", "Cg"}
# A library of the host sees what it keeps to itself under its own name.
INSIDE_HOST = HOST | {"cg"}
# Everything that the library exports is marked by one macro.
EVERYWHERE = {"image/RImageExport.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def violations(root):
    """Yields a line for each include that goes the wrong way, and for each file outside the known folders."""
    for path in sorted((root / "src").rglob("*")):
        if path.suffix not in {".h", ".cpp"}:
            continue
        folder = path.relative_to(root / "src").parts[0]
        if folder not in ALLOWED:
            yield f"{path.relative_to(root)}: unknown folder {folder}"
            continue
        for target in INCLUDE.findall(path.read_text()):
            first = target.split("/")[0]
            if first not in ALLOWED[folder] | HOST | {folder} and target not in EVERYWHERE:
                yield f"{path.relative_to(root)}: {folder} may not include {target}"
    for path in sorted((root / "host").rglob("*")):
        if path.suffix in {".h", ".cpp"}:
            for target in INCLUDE.findall(path.read_text()):
                if target.split("/")[0] not in INSIDE_HOST:
                    yield f"{path.relative_to(root)}: the host may not include {target}"


def main():
    found = list(violations(pathlib.Path(sys.argv[1])))
    print("\n".join(found) or "all includes follow the allowed directions")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
