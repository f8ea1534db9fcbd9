#!/usr/bin/env python3
"""Compares the stripped sizes of what ships with their limits, and shows what grew.

  gate.py [--record] --nm NM --strip STRIP --compiler VERSION --recorded FILE NAME=PROGRAM[:KIBIBYTES] ...

NAME is the program's name in FILE, KIBIBYTES its limit. FILE has the last recorded sizes of each program and of its
functions, and the compiler's version. A program above its limit fails; so does one that has grown by more than 1 % since.
After a review of the table, --record records the new sizes.
Exit status: 0 all sizes are within limits, 1 one is not, 2 usage error.
"""

import argparse
import re
import subprocess
import sys
import tempfile

SMALL = 64  # bytes; functions below it are counted together
SHOWN = 25  # rows of the table
SLACK = 0.01


def output_of(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


def stripped_size(strip, program):
    with tempfile.NamedTemporaryFile() as small:
        output_of(strip, "-o", small.name, program)
        small.seek(0, 2)
        return small.tell()


def parts_of(nm, program, whole):
    """Sizes of functions and data by name; clones of one function are added up."""
    parts = {}
    for line in output_of(nm, "--print-size", "--demangle", program).splitlines():
        found = re.match(r"[0-9a-f]+ ([0-9a-f]+) ([tTwWrRdDV]) (.+)", line)
        if not found:
            continue
        name = re.sub(r"( \[clone [^]]*\])+|(\.(lto_priv|constprop|isra|part|cold)(\.\d+)?)+$", "", found[3])
        parts[name] = parts.get(name, 0) + int(found[1], 16)
    named = {name: size for name, size in parts.items() if size >= SMALL}
    named["(texts, tables of the linker and small functions)"] = whole - sum(named.values())
    return named


def read_recorded(path):
    """The compiler's version, and the parts of each program; the empty name has the total."""
    compiler, programs = "", {}
    try:
        with open(path, encoding="utf-8") as lines:
            for line in lines:
                if line.startswith("# compiler "):
                    compiler = line[len("# compiler ") :].strip()
                elif not line.startswith("#"):
                    size, program, *name = line.rstrip("\n").split(" ", 2)
                    programs.setdefault(program, {})["".join(name)] = int(size)
    except FileNotFoundError:
        pass
    return compiler, programs


def write_recorded(path, compiler, measured):
    with open(path, "w", encoding="utf-8") as out:
        out.write("# Bytes, program, function; a line without a function is the stripped program.\n")
        out.write(f"# compiler {compiler}\n")
        for program, parts in measured.items():
            for name, size in sorted(parts.items(), key=lambda part: (part[0] != "", -part[1], part[0])):
                out.write(f"{size} {program} {name}".rstrip() + "\n")


def show_changes(program, before, now):
    changes = [(now.get(name, 0) - before.get(name, 0), name) for name in (before.keys() | now.keys()) - {""}]
    changes = sorted((change for change in changes if change[0]), key=lambda change: (-abs(change[0]), change[1]))
    for difference, name in changes[:SHOWN]:
        was, size = before.get(name), now.get(name)
        note = "new" if was is None else "gone" if size is None else f"{was} -> {size}"
        print(f"  {difference:+7} {program}: {name}  ({note})")
    if len(changes) > SHOWN:
        print(f"  {sum(change[0] for change in changes[SHOWN:]):+7} {program}: {len(changes) - SHOWN} smaller changes")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--record", action="store_true", help="write FILE anew instead")
    for option in ("--nm", "--strip", "--compiler", "--recorded"):
        parser.add_argument(option, required=True)
    parser.add_argument("programs", nargs="+", metavar="NAME=PROGRAM[:KIBIBYTES]")
    options = parser.parse_args()

    measured, limits = {}, {}
    for word in options.programs:
        name, _, rest = word.partition("=")
        path, _, limit = rest.partition(":")
        whole = stripped_size(options.strip, path)
        measured[name] = {"": whole, **parts_of(options.nm, path, whole)}
        limits[name] = int(limit) * 1024 if limit else None
    if options.record:
        write_recorded(options.recorded, options.compiler, measured)

    compiler, recorded = read_recorded(options.recorded)
    failed = []
    print(f"{'program':<20} {'recorded':>9} {'now':>9} {'grown':>7} {'limit':>9}")
    for name, parts in measured.items():
        now, before = parts[""], recorded.get(name, {}).get("")
        limit = limits[name]
        grown = "" if before is None else f"{now - before:+}"
        print(f"{name:<20} {before or '-':>9} {now:>9} {grown:>7} {limit or '-':>9}")
        if limit and now > limit:
            failed.append(f"{name} is {now - limit} bytes above its limit")
        if before is None:
            failed.append(f"{name} has no recorded size; --record makes one")
        elif compiler == options.compiler and now > before * (1 + SLACK):
            failed.append(f"{name} has grown by more than 1 %; if that is worth it, --record the new size")
    if compiler != options.compiler:
        print(f"recorded with another compiler ({compiler}, this is {options.compiler}): only the limits are checked")
    for name, parts in measured.items():
        if name in recorded:
            show_changes(name, recorded[name], parts)
    for complaint in failed:
        print(f"FAIL: {complaint}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
