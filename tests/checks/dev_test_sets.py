#!/usr/bin/env python3
"""Checks which tests ./dev test runs, by their labels. Usage: dev_test_sets.py ROOT BUILD

Only the labels are looked at: programs that stand in for cmake and dpkg-query build and install nothing, and the one for
ctest hands its arguments to the real one, which lists the tests of BUILD.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

# arguments of ./dev test, and whether a test with these labels and this name runs
SETS = [
    ([], lambda labels, name: "slow" not in labels),
    (["-LE", "gl"], lambda labels, name: not labels & {"slow", "gl"}),
    (["--label-exclude", "gl", "-LE", "fuzz"], lambda labels, name: not labels & {"slow", "gl", "fuzz"}),
    (["-L", "gl"], lambda labels, name: "gl" in labels and "slow" not in labels),
    (["-R", "le", "-LE", "gl"], lambda labels, name: "le" in name and not labels & {"slow", "gl"}),
    (["slow"], lambda labels, name: "slow" in labels),
    (["slow", "-LE", "gl"], lambda labels, name: "slow" in labels and "gl" not in labels),
    (["shim=nv"], lambda labels, name: "gl" in labels),
    (["shim=nv", "-LE", "slow"], lambda labels, name: "gl" in labels and "slow" not in labels),
]


def write_program(path, text):
    path.write_text("#!/usr/bin/env bash\n" + text)
    path.chmod(0o755)


def tests_of(listing):
    """Returns the labels of each test by name."""
    tests = json.loads(listing)["tests"]
    return {test["name"]: {label for field in test.get("properties", []) if field["name"] == "LABELS"
                           for label in field["value"]} for test in tests}


def main():
    root, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    ctest = shutil.which("ctest")
    every = tests_of(subprocess.run([ctest, "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True).stdout)
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        write_program(pathlib.Path(folder, "cmake"), "exit 0\n")
        write_program(pathlib.Path(folder, "dpkg-query"), "echo 'install ok installed'\n")
        # The preset, which would name the build's folder, goes.
        write_program(pathlib.Path(folder, "ctest"), f'shift 2\nexec {ctest} --test-dir "{build}" --show-only=json-v1 "$@"\n')
        environment = {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"}
        for arguments, runs in SETS:
            done = subprocess.run([root / "dev", "test", *arguments], env=environment, capture_output=True, text=True)
            found = set(tests_of(done.stdout)) if done.returncode == 0 else set()
            wanted = {name for name, labels in every.items() if runs(labels, name)}
            if found != wanted or not wanted:
                faults.append(f"./dev test {' '.join(arguments)}: {len(found)} tests, not {len(wanted)}: "
                              f"{sorted(found ^ wanted)[:10]} {done.stderr}")
    print("\n".join(faults) or f"{len(SETS)} sets of {len(every)} tests")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
