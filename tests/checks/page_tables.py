"""The tables of pages in Markdown, for checks that compare them with the tool."""


def rows_after(page, header):
    """Returns the cells of the table with that header."""
    lines = page.split(header + "\n", 1)[1].splitlines()[1:]
    rows = []
    for line in lines:
        if not line.startswith("|"):
            break
        rows.append([cell.strip() for cell in line.strip("|").split("|")])
    return rows
