#!/usr/bin/env python3
"""Draws every preset of every effect on every back end. Usage: gallery.py TOOL OUTDIR

The tool tells the effects, their properties and the drivers that it can play; a row is a preset, or where an effect has
none, a choice of its enumerations or a property; a column is the processor, the driver that is there, or one that is
played. OUTDIR gets index.html, to be read offline, gallery.json with the same, the pictures, and a sheet of each effect.

A picture is compared with that of the processor. The blend has none, for OpenGL alone computes it; its pictures are
compared with the formula, which is written here apart from the module.
"""
import concurrent.futures
import dataclasses
import hashlib
import html
import itertools
import json
import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import sys

SAMPLES = pathlib.Path(__file__).resolve().parent
NO_OPENGL = 5  # the tool's exit code where an effect cannot run


# --- What to show.

@dataclasses.dataclass
class Effect:
    """What an effect is shown with; the tool tells the rest."""
    command: str  # the sub-command
    inputs: list  # names below, by input
    base: dict = dataclasses.field(default_factory=dict)  # set in every row, before it
    examples: dict = dataclasses.field(default_factory=dict)  # of properties without a range, a value to show
    together: dict = dataclasses.field(default_factory=dict)  # what a property or text needs beside it to show


# How the pictures are made; effects get them multiplied with alpha, as the tool does itself.
INPUTS = {
    "tower": ["lighthouse.svg", "--resize", "144x96", "--square", "transparent"],
    "face": ["hopper.tga", "--premultiply", "--resize", "144x144"],
    "screen": ["green-screen.png", "--resize", "144x96", "--premultiply"],
    "clean": ["green-screen-clean.jpg", "--resize", "144x96"],
    "meadow": ["meadow.jpg", "--resize", "144x96", "--square", "transparent"],
}

EFFECTS = {
    "RImOpBlend": Effect("blend", ["tower", "face"], {"Alpha": "50", "Color": "0.25,0.5,1"}),
    "RImOpCC": Effect("correct", ["meadow"], {"Transparency": "true"},
                      {"Black": "0.2,0.1,0", "White": "0.6,0.8,0.9"},
                      {"Black": {"ColorPoints": "true"}, "White": {"ColorPoints": "true"}, "MidPoint": {"Gamma": "2"},
                       "ColorPoints": {"Black": "0.1,0.1,0.2", "White": "0.7,0.8,0.8"}}),
    "RImOpKeyer": Effect("key", ["screen", "clean"], {"Key": "0.13,0.61,0.21", "Threshold": "35", "Softness": "75"},
                         {"Key": "0.75,0.5,0.3", "Threshold": "60", "Softness": "30", "Suppression": "20", "LeftMask": "10",
                          "RightMask": "20", "BottomMask": "30", "TopMask": "5"},
                         {"Luminance Keying": {"Threshold": "25", "Softness": "20"},
                          "Difference Keying": {"Threshold": "98", "Softness": "8"}}),
}


@dataclasses.dataclass
class Column:
    name: str
    title: str
    before: list  # arguments before the sub-command
    after: list


@dataclasses.dataclass
class Row:
    name: str
    settings: dict


# --- What the tool tells.

class Tool:
    def __init__(self, path, out):
        self.path = str(path)
        self.out = out

    def run(self, *arguments):
        return subprocess.run([self.path, *arguments], cwd=self.out, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              env=dict(os.environ, LC_ALL="C"))

    def tell(self, *arguments):
        done = self.run(*arguments)
        if done.returncode != 0:
            sys.exit(f"gallery: {shlex.join(['rimage', *arguments])}: exit code {done.returncode}\n{done.stderr}")
        return done.stdout


def columns_of(tool):
    columns = [Column("processor", "the processor", [], ["--gpu=never"]),
               Column("driver", "this machine's driver", [], [])]
    option = re.search(r"--gl-shim NAME(.*?)(?:\n\S|\n\n|\Z)", tool.tell("--help"), re.DOTALL)
    names = re.findall(r"(\w+)\s+\(([^)]*)\)", option.group(1)) if option else []
    return columns + [Column(name, f"a driver that is played, with {' '.join(text.split())}", ["--gl-shim", name], [])
                      for name, text in names]


def shown_value(entry, effect):
    """Returns a value of a property that differs from what it is in other rows, as text."""
    default = entry["default"]
    if entry["type"] == "boolean":
        return "false" if effect.base.get(entry["name"], str(default).lower()) == "true" else "true"
    if "range" not in entry:
        return effect.examples[entry["name"]]
    least, most = entry["range"]

    def on_the_way(start, share):
        return start + share * ((most if most > start else least) - start)

    if entry["type"] == "colour":
        return ",".join(f"{on_the_way(start, share):g}" for start, share in zip(default, (0.5, 0.25, 0)))
    return f"{on_the_way(default, 0.5):g}"


def rows_of(effect, properties):
    by_name = {entry["name"]: entry for entry in properties}
    if "Preset" in by_name:
        return [Row(text, {"Preset": text}) for text in by_name["Preset"]["values"]]
    rows = []
    choices = [entry for entry in properties if entry["type"] == "enumeration"]
    if choices:
        switches = [entry for entry in properties if entry["type"] == "boolean"]
        lists = [entry["values"] for entry in choices] + [["false", "true"] for _ in switches]
        for values in itertools.product(*lists):
            settings = dict(zip([entry["name"] for entry in choices + switches], values))
            words = [value if name in [entry["name"] for entry in choices] else name
                     for name, value in settings.items() if value != "false"]
            rows.append(Row(", ".join(words), {**effect.together.get(values[0], {}), **settings}))
        properties = [entry for entry in properties if entry not in choices + switches]
    else:
        rows.append(Row("nothing set", {}))
    for entry in properties:
        value = shown_value(entry, effect)
        rows.append(Row(f"{entry['name']} {value}", {**effect.together.get(entry["name"], {}), entry["name"]: value}))
    return rows


# --- Pixels.

def read_tiff(path):
    """Returns width, height and the bytes of an uncompressed file of RGBA pixels, the top row first."""
    data = path.read_bytes()
    if data[:4] != b"II*\0":
        raise ValueError(f"{path} is no little-endian TIFF")
    start, = struct.unpack_from("<I", data, 4)
    count, = struct.unpack_from("<H", data, start)
    tags = {}
    for i in range(count):
        tag, kind, number = struct.unpack_from("<HHI", data, start + 2 + 12 * i)
        code = {3: "H", 4: "I"}.get(kind)
        if not code:
            continue
        size = struct.calcsize(code) * number
        place = start + 2 + 12 * i + 8
        if size > 4:
            place, = struct.unpack_from("<I", data, place)
        tags[tag] = struct.unpack_from(f"<{number}{code}", data, place)
    if tags[258] != (8, 8, 8, 8) or tags[259] != (1,):
        raise ValueError(f"{path} is not of uncompressed RGBA pixels")
    pixels = b"".join(data[place:place + size] for place, size in zip(tags[273], tags[279]))
    return tags[256][0], tags[257][0], pixels


# The factors by their texts: the share of a channel, given its values and the alphas of A, B and the constant colour C.
FACTORS = {
    "0": lambda i, a, b, c: 0,
    "1": lambda i, a, b, c: 1,
    "Color(A)": lambda i, a, b, c: a[i],
    "Alpha(A)": lambda i, a, b, c: a[3],
    "Color(B)": lambda i, a, b, c: b[i],
    "Alpha(B)": lambda i, a, b, c: b[3],
    "Color(C)": lambda i, a, b, c: c[i],
    "Alpha(C)": lambda i, a, b, c: c[3],
    "Sat(Alpha(A))": lambda i, a, b, c: min(a[3], 1 - b[3]) if i < 3 else 1,
    "1 - Alpha(C)*Alpha(A)": lambda i, a, b, c: 1 - a[3],  # A's own alpha is multiplied beforehand
}
FUNCTIONS = {
    "Add": lambda a, b: a + b,
    "Subtract": lambda a, b: a - b,
    "Reverse Subtract": lambda a, b: b - a,
}


def share(text, *values):
    return 1 - FACTORS[text[4:]](*values) if text not in FACTORS else FACTORS[text](*values)


def blend_pixel(settings, a, b, c):
    """Returns the blended values of one pixel, 0 to 1."""
    result = []
    a = list(a)
    for group, channels in (("RGB", range(3)), ("Alpha", [3])):
        if settings["BFactor" + group].startswith("1 - Alpha(C)*"):
            for i in channels:
                a[i] *= c[3]
    for i in range(4):
        group = "Alpha" if i == 3 else "RGB"
        function = settings["Func" + group]
        if function in ("Min", "Max"):
            value = {"Min": min, "Max": max}[function](a[i], b[i])
        else:
            value = FUNCTIONS[function](a[i] * share(settings["AFactor" + group], i, a, b, c),
                                        b[i] * share(settings["BFactor" + group], i, a, b, c))
        result.append(min(max(value, 0), 1))
    return result


def formula_picture(settings, inputs):
    """Returns the channels of the blended picture, 0 to 255 and not rounded."""
    (width, height, a), (other_width, other_height, b) = map(read_tiff, inputs)
    if (width, height) != (other_width, other_height):
        raise ValueError("the formula is for pictures of one size")
    constant = [float(value) for value in settings["Color"].split()] + [float(settings["Alpha"]) / 100]
    values = []
    for i in range(0, len(a), 4):
        values += blend_pixel(settings, [v / 255 for v in a[i:i + 4]], [v / 255 for v in b[i:i + 4]], constant)
    return [255 * value for value in values]


# --- One picture.

def quoted(command):
    return " ".join(shlex.quote(word) for word in command)


def explained(text):
    """Takes an explanation of one effect apart: lists of texts by their words."""
    told = {}
    for line in text.splitlines()[1:]:
        told.setdefault(line[:12].strip(), []).append(line[12:].strip())
    return told


class Gallery:
    def __init__(self, tool, out):
        self.tool = Tool(tool, out)
        self.out = out
        self.shown = {}  # the file that shows each TIFF, by its contents
        self.pool = concurrent.futures.ThreadPoolExecutor(os.cpu_count())

    def make_inputs(self):
        (self.out / "inputs").mkdir(parents=True)
        for name, (sample, *options) in INPUTS.items():
            for extension in ("tif", "png"):
                more = ["--compression", "0"] if extension == "tif" else []
                self.tool.tell("convert", str(SAMPLES / sample), *options, f"inputs/{name}.{extension}", *more)

    def draw(self, name, effect, number, row, column):
        """Returns what is to be told of one picture. `file` is what the effect made, where it made something."""
        file = f"{name}/{column.name}/{number:02}-{re.sub('[^A-Za-z0-9]+', '-', row.name).strip('-')}.tif"
        pictures = [f"inputs/{i}.tif" for i in effect.inputs]
        sets = [word for setting in {**effect.base, **row.settings}.items() for word in ("--set", "=".join(setting))]
        command = [*column.before, effect.command, *pictures, file, *sets, *column.after]
        cell = {"effect": name, "row": row.name, "column": column.name, "command": "rimage " + quoted(command)}
        done = self.tool.run(*command, "--explain", "--compression", "0")
        if done.returncode == NO_OPENGL:
            cell["missing"] = done.stderr.strip().split(f"{effect.command}: ", 1)[-1]
            return cell
        if done.returncode != 0:
            sys.exit(f"gallery: {cell['command']}: exit code {done.returncode}\n{done.stderr}")
        told = explained(done.stdout)
        back_end, _, what = told["back end"][-1].partition(": ")
        cell.update(file=file, set=told["set"][0], backEnd=back_end, what=what, better=told["back end"][:-1],
                    runs=told["runs"][0], form=told["form"][0])
        return cell

    def compare(self, cell, reference):
        """Adds the difference from the processor's picture, and a heat map where there is one."""
        if cell is reference:
            cell.update(difference=0, comparedWith="itself")
            return
        cell["comparedWith"] = "processor"
        if (self.out / cell["file"]).read_bytes() == (self.out / reference["file"]).read_bytes():
            cell["difference"] = 0
            return
        heat = cell["file"].replace(".tif", ".heat.png")
        done = self.tool.run("compare", reference["file"], cell["file"], "--json", "--diff", heat)
        if done.returncode not in (0, 1):
            sys.exit(f"gallery: compare: {done.stderr}")
        told = json.loads(done.stdout)
        cell.update(difference=max(channel["max"] for channel in told["channels"].values()), different=told["different"],
                    pixels=told["pixels"], heat=heat)

    def compare_formula(self, cells, effect, properties):
        """Adds the differences of a blend from its formula."""
        formulas = {}
        defaults = {entry["name"]: entry["default"] for entry in properties}
        for cell in cells:
            settings = dict(defaults, Color=" ".join(map(str, defaults["Color"])))
            settings.update(part.split(" = ") for part in cell["set"].split(", "))
            key = json.dumps(settings)
            if key not in formulas:
                formulas[key] = formula_picture(settings, [self.out / f"inputs/{i}.tif" for i in effect.inputs])
            drawn = read_tiff(self.out / cell["file"])[2]
            differences = [abs(a - b) for a, b in zip(formulas[key], drawn, strict=True)]
            cell.update(difference=round(max(differences), 3), comparedWith="formula")

    def show(self, cell):
        """Makes the file that a browser shows; equal pictures share one."""
        path = self.out / cell["file"]
        key = hashlib.sha256(path.read_bytes()).hexdigest()
        shown = cell["file"].replace(".tif", ".png")
        cell["picture"] = self.shown.setdefault(key, shown)
        if cell["picture"] == shown:
            self.tool.tell("convert", cell["file"], shown)

    def run_effect(self, name, columns):
        effect = EFFECTS.get(name)
        if not effect:
            sys.exit(f"gallery: {name} is new: tell in EFFECTS what to show it with")
        properties = json.loads(self.tool.tell("properties", name, "--json"))["properties"]
        rows = rows_of(effect, properties)
        for column in columns:
            (self.out / name / column.name).mkdir(parents=True)
        table = [[self.pool.submit(self.draw, name, effect, number, row, column) for column in columns]
                 for number, row in enumerate(rows)]
        table = [[future.result() for future in line] for line in table]
        for line in table:
            drawn = [cell for cell in line if "file" in cell]
            if "file" in line[0]:
                list(self.pool.map(lambda cell: self.compare(cell, line[0]), drawn))
            else:
                self.compare_formula(drawn, effect, properties)
            for cell in drawn:
                self.show(cell)
        self.make_sheet(name, effect, table)
        for cell in itertools.chain(*table):
            if "file" in cell:
                (self.out / cell.pop("file")).unlink()
        return {"name": name, "inputs": [f"inputs/{i}.png" for i in effect.inputs], "rows": [row.name for row in rows],
                "cells": list(itertools.chain(*table))}

    def make_sheet(self, name, effect, table):
        """Puts the inputs and one picture of each row on a page."""
        first = [next((cell["picture"] for cell in line if "picture" in cell), None) for line in table]
        pictures = [f"inputs/{i}.png" for i in effect.inputs] + [picture for picture in first if picture]
        named = self.out / name / "sheet"
        named.mkdir()
        names = effect.inputs + [line[0]["row"] for line, picture in zip(table, first) if picture]
        for label, picture in zip(names, pictures, strict=True):
            (named / f"{label}.png").symlink_to(self.out / picture)
        self.tool.tell("sheet", *(f"{name}/sheet/{label}.png" for label in names), f"{name}/sheet.png", "--columns", "6", "--size",
                       "180", "--replace")
        shutil.rmtree(named)


# --- The page.

STYLE = """
body { font: 15px/1.4 sans-serif; margin: 2em; color: #222; background: #fff; }
table { border-collapse: collapse; } th, td { padding: 4px 8px; text-align: left; vertical-align: top; }
tr { border-top: 1px solid #ddd; } small { color: #666; } code { font-size: 12px; }
img { display: block; image-rendering: pixelated;
  background: repeating-conic-gradient(#ccc 0 25%, #999 0 50%) 0 0 / 16px 16px; }
.off { color: #a33; } .table { overflow-x: auto; } td { max-width: 200px; }
"""


def cell_html(cell):
    if "missing" in cell:
        return f"<td><small>none: {html.escape(cell['missing'])}</small></td>"
    why = "\n".join([*cell["better"], f"{cell['backEnd']}: {cell['what']}", f"runs {cell['runs']}", f"form {cell['form']}",
                     cell["command"]])
    place = "" if cell["runs"].startswith("with") else ", on the processor"
    text = f"<small>{html.escape(cell['backEnd'].split('_', 1)[-1])}{place}</small><br>"
    if cell["comparedWith"] == "formula":
        text += f"{cell['difference']:.2f} from the formula"
    elif cell["comparedWith"] == "processor":
        text += f"<span class=off>largest difference {cell['difference']}</span>" if cell["difference"] else "the same"
        if cell["difference"]:
            text += f" (<a href=\"{cell['heat']}\">{cell['different']} of {cell['pixels']} pixels</a>)"
    picture = html.escape(cell["picture"])
    return f"<td title=\"{html.escape(why)}\"><a href=\"{picture}\"><img src=\"{picture}\" loading=lazy></a>{text}</td>"


def summary_html(gallery):
    lines = ["<table><tr><th>Effect" + "".join(f"<th>{column['name']}" for column in gallery["columns"])]
    for effect in gallery["effects"]:
        line = f"<tr><td><a href=\"#{effect['name']}\">{effect['name']}</a>"
        for column in gallery["columns"]:
            cells = [cell for cell in effect["cells"] if cell["column"] == column["name"]]
            drawn = [cell for cell in cells if "picture" in cell]
            if drawn:
                largest = max(cell["difference"] for cell in drawn)
                line += f"<td>{drawn[0]['backEnd']}<br>{len(drawn)} pictures, largest difference {largest:g}"
            else:
                line += f"<td><small>none: {html.escape(cells[0]['missing'])}</small>"
        lines.append(line)
    return "\n".join(lines) + "</table>"


def page_html(gallery):
    parts = ["<!doctype html><meta charset=utf-8><title>Effects on every back end</title>", f"<style>{STYLE}</style>",
             "<h1>Effects on every back end</h1>",
             "<p>Each row is a preset or a setting, each column what draws it. Differences are the largest of any channel of "
             "any pixel, in steps of 8 bits, from the picture of the processor; those of an effect that only OpenGL computes "
             "are from its formula. The back end of a picture, and why it is this one, shows when the pointer rests on it, "
             "with the command that makes it in this folder.</p><ul>"]
    parts += [f"<li>{column['name']}: {html.escape(column['title'])}" for column in gallery["columns"]]
    parts += ["</ul>", summary_html(gallery)]
    for effect in gallery["effects"]:
        parts.append(f"<h2 id=\"{effect['name']}\">{effect['name']}</h2><p>Each row once: <a href=\"{effect['name']}/sheet.png\">sheet.png</a>. "
                     "Drawn from:</p>")
        parts += [f"<img src=\"{picture}\">" for picture in effect["inputs"]]
        parts.append("<div class=table><table><tr><th>" + "".join(f"<th>{column['name']}" for column in gallery["columns"]))
        for row in effect["rows"]:
            cells = [cell for cell in effect["cells"] if cell["row"] == row]
            parts.append(f"<tr><td><b>{html.escape(row)}</b>" + "".join(map(cell_html, cells)))
        parts.append("</table></div>")
    return "\n".join(parts) + "\n"


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: gallery.py TOOL OUTDIR")
    out = pathlib.Path(sys.argv[2]).resolve()
    if (out / "gallery.json").exists():
        shutil.rmtree(out)
    gallery = Gallery(pathlib.Path(sys.argv[1]).resolve(), out)
    gallery.make_inputs()
    columns = columns_of(gallery.tool)
    operators = json.loads(gallery.tool.tell("operators", "--json"))
    told = {"columns": [{"name": column.name, "title": column.title} for column in columns],
            "effects": [gallery.run_effect(operator["name"], columns) for operator in operators]}
    (out / "gallery.json").write_text(json.dumps(told, indent=1))
    (out / "index.html").write_text(page_html(told))
    cells = [cell for effect in told["effects"] for cell in effect["cells"]]
    drawn = [cell for cell in cells if "picture" in cell]
    print(f"{len(drawn)} pictures of {len(told['effects'])} effects, {len(cells) - len(drawn)} that no back end draws: "
          f"{out / 'index.html'}")


if __name__ == "__main__":
    main()
