"""The table "Tests" of docs/figures.md: the totals of the records in docs/figures.d, each with its command."""

import re

TITLE = "## Tests"
HEAD = ["| figure | value | command | record |", "|---|--:|---|---|"]


def rows(text):
    """The cells of each row of a page's tables."""
    return [[cell.strip() for cell in line.strip("|").split("|")] for line in text.splitlines() if line.startswith("|")]


def coverage(text):
    _, lines, ran, of_lines, branches, taken, of_branches = next(row for row in rows(text) if row[0] == "all")
    command = re.search(r"tools/coverage --record \S+", text)[0]
    yield "lines of the router's code that tests execute", f"{int(ran):,} of {int(lines):,}, {of_lines} %", command
    yield "branches that they take", f"{int(taken):,} of {int(branches):,}, {of_branches} %", command


def faults(text):
    for name, what in (("replay", "failures injected into the recording platform"),
                       ("system_faults", "failures injected into system calls of `rc` and `nvram`")):
        row = next(row for row in rows(text) if row[0] == f"`stress.{name}`")
        number = int(re.search(r"([\d ]+) faults", row[2])[1].replace(" ", ""))
        yield f"{what}, faults found: {row[3]}", f"{number:,}", f"ctest --preset release -R stress.{name}"


def fuzzing(text):
    row = next(row for row in rows(text) if row[0] == "**together**")
    number, still_open = int(row[1].strip("*")), row[4].strip("*")
    yield f"inputs executed by the fuzzers, findings open: {still_open}", f"{number:,}", re.search(r"`(tests/fuzz/campaign[^`]*)`", text)[1]


def mutation(text):
    # Of each seed the first run counts, which nobody had tuned the tests to: cases were added for its survivors.
    runs = {}
    for row in rows(text):
        if row[2:3] and row[2].startswith("`tools/mutate"):
            runs.setdefault(row[2].strip("`"), []).append(row)
    for command, found in runs.items():
        first, last = found[0], found[-1]
        after = f"; {last[5]} with cases for its survivors" if first is not last else ""
        figure = f"{first[4]} of {first[3]}, {first[5]}; {first[8]} without those that behave as the original{after}"
        yield "mutants that tests detect", figure, command


RECORDS = {"coverage": coverage, "mutation": mutation, "fuzzing": fuzzing, "faults": faults}


def section(folder):
    """The section's lines."""
    lines = [TITLE, "", "Each record describes how its figure was measured, and has the details.", "", *HEAD]
    for name, figures in RECORDS.items():
        text = (folder / f"{name}.md").read_text(encoding="utf-8")
        for what, value, command in figures(text):
            lines.append(f"| {what} | {value} | `{command}` | [{name}](figures.d/{name}.md) |")
    return [*lines, ""]


def renewed(page, folder):
    """The page with its section as the records have it now."""
    before, title, rest = page.partition(TITLE + "\n")
    if not title:
        raise ValueError(f"no section {TITLE!r}")
    after = re.search(r"^## .*", rest, re.MULTILINE | re.DOTALL)
    return before + "\n".join(section(folder)) + ("\n" + after[0] if after else "")
