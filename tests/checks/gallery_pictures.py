#!/usr/bin/env python3
"""Makes the gallery and checks it. Usage: gallery_pictures.py TOOL ROOT WORK

Every effect, preset, choice and property that the tool tells of must have a row, every driver that it can play a column; a
picture that is missing has its reason. What draws a picture, and how far it is off, must be as docs/gallery.md tells, and the
formulas in docs/blending.md must be what is drawn.
"""
import json
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
from page_tables import rows_after  # noqa: E402

CONSTANT_ALPHA = 0.5  # of the blends that are compared with their formulas
FORMULA = re.compile(r"^[ABabc0-9 ()*+-]+$")


def tell(tool, *arguments):
    return json.loads(subprocess.run([tool, *arguments, "--json"], check=True, capture_output=True).stdout)


def check_rows(tool, gallery):
    """Compares the rows with what the tool lists."""
    operators = [operator["name"] for operator in tell(tool, "operators")]
    if [effect["name"] for effect in gallery["effects"]] != operators:
        yield f"the gallery does not show {operators}"
    for effect in gallery["effects"]:
        properties = tell(tool, "properties", effect["name"])["properties"]
        presets = next((entry["values"] for entry in properties if entry["name"] == "Preset"), None)
        if presets:
            if effect["rows"] != presets:
                yield f"{effect['name']}: the rows are not the presets"
            continue
        settings = {word for cell in effect["cells"] for word in shlex.split(cell["command"])}
        for entry in properties:
            for value in entry.get("values", ["true"] if entry["type"] == "boolean" else [""]):
                wanted = f"{entry['name']}={value}"
                if not any(word.startswith(wanted) for word in settings):
                    yield f"{effect['name']}: {wanted} is not shown"


def check_cells(gallery, folder):
    """Every combination is there, as a picture or as a reason."""
    columns = [column["name"] for column in gallery["columns"]]
    for effect in gallery["effects"]:
        found = [(cell["row"], cell["column"]) for cell in effect["cells"]]
        if sorted(found) != sorted((row, column) for row in effect["rows"] for column in columns):
            yield f"{effect['name']}: not every row has every column"
        for cell in effect["cells"]:
            name = f"{effect['name']}, {cell['row']}, {cell['column']}"
            if "missing" in cell:
                if len(cell["missing"]) < 20:
                    yield f"{name}: no picture and no reason"
                continue
            if not (folder / cell["picture"]).read_bytes().startswith(b"\x89PNG"):
                yield f"{name}: no picture"
            if "heat" in cell and not (folder / cell["heat"]).exists():
                yield f"{name}: no heat map"


def check_differences(gallery, page):
    """Compares back ends and differences with the page's table."""
    told = {(row[0], row[1]): (row[2], row[3]) for row in rows_after(page, "| Effect | Column | Back end | Largest difference |")}
    # The driver that is there may be any.
    expected = {(effect["name"], column["name"]) for effect in gallery["effects"] for column in gallery["columns"]
                if column["name"] != "driver"}
    if set(told) != expected:
        yield f"the page and the gallery differ in {sorted(set(told) ^ expected)}"
    for effect in gallery["effects"]:
        bounds = [float(bound) for (name, _), (_, bound) in told.items() if name == effect["name"] and bound]
        for cell in effect["cells"]:
            back_end, bound = told.get((effect["name"], cell["column"]), (cell.get("backEnd"), max(bounds)))
            name = f"{effect['name']}, {cell['row']}, {cell['column']}"
            if "missing" in cell:
                if back_end != "none":
                    yield f"{name}: {cell['missing']}"
            elif cell["backEnd"] != back_end or cell["difference"] > float(bound):
                yield f"{name}: {cell['backEnd']}, {cell['difference']} off; the page tells {back_end}, {bound}"


def blended(formula, a, b):
    """The values of a pixel by a formula of the page: A and B are the channel's values, a, b and c alphas."""
    return [min(max(eval(formula, {"A": a[i], "B": b[i], "a": a[3], "b": b[3], "c": CONSTANT_ALPHA}), 0), 1)
            for i in range(4)]


def check_formulas(tool, page, work, root):
    """Draws a preset of the page's table and compares it with the table's formula."""
    for name, options in (("a", ["lighthouse.svg", "--resize", "96x64", "--square", "transparent"]),
                          ("b", ["hopper.tga", "--premultiply", "--resize", "96x96"])):
        subprocess.run([tool, "convert", root / "samples" / options[0], *options[1:], work / f"{name}.tif", "--compression",
                        "0"], check=True)
    sys.path.insert(0, str(root / "samples"))
    from gallery import read_tiff
    a, b = ([pixels[i:i + 4] for i in range(0, len(pixels), 4)]
            for _, _, pixels in (read_tiff(work / f"{name}.tif") for name in "ab"))
    presets = tell(tool, "properties", "blend")["properties"][0]["values"]
    rows = {row[0].strip("`"): row[1] for row in rows_after(page, "| Preset | Result | What it shows |")}
    if list(rows) != [preset for preset in presets if preset != "custom"]:
        yield f"docs/blending.md does not tell of {presets}"
    for preset, formula in rows.items():
        if not FORMULA.match(formula):
            yield f"docs/blending.md: {preset}: {formula} is no formula"
            continue
        subprocess.run([tool, "blend", work / "a.tif", work / "b.tif", work / "out.tif", "--set", f"Preset={preset}", "--set",
                        f"Alpha={100 * CONSTANT_ALPHA}", "--compression", "0"], check=True)
        drawn = read_tiff(work / "out.tif")[2]
        largest = max(abs(255 * value - drawn[4 * i + c])
                      for i, (pa, pb) in enumerate(zip(a, b, strict=True))
                      for c, value in enumerate(blended(formula, [v / 255 for v in pa], [v / 255 for v in pb])))
        print(f"{preset:10} {formula:32} {largest:.3f}")
        if largest > (2 if "c" in formula else 1):
            yield f"docs/blending.md: {preset}: {formula} is off by {largest:.2f}"


def main():
    tool, root, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    sys.dont_write_bytecode = True
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    folder = work / "gallery"
    subprocess.run([sys.executable, root / "samples/gallery.py", tool, folder], check=True)
    gallery = json.loads((folder / "gallery.json").read_text())
    page = (folder / "index.html").read_text()
    faults = [*check_rows(tool, gallery), *check_cells(gallery, folder),
              *check_differences(gallery, (root / "docs/gallery.md").read_text()),
              *check_formulas(tool, (root / "docs/blending.md").read_text(), work, root)]
    faults += [f"index.html: {link} is not there" for link in re.findall(r'(?:src|href)="([^"#]+)"', page)
               if not (folder / link).exists()]
    for fault in faults:
        print(fault)
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
