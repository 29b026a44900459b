"""The table of attacks, between the markers of a document."""
import sys

BEGIN, END = "<!-- attacks:begin -->\n", "<!-- attacks:end -->"
HEAD = ("attack", "by whom", "what keeps him out", "result")
HELD = "held"


def _row(*cells):
    return "| " + " | ".join(cell.replace("|", "\\|") for cell in cells) + " |"


def _text(rows):
    return "\n".join([_row(*HEAD), "|" + "---|" * len(HEAD), *(_row(*row) for row in rows)])


def write(path, reports):
    rows = [(report["name"], report["who"], report["holds"],
             HELD if not report["problems"] else "; ".join(report["problems"])) for report in reports]
    with open(path, encoding="utf-8") as file:
        head, rest = file.read().split(BEGIN, 1)
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{head}{BEGIN}\n{_text(rows)}\n\n{END}{rest.split(END, 1)[1]}")


def check(path, attacks):
    """@return 0 if the table in the document names these attacks, and says that all of them were held"""
    with open(path, encoding="utf-8") as file:
        found = file.read().split(BEGIN, 1)[1].split(END, 1)[0].strip()
    wanted = _text([(attack.name, attack.who, attack.holds, HELD) for attack in attacks])
    if found == wanted:
        print(f"{path} names all {len(attacks)} attacks")
        return 0
    different = sorted(set(found.splitlines()) ^ set(wanted.splitlines()))
    print(f"{path} does not hold the table of the attacks as they are; run_attacks.py --write-table makes it.\n" +
          "\n".join(different), file=sys.stderr)
    return 1
