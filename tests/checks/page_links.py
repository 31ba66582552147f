#!/usr/bin/env python3
"""Checks the links between the Markdown pages. Usage: page_links.py ROOT

A link to a file of the repository must lead to one, and behind a # to a heading of it. Every page in docs/ must be reachable
from the README.
"""
import pathlib
import re
import sys

LINK = re.compile(r"(?<!`)\[[^\]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ +(.+?) *$", re.MULTILINE)
CODE = re.compile(r"^```.*?^```$|^    [^\n]*$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
ELSEWHERE = ("http://", "https://", "mailto:")


def links_of(page):
    return [link for link in LINK.findall(CODE.sub("", page.read_text())) if not link.startswith(ELSEWHERE)]


def anchors_of(page):
    """The names that headings have, as the repository's site makes them."""
    text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.MULTILINE | re.DOTALL)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in HEADING.findall(text)}


def check(root, page):
    """Yields the pages that a page leads to, and (as strings) what is wrong with its links."""
    for link in links_of(page):
        name, _, anchor = link.partition("#")
        target = (page.parent / name).resolve() if name else page
        if root not in target.parents or not target.exists():
            yield f"{page.relative_to(root)}: {link} leads nowhere"
            continue
        if target.suffix == ".md":
            yield target
        if anchor and (target.suffix != ".md" or anchor not in anchors_of(target)):
            yield f"{page.relative_to(root)}: {link}: there is no such heading"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    pages = [root / name for name in ("README.md", "ARCHITECTURE.md", "CHANGELOG.md", "SECURITY.md", "samples/README.md",
                                      "tests/data/README.md")] + sorted((root / "docs").rglob("*.md"))
    faults, leads = [], {}
    for page in pages:
        found = list(check(root, page))
        faults += [fault for fault in found if isinstance(fault, str)]
        leads[page] = {target for target in found if isinstance(target, pathlib.Path)}
    reached, waiting = set(), [root / "README.md"]
    while waiting:
        page = waiting.pop()
        if page not in reached:
            reached.add(page)
            waiting += leads.get(page, ())
    faults += [f"{page.relative_to(root)}: no way leads here from the README"
               for page in pages if root / "docs" in page.parents and page not in reached]
    count = sum(len(links_of(page)) for page in pages)
    if count < len(pages):
        faults.append(f"{count} links in {len(pages)} pages are too few to be true")
    for fault in faults:
        print(fault)
    print(f"{len(pages)} pages, {count} links, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
