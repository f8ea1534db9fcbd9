#!/usr/bin/env python3
"""Holds docs/exercised.md against what the lab's scenarios have just told of their checks.

usage: exercised_test.py DOCUMENT LOGS; LOGS is the folder of `lab/run --keep`. Status 77 where a scenario is missing.

- Each adapter and stub that a check named has a row, which says so and names the scenario.
- Each row that claims an adapter or a stub in a scenario has a check there that says the same.
"""
import glob
import os
import re
import sys

document, logs = sys.argv[1:]
SCENARIOS = ["boot_lan", "boot_ap", "wan", "ppp", "firewall", "packet", "exposure", "services", "trial", "inspect", "mips"]
# What the lab calls by another word than the name of a row.
ROWS = {"kernel_log": "the same, granted", "cron_start": "cron"}


def seen_in_logs():
    seen = {}
    for path in glob.glob(os.path.join(logs, "*.log")):
        scenario = os.path.basename(path)[:-4]
        with open(path, errors="replace") as file:
            for note in re.findall(r"^  ok    \[([^]]*)\] ", file.read(), re.M):
                for kind, name in re.findall(r"(adapter|stub) ([^,]+)", note):
                    seen.setdefault((kind, ROWS.get(name, name)), set()).add(scenario)
    return seen


def rows():
    """The first cell's names, the second cell, the third cell's scenarios, and the whole line."""
    with open(document) as file:
        for line in file:
            cells = [cell.strip() for cell in line.strip().strip("|").split(" | ")]
            if not line.startswith("|") or len(cells) != 3 or cells[1] in ("how", "---"):
                continue
            names = re.findall(r"`([^`]+)`", cells[0]) or [cells[0]]
            places = [word for word in re.findall(r"`([^`]+)`", cells[2]) if word in SCENARIOS]
            yield names, cells[1], places, line


have = {os.path.basename(path)[:-4] for path in glob.glob(os.path.join(logs, "*.log"))}
missing = [name for name in SCENARIOS if name not in have and name != "mips"]
if missing:
    print("skipped: these were not played before:", *missing)
    sys.exit(77)
seen = seen_in_logs()
wrong = []
table = list(rows())
for (kind, name), scenarios in sorted(seen.items()):
    mine = [row for row in table if name in row[0]]
    if not mine:
        wrong.append(f"{kind} {name} ({', '.join(sorted(scenarios))}) has no row")
        continue
    for scenario in sorted(scenarios):
        # "elsewhere" and "every scenario" stand for all.
        if not any(kind in line and (f"`{scenario}`" in line or "elsewhere" in line or "every scenario" in line)
                   for _, _, _, line in mine):
            wrong.append(f"{kind} {name} in {scenario}: its row does not say so")
for names, how, places, line in table:
    # The first word is what the places show, unless the row goes on to tell them apart.
    kind = re.match(r"(adapter|stub)\b", how)
    programs = [name for name in names if any(name == other for _, other in seen)]
    if not kind or not programs:
        continue
    for place in places:
        if place in have and not any(kind[1] in line and place in seen.get((kind[1], name), ())
                                     for name in programs) and f"in `{place}`" not in line:
            wrong.append(f"{', '.join(programs)}: no check in {place} was by {kind[1]}")
for problem in wrong:
    print("FAIL", problem)
print(f"{len(seen)} adapters and stubs in {len(have)} scenarios, {len(table)} rows")
sys.exit(1 if wrong or not seen or not table else 0)
