"""The table of stacks, put between the markers of a document."""
from support import browsers

COLUMNS = ("picture", "sound", "talk-back", "watching", "hanging up", "vanishing")
BEGIN, END = "<!-- begin interop -->\n", "<!-- end interop -->"


def _cell(reports, what):
    shown = [report["works"][what] for report in reports if what in report["works"]]
    if not shown:
        return ""
    if all(shown):
        return "yes"
    return f"{sum(shown)} of {len(shown)}" if any(shown) else "no"


def _missing(reports, remark):
    """What does not work, the same problem of several runs once. What is not the stack's is the camera's."""
    runs_with = {}
    for report in reports:
        for problem in report["problems"]:
            runs_with.setdefault(problem, []).append(report["run"])
    problems = [problem if len(runs) == len(reports) else f"{problem} ({'; '.join(runs)})"
                for problem, runs in runs_with.items()]
    refused = [report["run"] for report in reports if not report["works"] and not report["problems"]]
    return "; ".join(([f"{'; '.join(refused)}: refused with a reason"] if refused else []) +
                     ([remark] if remark else []) + [f"{problem}: the camera's" for problem in problems])


def _row(title, remark, reports):
    ran = "; ".join(report["run"] for report in reports)
    return [title, reports[0]["version"], ran, *(_cell(reports, what) for what in COLUMNS), _missing(reports, remark)]


def write(path, reports, known, camera):
    titles = {stack.name: (stack.title, stack.remark) for stack in known}
    for report in browsers.reports(camera):
        reports = reports + [report]
        titles[report["stack"]] = (report["stack"], "")
    rows = [["stack", "version", "called by", *COLUMNS, "what does not work, and whose it is"]]
    rows.append(["---"] * len(rows[0]))
    for name, (title, remark) in titles.items():
        of_stack = sorted((report for report in reports if report["stack"] == name), key=lambda report: report["run"])
        if of_stack:
            rows.append(_row(title, remark, of_stack))
    text = "\n".join("| " + " | ".join(cell.replace("|", "\\|") for cell in row) + " |" for row in rows)
    with open(path, encoding="utf-8") as file:
        head, rest = file.read().split(BEGIN, 1)
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{head}{BEGIN}\n{text}\n\n{END}{rest.split(END, 1)[1]}")
