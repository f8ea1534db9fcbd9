#!/usr/bin/python3
"""Types into a real bash and checks its completed line.

typed_test.py COMPLETION
"""

import os
import pathlib
import pty
import signal
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "lab"))
from waits import PROGRAM_LIMIT  # noqa: E402

# The typed text, with a tab for completion, and the resulting line.
ROWS = (
    ("rc dhcpd c\t", "rc dhcpd create"),
    ("rc rou\tsto\t", "rc route stop"),
    ("nvram set wan_mo\tl2\t", "nvram set wan_mode=l2tp"),
    ("nvram set wan_mode=ip fw_na\t1", "nvram set wan_mode=ip fw_nat=1"),
    ("nvram set wifi_region=S\t", "nvram set wifi_region=South\\ America"),
    ("nvram diff @fl\t", "nvram diff @flash"),
    ("nvram --root /proc/sys/ker\t", "nvram --root /proc/sys/kernel/"),
    ("nvram import /etc/passw\t", "nvram import /etc/passwd"),
    ("rcplan run --set wan_mode=pppo\tdhcpd c\t", "rcplan run --set wan_mode=pppoe dhcpd create"),
    ("rcplan run --settings /etc/hostn\t-- la\tresta\t", "rcplan run --settings /etc/hostname -- lan restart"),
    ("build/bin/nvram get http_ti\t", "build/bin/nvram get http_timeout"),
    ("cd /; nvram describe http_ti\t", "cd /; nvram describe http_timeout"),
)
TO_START = "\x01"
TO_END = "\x05"


def printed(stream):
    """The printed text after the mark, up to the end of its line."""
    for line in stream:
        if line.startswith(b"LINE:"):
            return line[5:].decode().strip()
    sys.exit("bash ended early")


def main():
    signal.alarm(PROGRAM_LIMIT)
    pid, terminal = pty.fork()
    if pid == 0:
        os.environ.update(TERM="dumb", PS1="", HISTFILE="", INPUTRC="/dev/null", COLUMNS="500")
        os.execvp("bash", ["bash", "--norc", "--noprofile", "-i"])
    stream = os.fdopen(os.dup(terminal), "rb", buffering=0)
    os.write(terminal, f"stty cols 500; . '{sys.argv[1]}'\n".encode())
    failures = 0
    for typed, expected in ROWS:
        # The line becomes a word in quotes, so that it is printed and not run.
        os.write(terminal, (typed + TO_START + "echo LINE:'" + TO_END + "'\n").encode())
        line = printed(stream)
        if line != expected:
            print(f"typed {typed!r}: the line is {line!r}, expected {expected!r}")
            failures += 1
    os.write(terminal, b"exit\n")
    os.waitpid(pid, 0)
    if failures:
        sys.exit(1)
    print(f"ok: {len(ROWS)} lines typed")


main()
