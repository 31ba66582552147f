#!/usr/bin/env python3
"""Checks that the tool writes the same bytes always. Usage: determinism.py ROOT RUNS TOOL...

Runs each command RUNS times with each of the tools, in a folder of its own, and compares the exit code, what is printed and
every file that is written with the first run of the first tool. From run to run change what new memory holds, Qt's hash
seeds, the driver's threads and, where a command has several ways to the same result, the way: decoders in a process of
their own, frames side by side. The effects are drawn with OpenGL and without.
"""
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

GRAPH = {"nodes": {"first": {"operator": "RImOpCC", "inputs": ["data/png/gen_im_rgba8.png"],
                             "properties": {"Gamma": 1.7, "ShadowSaturation": 0.4}},
                   "second": {"operator": "RImOpKeyer", "inputs": ["first"],
                              "properties": {"Mode": "Luminance Keying", "Threshold": 30}}},
         "output": "second"}
ALONE = ("", "--isolate")
SIDE_BY_SIDE = ("--jobs 1", "--jobs 3", "--jobs 2 --isolate")
FOLDERS = ("bmp", "bmp-icon", "dds", "iff", "jpeg", "pic", "png", "sgi", "svg", "tga", "tiff", "yuv")
NOT_SAMPLES = (".json", ".png.png", ".f32", ".clamped.png", ".expected.png")

Command = collections.namedtuple("Command", "words ways")


def samples(root, folder):
    names = sorted(path.name for path in (root / "tests/data" / folder).iterdir() if ".dds." not in path.name)
    return " ".join(shlex.quote(f"data/{folder}/{name}") for name in names if not name.endswith(NOT_SAMPLES))


def reading(root):
    for folder in FOLDERS:
        yield f"info --json {samples(root, folder)}", ALONE
    for name in sorted(path.name for path in (root / "samples").iterdir() if path.suffix not in (".json", ".md", ".py", ".sh")):
        yield f"convert samples/{name} out.png", ALONE
    yield "convert data/dds/gen_bc6h_sf16_all_modes.dds out.tif --exposure 1.3", ALONE
    yield "convert samples/cat.dds out.tif --level 1", ALONE


def converting():
    alpha = "data/png/gen_im_rgba8.png"
    for target in ("png", "png --compression 90", "tif", "tif --compression 1", "tiff", "jpg", "jpeg --quality 71", "bmp",
                   "tga", "yuv"):
        extension, _, options = target.partition(" ")
        yield f"convert {alpha} --resize 97x61 out.{extension} {options}", ALONE
    for operations in ("--format RGBA", "--format RGB", "--format BGRA", "--format BGR", "--resize 1013x677", "--resize 7x5",
                       "--square '#2060C080'", "--flip", "--translate 5,-3", "--translate 5,-3,wrap", "--premultiply",
                       "--premultiply --unpremultiply", "--apply-alpha 0.37", "--alpha", "--alpha=invert",
                       f"--merge-alpha {alpha}", "--field one", "--field two --frame", "--field average"):
        yield f"convert {alpha} {operations} out.tga", ALONE
    yield "compare --json samples/hopper.jpg samples/hopper.sgi --diff out.png", ALONE
    yield "sheet samples/hopper.bmp samples/lighthouse.svg samples/testcard.dds samples/waves.pic out.png", ALONE
    yield "convert samples/lighthouse.svg --frames 1-7 out.####.png", SIDE_BY_SIDE


def effects(gpu):
    """The corrections, keys and graphs that are drawn both ways."""
    alpha, photo, clean = "data/png/gen_im_rgba8.png", "samples/green-screen.png", "samples/green-screen-clean.jpg"
    for settings in ("Gamma=1.4 ShadowSaturation=0.5", "Hue=77 Contrast=1.3 Saturation=0.7 Transparency=true",
                     "Gain=1,1.1,1.3 MidOffset=0.1,0,0.05 HighlightHue=20",
                     "ColorPoints=true Black=0.05,0,0.02 White=0.9,1,0.8 Negative=true"):
        options = " ".join(f"--set {setting}" for setting in settings.split())
        yield f"correct {alpha} out.tif {gpu} {options} --explain --save graph.json", ALONE
    for mode, files in (("Chroma Keying", photo), ("Luminance Keying", photo), ("Difference Keying", f"{photo} {clean}")):
        for output in ("Key", "Matte"):
            yield (f"key {files} out.tif {gpu} --set Mode='{mode}' --set Output={output} --set Key=0.13,0.61,0.21 "
                   "--set Threshold=35 --set Softness=75 --set Suppression=10 --set LeftMask=7", ALONE)
    yield f"graph inputs/graph.json out.tif {gpu} --explain --save graph.json", ALONE


def drawing():
    """What needs OpenGL."""
    for preset in ("A over B", "blend", "A xor B", "A * B"):
        yield f"blend samples/waves.png samples/hopper.tga out.tif --set Preset='{preset}' --set Alpha=37", ALONE
    for mode in ("color-anaglyph", "gray-anaglyph", "row-interleaved", "checkerboard", "side-by-side", "side-by-side-swapped"):
        yield f"stereo samples/stereo-left.png samples/stereo-right.png out.png --mode {mode} --y-base 1", ALONE
    yield "graph samples/green-screen.json out.png", ALONE
    yield "blend inputs/frame.####.tga samples/hopper.tga out.####.tga --set Preset='A + B' --frames 1-4", SIDE_BY_SIDE
    for name in ("data/dds/gen_nv_bc3_odd.dds", "samples/cat.dds"):
        yield f"convert {name} out.tga --gpu=require", ("",)


def commands(root):
    lines = [*reading(root), *converting(), *effects("--gpu=never"), *effects("--gpu=require"), *drawing()]
    return [Command(shlex.split(line), [shlex.split(way) for way in ways]) for line, ways in lines]


def surroundings(run):
    """Returns the environment of a run."""
    environment = dict(os.environ, MALLOC_PERTURB_=str(run * 37 % 256), LP_NUM_THREADS=str(run % 3))
    # Any other value, and none, makes Qt draw seeds for each process.
    if run == 0:
        environment["QT_HASH_SEED"] = "0"
    return environment


def run_command(tool, command, run, inputs):
    """Runs a command in a new folder. Returns its exit code, what it printed, and the sums of the files that it wrote."""
    folder = pathlib.Path(tempfile.mkdtemp())
    try:
        for path in inputs.iterdir():
            (folder / path.name).symlink_to(path.resolve())
        words = [tool, *command.words, *command.ways[run % len(command.ways)]]
        done = subprocess.run(words, cwd=folder, env=surroundings(run), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        written = sorted(path for path in folder.iterdir() if not path.is_symlink())
        return done.returncode, done.stdout, {path.name: hashlib.sha256(path.read_bytes()).digest() for path in written}
    finally:
        shutil.rmtree(folder)


def make_inputs(root, tool, inputs):
    """Fills the folder whose entries every run finds in its own."""
    own = inputs / "inputs"
    own.mkdir()
    (inputs / "samples").symlink_to(root / "samples")
    (inputs / "data").symlink_to(root / "tests/data")
    (own / "data").symlink_to(root / "tests/data")
    (own / "graph.json").write_text(json.dumps(GRAPH))
    subprocess.run([tool, "convert", root / "samples/waves.png", own / "frame.####.tga", "--frames", "1-4"], check=True)


def check_first(table, results):
    """What fails always is equal always. Exit code 1: pictures differ, or some of many samples are refused."""
    for command, (code, printed, written) in zip(table, results):
        if code not in (0, 1) or (not written and command.words[0] != "info"):
            raise SystemExit(f"{shlex.join(command.words)}: exit code {code}, {printed.decode()}")


def main():
    root, runs = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2])
    tools = [pathlib.Path(tool).resolve() for tool in sys.argv[3:]]
    table = commands(root)
    tasks = [(tool, command, run) for run in range(runs) for tool in tools for command in table]
    inputs = pathlib.Path(tempfile.mkdtemp())
    try:
        make_inputs(root, tools[0], inputs)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            expected = list(pool.map(lambda command: run_command(tools[0], command, 0, inputs), table))
            check_first(table, expected)
            results = pool.map(lambda task: run_command(*task, inputs), tasks)
            different = collections.Counter((tool, shlex.join(command.words)) for index, ((tool, command, _), result)
                                            in enumerate(zip(tasks, results)) if result != expected[index % len(table)])
    finally:
        shutil.rmtree(inputs)
    for (tool, words), count in different.items():
        print(f"{count} of {runs} runs differ: {tool} {words}")
    print(f"{len(table)} commands, {runs} runs of {len(tools)} tools, {different.total()} differ")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())
