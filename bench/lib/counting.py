"""Instructions of every process that a command starts, counted by callgrind."""

import pathlib
import re
import subprocess

# With --dump-every-bb the counts are written and reset at every system call: otherwise a child would inherit its parent's
# counts at a fork.
OPTIONS = ["--tool=callgrind", "--trace-children=yes", "-q", "--dump-every-bb=1"]


def empty(folder):
    for old in pathlib.Path(folder).iterdir():
        old.unlink()


def read_counts(folder):
    """[(command line, instructions)] of each process, the first one first.

    Some instructions between fork and exec are lost, because the executed program overwrites the process's file; so the
    count of a script is slightly too low.
    """
    names, counts = {}, {}
    for part in pathlib.Path(folder).iterdir():
        process = int(part.name.split(".")[0])
        with part.open(errors="replace") as lines:
            for line in lines:
                if line.startswith("cmd:"):
                    names[process] = line[4:].strip()
                if line.startswith("totals:"):
                    counts[process] = counts.get(process, 0) + int(line.split()[1])
    return [(names[process], counts[process]) for process in sorted(counts)]


def instructions_of(program):
    """Instructions of a program without arguments, as it is started on this machine."""
    printed = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program], check=True,
                             capture_output=True, text=True).stderr
    return int(re.search(r"Collected : (\d+)", printed)[1])


# One process, function by function.
PROFILE = ["--tool=callgrind", "-q"]


def read_profile(part):
    """{function: instructions including its callees}, and under "" those of the whole process."""
    printed = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", part], check=True,
                             capture_output=True, text=True).stdout
    rows = {"": re.search(r"^([0-9,]+) .*PROGRAM TOTALS", printed, re.M)[1]}
    for count, name in re.findall(r"^ *([0-9,]+) \([^)]*\)  [^:]*:(.*) \[[^]]*\]$", printed, re.M):
        # A function with several variants is listed several times.
        rows.setdefault(name, count)
    return {name: int(count.replace(",", "")) for name, count in rows.items()}
