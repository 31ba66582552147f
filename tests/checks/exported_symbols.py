#!/usr/bin/env python3
"""Checks that a library exports what its reviewed list names, and nothing else. Usage: exported_symbols.py LIBRARY LIST

The list has one pattern a line, for the outermost class, namespace or function of a symbol; # starts a comment. What
the compiler, the linker and the standard library put into every library needs no entry."""
import pathlib
import re
import subprocess
import sys

PREFIXES = re.compile(
    r"^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for|(non-)?virtual thunk to|"
    r"covariant return thunk to|construction vtable for|TLS (init|wrapper) function for) ")
EVERYWHERE = re.compile(r"_.*|std|__gnu_cxx|operator (new|delete)(\[\])?")


def owner(symbol):
    """Returns the outermost name of a demangled symbol: "std" of "bool std::less<int>::operator()(int) const"."""
    symbol = PREFIXES.sub("", symbol)
    if symbol.startswith("operator"):
        return symbol.split("(")[0]
    name = re.split(r"[<(\[]", symbol, maxsplit=1)[0]
    return name.split(" ")[-1].split("::")[0]


def exported(library):
    """Returns the demangled symbols that the library defines, by their outermost names."""
    lines = subprocess.run(["nm", "--dynamic", "--demangle", "--defined-only", library],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    owners = {}
    for line in lines:
        symbol = line.split(" ", 2)[2]
        owners.setdefault(owner(symbol), []).append(symbol)
    return owners


def main():
    library, listed = sys.argv[1], pathlib.Path(sys.argv[2])
    patterns = [line.split("#")[0].strip() for line in listed.read_text().splitlines()]
    patterns = [pattern for pattern in patterns if pattern]
    owners = exported(library)
    faults = [f"{library} exports {symbols[0]}" for name, symbols in sorted(owners.items())
              if not EVERYWHERE.fullmatch(name) and not any(re.fullmatch(p, name) for p in patterns)]
    faults += [f"{listed.name}: {pattern} names nothing that is exported" for pattern in patterns
               if not any(re.fullmatch(pattern, name) for name in owners)]
    print("\n".join(faults) or f"{library}: {len(owners)} outermost names, all reviewed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
