#!/usr/bin/env python3
"""Checks that libraries and programs are hardened. Usage: hardening.py [--optimised] FILE...

Relocations are resolved at the start and read-only afterwards, the stack is not executable, programs run at any address,
functions with buffers check the stack, and with --optimised each file calls the checked functions of the C library and
the checks of the C++ library, but for those of which UNCHECKED tells why they call none."""
import pathlib
import re
import subprocess
import sys


CHECKS = {
    "C": (r"__(?!stack)\w+_chk", "calls no checked function of the C library"),
    "C++": (r"\w*__glibcxx_assert_fail\w*", "checks no index of the C++ library"),
}
# Files without such calls, by what they are called before their ending.
UNCHECKED = {
    ("librgl", "C"),  # passes OpenGL's calls on: neither memory nor text of its own
    ("librgl", "C++"),  # has no container
    ("libqrimage", "C"),  # copies only into buffers of Qt, whose sizes the compiler does not know
}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def faults_of(path):
    """Yields what is wrong with one file."""
    segments = output("readelf", "--wide", "--program-headers", path)
    dynamic = output("readelf", "--wide", "--dynamic", path)
    if "GNU_RELRO" not in segments:
        yield "relocations stay writable"
    if not re.search(r"\(FLAGS(_1)?\).*\b(BIND_NOW|NOW)\b", dynamic):
        yield "functions are bound when they are first called"
    stack = re.search(r"GNU_STACK.*\s(R\w*)\s", segments)
    if not stack or "E" in stack.group(1):
        yield "the stack is executable"
    if "TEXTREL" in dynamic:
        yield "code is relocated"
    if "Type:                              DYN" not in output("readelf", "--file-header", path):
        yield "it runs at one address only"
    if "__stack_chk_fail" not in undefined(path):
        yield "no function checks its stack"


def undefined(path):
    """Returns the names that a file takes from others, without versions."""
    names = output("nm", "--dynamic", "--undefined-only", path).split()
    return {name.split("@")[0] for name in names}


def unchecked_faults_of(path):
    """Yields which checks an optimised file lacks, or has although it is said to have none."""
    used = undefined(path)
    stem = pathlib.Path(path).name.partition(".so")[0]
    for kind, (pattern, fault) in CHECKS.items():
        has = any(re.fullmatch(pattern, name) for name in used)
        if has == ((stem, kind) in UNCHECKED):
            yield f"its entry for {kind} in UNCHECKED is out of date" if has else fault


def main():
    arguments = sys.argv[1:]
    optimised = "--optimised" in arguments
    paths = [argument for argument in arguments if argument != "--optimised"]
    faults = [f"{path}: {fault}" for path in paths for fault in faults_of(path)]
    if optimised:
        faults += [f"{path}: {fault}" for path in paths for fault in unchecked_faults_of(path)]
    print("\n".join(faults) or f"{len(paths)} files are hardened")
    return 1 if faults or not paths else 0


if __name__ == "__main__":
    sys.exit(main())
