"""Results of campaigns, known reasons for survivors, and the record of both."""
import collections
import difflib
import json
import os


def difference(source, mutant):
    """The lines that a mutant changes, with one line of context on each side; "@@" where lines are left out."""
    text = source.text[:mutant.start] + mutant.text + source.text[mutant.end:]
    lines = list(difflib.unified_diff(source.text.splitlines(), text.splitlines(), n=1, lineterm=""))[3:]
    return ["@@" if line.startswith("@@") else line.rstrip() for line in lines]


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def save(path, result):
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)


class Equivalents:
    """The mutants that behave as the original, each with the reason, from the file tools/mutate.equivalent.

    A line "file: NAME" begins an entry; "| " precedes the lines of its difference; its other lines are the reason.
    """

    def __init__(self, path):
        self.reasons = {}
        name, changed, reason = None, [], []
        lines = []
        if path and os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                lines = file.read().splitlines()
        for line in [*lines, "file: "]:
            if line.startswith("file: "):
                if name:
                    self.reasons[name, tuple(changed)] = " ".join(reason)
                name, changed, reason = line.removeprefix("file: "), [], []
            elif line.startswith("|"):
                changed.append(line[2:])
            elif line and not line.startswith("#"):
                reason.append(line.strip())

    def reason(self, tried):
        return self.reasons.get((tried["file"], tuple(tried["difference"])), "")

    def stale(self, root):
        """Entries whose lines are no longer in their file, or without a reason."""
        for (name, changed), reason in self.reasons.items():
            parts = "\n".join(line[1:] for line in changed if not line.startswith("+")).split("\n@\n")
            try:
                with open(os.path.join(root, name), encoding="utf-8") as file:
                    text = "\n".join(line.rstrip() for line in file.read().splitlines())
                    found = all(part in text for part in parts)
            except FileNotFoundError:
                found = False
            if not found or not changed or not reason:
                yield f"{name}: " + ("no reason" if found else "no such lines") + "".join(f"\n  {line}" for line in changed)


def percent(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "-"


def counts(tried, equivalents):
    """The numbers of mutants, of caught ones, of survivors, and of survivors that behave as the original."""
    survivors = [one for one in tried if not one["caught_by"]]
    return len(tried), len(tried) - len(survivors), len(survivors), sum(bool(equivalents.reason(one)) for one in survivors)


def summary(tried, equivalents):
    drawn, caught, survived, same = counts(tried, equivalents)
    return (f"{drawn} mutants: {caught} caught ({percent(caught, drawn)}), {survived} survived; {same} of these behave"
            f" as the original, {percent(caught, drawn - same)} of the others are caught")


def table(heads, rows):
    yield "| " + " | ".join(heads) + " |"
    yield "|" + "---|" * len(heads)
    for row in rows:
        yield "| " + " | ".join(str(cell) for cell in row) + " |"
    yield ""


def grouped(tried, key, equivalents):
    groups = collections.defaultdict(list)
    for one in tried:
        groups[key(one)].append(one)
    for name in sorted(groups):
        drawn, caught, survived, same = counts(groups[name], equivalents)
        yield name, drawn, caught, survived, same


INTRODUCTION = """\
A mutant is a copy of one source with one change: another character in a text, a number plus or minus one, another
comparison, sign or truth value; two neighbouring statements (except declarations) or rows exchanged; a statement or the
branch after an else deleted. The place is drawn at random from all places of src/core, rc, lan, wan, sched, firewall and
wireless (without main and the code that the recording platform replaces) and of the settings store; the same seed draws
the same mutants. A mutant is replaced by another if it does not compile with warnings as errors, or if the compiler
produces the same object as from the original at -Os or -O2. The cases are played with each mutant, then the unit tests; it
survives if all of them pass. Below, each survivor that behaves as the original is listed with the reason. A date is that
of the run."""


def section(results, equivalents):
    """The results of several campaigns; the last one of each seed counts."""
    yield from ["## Mutation", "", *INTRODUCTION.splitlines(), ""]
    rows = []
    for result in results:
        drawn, caught, survived, same = counts(result["tried"], equivalents)
        rows.append((result["date"], result["note"], f"`{result['command']}`", drawn, caught, percent(caught, drawn),
                     survived, same, percent(caught, drawn - same)))
    yield from table(["date", "tests", "command", "mutants", "caught", "share", "survived", "equivalent survivors",
                      "caught without these"], rows)

    last = list({result["seed"]: result for result in results}.values())
    seeds = " and ".join(str(result["seed"]) for result in last)
    tried = [one for result in last for one in result["tried"]]
    caught = [one["caught_by"] for one in tried if one["caught_by"]]
    cases = sum(name.endswith(".case") for name in caught)
    ended = sum(" end" in name for name in caught)
    again = sum(result["again"] for result in last)
    yield from [f"The tables below count the last run of seed {seeds}, by folder and by kind of change. Of the"
                f" {len(caught)} caught mutants,", f"{cases} changed a case's transcript, {ended} crashed or did not end, and"
                f" {len(caught) - cases - ended} made unit tests fail. {again} mutants were replaced.", ""]
    heads = ["mutants", "caught", "survived", "equivalent survivors"]
    yield from table(["folder", *heads], grouped(tried, lambda one: os.path.dirname(one["file"]), equivalents))
    yield from table(["changed", *heads], grouped(tried, lambda one: one["operator"], equivalents))

    yield from ["The survivors of these runs, each with the reason why no test can catch it:", ""]
    seen = set()
    for one in sorted(tried, key=lambda one: (one["file"], one["line"])):
        mark = (one["file"], tuple(one["difference"]))
        if one["caught_by"] or mark in seen:
            continue
        seen.add(mark)
        yield f"- {one['file']}:{one['line']}, {one['operator']}: {equivalents.reason(one) or 'not examined yet'}"
        yield from ["", "  ```diff", *("  " + line for line in one["difference"]), "  ```", ""]
    if not seen:
        yield from ["None.", ""]


def write_section(path, results, equivalents):
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(line.rstrip() for line in section(results, equivalents)).rstrip("\n") + "\n")
