#!/usr/bin/env python3
"""What lab/run makes of a scenario's output, and its statuses; the scenarios are made up.

usage: run_test.py BUILD_DIR
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile

from waits import PROGRAM_LIMIT

LAB = os.path.dirname(os.path.abspath(__file__))
BUILD = sys.argv[1]
failures = 0

OUTPUT = {
    "good": (0, r"""== First
  ok    [adapter udhcpd, real packets] pc1's address: 192.168.1.33
  ok    a file: "x\y"
== Second
  ok    [stub ntp] its command line: [x] y
  ok    [real packets] a page

PASS: all 4 checks hold; good
"""),
    "bad": (1, """== First
  FAIL  [stub ntp] its lines: wanted "", saw "one
  two"
  ok    fine

FAIL: 1 of 2 checks; bad
"""),
    "none": (77, "skipped: not here\n"),
    "broken": (1, "FAIL: the box ended early, status 137; broken\n"),
    "hidden": (0, "== First\n  ok    one\nconsole  ok    two\n\nPASS: all 2 checks hold; hidden\n"),
}


def check(what, good, seen=""):
    global failures
    failures += not good
    print(f"  {'ok   ' if good else 'FAIL '} {what}" + ("" if good else f": {seen}"))


def made_up_lab(folder):
    """The real lab/run, beside a demo that prints what a scenario has ready."""
    os.makedirs(os.path.join(folder, "scenarios"))
    shutil.copy(os.path.join(LAB, "run"), folder)
    for name, (status, text) in OUTPUT.items():
        with open(os.path.join(folder, "scenarios", name + ".sh"), "w") as file:
            file.write(text)
        with open(os.path.join(folder, "scenarios", name + ".status"), "w") as file:
            file.write(str(status))
    for name in ("demo", "mips"):
        path = os.path.join(folder, name)
        with open(path, "w") as file:
            file.write('#!/bin/sh\ncd "$(dirname "$0")/scenarios" || exit 2\n'
                       'for name; do :; done\n'
                       '[ "${0##*/}" = demo ] || { echo "skipped: no machine"; exit 77; }\n'
                       'cat "$name.sh"; exit "$(cat "$name.status")"\n')
        os.chmod(path, 0o755)


with tempfile.TemporaryDirectory() as folder:
    made_up_lab(folder)

    def run(*options):
        return subprocess.run([os.path.join(folder, "run"), "--build-dir", BUILD, *options],
                              capture_output=True, text=True, timeout=PROGRAM_LIMIT)

    for scenarios, status in [(["good"], 0), (["good", "none"], 0), (["none", "mips"], 77), (["good", "bad"], 1),
                              (["none", "bad"], 1), (["broken"], 1), (["hidden"], 1), (["nowhere"], 2), ([], 1)]:
        seen = run(*scenarios)
        check(f"{' '.join(scenarios) or 'all of them'}: status {status}", seen.returncode == status, seen)
    for options in (["--bogus"], ["--keep"], ["--build-dir", LAB, "good"]):
        seen = run(*options)
        check(f"{' '.join(options)}: status 2, and says why", seen.returncode == 2 and "run: " in seen.stderr, seen)

    lines = [" ".join(line.split()) for line in run("good", "bad", "none").stdout.splitlines()]
    for line in ["good 1 0 adapter udhcpd, real packets First", "good 1 0 real First", "good 1 0 stub ntp Second",
                 "good 1 0 real packets Second", "bad 0 1 stub ntp First", "bad 1 0 real First",
                 "real packets 1 ok 0 FAIL", "real packets, through an adapter 1 ok 0 FAIL",
                 "through an adapter 0 ok 0 FAIL", "by a stub 1 ok 1 FAIL", "real, without packets 2 ok 0 FAIL",
                 "none skipped: not here"]:
        check(f"the table: {line}", lines.count(line) == 1, lines)

    seen = run("--json", "good", "bad", "none")
    told = json.loads(seen.stdout)
    check("JSON: the checks", told["checks"] == [
        {"scenario": "good", "step": "First", "what": "pc1's address: 192.168.1.33",
         "how": "adapter udhcpd, real packets", "passed": True},
        {"scenario": "good", "step": "First", "what": 'a file: "x\\y"', "how": "real", "passed": True},
        {"scenario": "good", "step": "Second", "what": "its command line: [x] y", "how": "stub ntp",
         "passed": True},
        {"scenario": "good", "step": "Second", "what": "a page", "how": "real packets", "passed": True},
        {"scenario": "bad", "step": "First", "what": 'its lines: wanted "", saw "one', "how": "stub ntp",
         "passed": False},
        {"scenario": "bad", "step": "First", "what": "fine", "how": "real", "passed": True}], told)
    check("JSON: the scenarios", told["scenarios"] == {
        "good": "PASS: all 4 checks hold; good", "bad": "FAIL: 1 of 2 checks; bad", "none": "skipped: not here"}, told)
    check("JSON: the progress is elsewhere", "== Second" in seen.stderr, seen)

    kept = os.path.join(folder, "kept")
    run("--keep", kept, "good")
    with open(os.path.join(kept, "good.log")) as file:
        check("the whole output is kept", file.read() == OUTPUT["good"][1])
sys.exit(1 if failures else 0)
