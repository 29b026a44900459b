"""Writes generated tables into documents, between a pair of markers."""


def replace_between(path, name, text):
    """Replaces what is between <!-- begin NAME --> and <!-- end NAME -->."""
    begin, end = f"<!-- begin {name} -->\n", f"<!-- end {name} -->"
    with open(path, encoding="utf-8") as file:
        document = file.read()
    head, rest = document.split(begin, 1)
    tail = rest.split(end, 1)[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(head + begin + "\n" + text.strip("\n") + "\n\n" + end + tail)


def table(header, rows):
    """A Markdown table."""
    lines = [header, ["---"] * len(header), *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines)
