#!/usr/bin/env python3
"""Judges what the tests reach of the own code. Usage: coverage.py REPORT ROOT LISTING

REPORT is what gcovr wrote with --json. Too few lines or branches fail, and so does a group of lines that no test
reaches without a reason in docs/coverage.md, or a reason for lines that are reached. LISTING gets every line that is not
reached and every branch that is not taken."""
import json
import pathlib
import re
import sys

LINES = 95.0  # percent of all lines
BRANCHES = 90.0  # percent of all branches
FOLDERS = ["src", "host", "plugins", "tools"]
# Before the reason of lines that some machines or some runs reach.
SOMETIMES = "Sometimes: "


class File:
    def __init__(self, entry, root):
        self.name = entry["file"]
        self.text = [""] + (root / self.name).read_text().splitlines()
        code = [line for line in entry["lines"] if not line["gcovr/noncode"] and not line["gcovr/excluded"]]
        self.reached = {line["line_number"]: line["count"] > 0 for line in code}
        self.branches = {line["line_number"]: [branch["count"] > 0 for branch in line["branches"]] for line in code}

    def groups(self):
        """Returns lists of line numbers: runs that no reached line and no end of a function cuts."""
        groups, open_group = [], False
        for number in range(1, len(self.text)):
            reached = self.reached.get(number)
            if reached is False:
                if not open_group:
                    groups.append([])
                groups[-1].append(number)
                open_group = True
            if reached or self.text[number].startswith("}"):
                open_group = False
        return groups

    def untaken(self):
        """Yields each reached line with branches that are never taken, and how many."""
        for number, taken in self.branches.items():
            if self.reached[number] and not all(taken):
                yield number, taken.count(False), len(taken)


def percent(reached):
    reached = list(reached)
    return 100.0 * sum(reached) / len(reached) if reached else 100.0


def lines_of(files):
    return [reached for file in files for reached in file.reached.values()]


def branches_of(files):
    return [taken for file in files for branches in file.branches.values() for taken in branches]


def reasons(page):
    """Returns the rows (file, text of a line, reason) of the page's tables."""
    rows = []
    for line in page.splitlines():
        cells = [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if len(cells) == 3 and cells[0].startswith("`"):
            rows.append((cells[0].strip("`"), cells[1].strip("`"), cells[2]))
    return rows


def is_about(row, file):
    """A row names a file, or with a slash at the end all of a folder."""
    return file.name == row[0] or row[0].endswith("/") and file.name.startswith(row[0])


def faults(files, rows):
    """Yields a line for each group of lines without a reason, and for each reason that fits none."""
    used = set()
    for file in files:
        for group in file.groups():
            matching = [row for row in rows
                        if is_about(row, file) and any(row[1] in file.text[number] for number in group)]
            used.update(matching)
            if not matching:
                yield f"{file.name}:{group[0]}-{group[-1]}: no test and no reason: {file.text[group[0]].strip()}"
    for row in rows:
        name, text, reason = row
        if not any(text in line for file in files if is_about(row, file) for line in file.text):
            yield f"a reason is about a line that is not there: {name}: {text}"
        elif not reason.removeprefix(SOMETIMES):
            yield f"a reason is empty: {name}: {text}"
        elif row not in used and not reason.startswith(SOMETIMES):
            yield f"a reason is about a line that tests reach: {name}: {text}"


def write_listing(files, path):
    with path.open("w") as out:
        for file in files:
            print(f"{percent(file.reached.values()):6.1f} % lines {percent(branches_of([file])):6.1f} % branches  {file.name}",
                  file=out)
        for file in files:
            print(f"\n== {file.name}", file=out)
            for group in file.groups():
                for number in group:
                    print(f"  {number:4} line    {file.text[number]}", file=out)
            for number, missing, total in file.untaken():
                print(f"  {number:4} {missing}/{total:<3} not {file.text[number]}", file=out)


def main():
    report, root, listing = (pathlib.Path(argument) for argument in sys.argv[1:4])
    files = [File(entry, root) for entry in json.loads(report.read_text())["files"]]
    write_listing(files, listing)
    found = list(faults(files, reasons((root / "docs/coverage.md").read_text())))
    for folder in FOLDERS:
        part = [file for file in files if file.name.startswith(folder + "/")]
        if not part:
            found.append(f"nothing of {folder}/ was counted")
        print(f"{folder:8} {percent(lines_of(part)):5.1f} % of {len(lines_of(part))} lines, "
              f"{percent(branches_of(part)):5.1f} % of {len(branches_of(part))} branches")
    lines, branches = percent(lines_of(files)), percent(branches_of(files))
    print(f"{'all':8} {lines:5.1f} % lines (at least {LINES}), {branches:5.1f} % branches (at least {BRANCHES})")
    if lines < LINES or branches < BRANCHES:
        found.append("too little is reached")
    for fault in found:
        print(fault)
    print(f"{sum(len(file.groups()) for file in files)} groups of lines are not reached, {len(found)} faults; all of them: {listing}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
