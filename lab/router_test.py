#!/usr/bin/env python3
"""lab/router as its users meet it: commands, wrong options, bad settings, the shell on a terminal, and its end.

usage: router_test.py BUILD_DIR; status 77 where the machine does not permit the box.
"""
import glob
import os
import pty
import select
import signal
import subprocess
import sys
import tempfile
import time

from waits import HANG_LIMIT, PROGRAM_LIMIT

LAB = os.path.dirname(os.path.abspath(__file__))
ROUTER = os.path.join(LAB, "router")
FACTORY = os.path.join(LAB, "root/etc/default")

build = sys.argv[1]
failures = 0


def check(what, good, seen=""):
    global failures
    failures += not good
    print(f"  {'ok   ' if good else 'FAIL '} {what}" + ("" if good else f": {seen}"), flush=True)


def router(*options, text="", folder=None):
    return subprocess.run([ROUTER, "--build-dir", folder or build, *options], input=text,
                          capture_output=True, text=True, timeout=PROGRAM_LIMIT)


def boxes():
    """The processes of boxes that are on this machine now."""
    found = {}
    for path in glob.glob("/proc/[0-9]*/environ"):
        try:
            with open(path, "rb") as file:
                words = file.read().split(b"\0")
        except OSError:
            continue
        box = [word for word in words if word.startswith(b"LAB_BOX=")]
        if box:
            found[int(path.split("/")[2])] = box[0].decode()
    return found


def descendants(process):
    """The processes that a process has started, and theirs, with their environment's LAB_BOX."""
    parents = {}
    for path in glob.glob("/proc/[0-9]*/stat"):
        try:
            with open(path) as file:
                fields = file.read().rpartition(")")[2].split()
        except OSError:
            continue
        parents[int(path.split("/")[2])] = int(fields[1])
    family = {process}
    while True:
        more = {child for child, parent in parents.items() if parent in family} - family
        if not more:
            return family
        family |= more


def outside():
    with open("/proc/self/mountinfo") as mounts, open("/proc/net/dev") as interfaces:
        return (sorted(line.split()[4] for line in mounts),
                sorted(line.split(":")[0].strip() for line in interfaces if ":" in line))


def nothing_left(what, box, before):
    """Waits, since the kernel takes a moment to end a namespace."""
    end = time.monotonic() + PROGRAM_LIMIT
    while (left := [pid for pid, name in boxes().items() if name == box]) and time.monotonic() < end:
        time.sleep(0.05)
    check(f"{what}: no process left of {box}", box and not left, left)
    check(f"{what}: no mount and no interface left", outside() == before, outside())


class Terminal:
    """lab/router on a terminal of its own."""

    def __init__(self, *options):
        self.seen = ""
        self.process, self.file = pty.fork()
        if self.process == 0:
            # A shell starts its jobs in the background with these ignored; a terminal's programs have the default.
            signal.signal(signal.SIGINT, signal.SIG_DFL)
            signal.signal(signal.SIGQUIT, signal.SIG_DFL)
            os.execv(ROUTER, [ROUTER, "--build-dir", build, *options])

    def read(self):
        """Whether there may be more to come."""
        ready, _, _ = select.select([self.file], [], [], 0.2)
        if not ready:
            return True
        try:
            data = os.read(self.file, 65536)
        except OSError:
            return False
        self.seen += data.decode(errors="replace")
        return bool(data)

    def until(self, text):
        """True once the text is there; without it the rest could only wait in vain."""
        end = time.monotonic() + PROGRAM_LIMIT
        while text not in self.seen and time.monotonic() < end and self.read():
            pass
        if text not in self.seen:
            sys.exit(f"  FAIL  {text!r} did not come; seen: {self.seen!r}")
        self.seen = self.seen.partition(text)[2]
        return True

    def type(self, text):
        os.write(self.file, text.encode())

    def until_asleep(self):
        """True once the program in the terminal's foreground sleeps, as it does while it waits for a key."""
        end = time.monotonic() + PROGRAM_LIMIT
        state = ""
        while state != "S" and time.monotonic() < end:
            with open(f"/proc/{os.tcgetpgrp(self.file)}/stat") as file:
                state = file.read().rpartition(") ")[2][0]
            time.sleep(0.05)
        return state == "S"

    def box(self):
        family = descendants(self.process)
        names = {name for pid, name in boxes().items() if pid in family}
        return names.pop() if len(names) == 1 else ""

    def end(self):
        """The exit status; minus the signal's number where one ended it."""
        end = time.monotonic() + PROGRAM_LIMIT
        while time.monotonic() < end:
            self.read()
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process:
                os.close(self.file)
                return os.waitstatus_to_exitcode(status)
        return "none"


def wrong_use():
    for options, words in [
        (["--bogus"], "unknown option --bogus"),
        (["--mode", "carrier-pigeon"], "no mode carrier-pigeon"),
        (["--mode"], "--mode needs a value"),
        (["--set", "device_name"], "--set needs KEY=VALUE"),
        (["--exec", "mars", "true"], "no host mars"),
        (["--exec", "router"], "--exec needs a host and a command"),
        (["--settings", "/nowhere"], "/nowhere cannot be read"),
        (["--settings", "/dev/null", "--bundle", "/dev/null"], "--settings and --bundle exclude each other"),
    ]:
        run = router(*options)
        check(f"{' '.join(options)}: status 2", run.returncode == 2, run)
        check(f"{' '.join(options)}: says why", words in run.stderr and not run.stdout, run)
    check("a build that is none: status 2", router(folder=LAB).returncode == 2)


def bad_settings(folder):
    image = os.path.join(folder, "bad")
    with open(FACTORY) as factory, open(image, "w") as file:
        file.write(factory.read().replace("fw_dmz_enable=0", "fw_dmz_enable=1"))
    run = router("--settings", image, "--exec", "router", "echo booted")
    check("an image with an error: status 1", run.returncode == 1, run)
    check("an image with an error: which", "error: is empty, but fw_dmz_enable=1 needs it" in run.stderr, run)
    check("an image with an error: nothing was run", "booted" not in run.stdout, run)
    garbage = os.path.join(folder, "garbage")
    with open(garbage, "w") as file:
        file.write("no equals sign\n")
    run = router("--settings", garbage, "--force", "--exec", "router", "echo booted")
    check("no image at all: status 1, even with --force", (run.returncode, run.stdout) == (1, ""), run)
    return image


def commands(how):
    words = " ".join(how)
    before = outside()
    run = router(*how, "--set", "device_name=Attic",
                 "--exec", "router", "nvram get device_name; nvram get wan_mode; nvram get fw_dmz_enable; echo $LAB_BOX",
                 "--exec", "lan1", "curl -s http://198.51.100.80/",
                 "--exec", "lan2", "ip route | sed 's/ dev.*//;q'",
                 "--exec", "provider", "cat",
                 "--exec", "router", "exit 7",
                 "--exec", "router", "echo never", text="typed\n")
    if run.returncode == 77:
        print(run.stdout.strip())
        sys.exit(77)
    lines = run.stdout.splitlines()
    check(f"{words}: the status of the command that failed", run.returncode == 7, run)
    box = "LAB_BOX=" + lines.pop(3) if len(lines) > 3 else ""
    check(f"{words}: what the commands print, and nothing else",
          lines == ["Attic", how[-1], str(int("--force" in how)), "a page of the Internet", "default via 192.168.1.1", "typed"], run)
    nothing_left(words, box, before)


def from_bundle(folder):
    """A router that boots with the settings of another one's archive."""
    archive = os.path.join(folder, "router.tar.gz")
    with open(archive, "wb") as file:
        made = subprocess.run([ROUTER, "--build-dir", build, "--set", "device_name=Loft", "--set", "http_password=57914",
                               "--exec", "router", "nvram bundle -"], stdin=subprocess.DEVNULL, stdout=file,
                              stderr=subprocess.PIPE, timeout=PROGRAM_LIMIT, check=False)
    check("nvram bundle on a router", made.returncode == 0 and os.path.getsize(archive) > 0, made)
    run = router("--bundle", archive, "--set", "wan_domain=barn",
                 "--exec", "router", "nvram get device_name; nvram get wan_domain; nvram get http_password")
    lines = run.stdout.splitlines()
    check("--bundle: the archive's setting, and the one on top", lines[:2] == ["Loft", "barn"], run)
    password = lines[2] if len(lines) == 3 else ""
    check("--bundle: for a password of five digits another one", len(password) == 5 and password.isdigit() and
          password != "57914", run)
    run = router("--bundle", image, "--exec", "router", "echo booted")
    check("--bundle with a file that is no archive: status 2", (run.returncode, run.stdout) == (2, ""), run)
    check("--bundle with a file that is no archive: says so", image in run.stderr, run)


def shell():
    before = outside()
    terminal = Terminal()
    check("a shell", terminal.until("lab# "), terminal.seen)
    box = terminal.box()
    for host, command, answer in [
        ("router", "echo name:$(nvram get lan_ipaddr)", "name:192.168.1.1"),
        ("lan1", "echo name:$(ip -o -4 addr show eth0 | wc -l)", "name:1"),
        ("lan2", "curl -s http://198.51.100.80/ | tr a-z A-Z", "A PAGE OF THE INTERNET"),
        ("provider", "echo name:$(ip -o -4 addr show eth0 | cut -d ' ' -f 7)", "name:203.0.113.1/24"),
    ]:
        terminal.type(f"enter {host}\n")
        check(f"enter {host}", terminal.until(f"{host}# "), terminal.seen)
        terminal.type(command + "\n")
        check(f"{host}: {command}", terminal.until(answer), terminal.seen)
        terminal.type("exit\n")
        check(f"{host}: back", terminal.until("lab# "), terminal.seen)
    terminal.type("enter mars\n")
    check("enter mars", terminal.until("usage: enter router|provider|lan1|lan2"), terminal.seen)
    check("enter mars: back", terminal.until("lab# "), terminal.seen)
    # A Ctrl-C before the shell's line editor has read the line, or while it still shows it, costs the next prompt.
    terminal.type("unfinished")
    check("a line that is begun", terminal.until("unfinished") and terminal.until_asleep(), terminal.seen)
    terminal.type("\x03")
    check("Ctrl-C: a new prompt", terminal.until("lab# "), terminal.seen)
    terminal.type("echo still-$((1 + 1))\n")
    check("Ctrl-C leaves the shell alone", terminal.until("still-2"), terminal.seen)
    terminal.type("exit\n")
    check("its status", (status := terminal.end()) == 0, status)
    nothing_left("the shell left", box, before)


def page(how):
    """The router's page, from outside the box."""
    before = outside()
    words = [ROUTER, "--build-dir", build, *how, "--browse", "--exec", "router", "echo $LAB_BOX; cat"]
    with subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as run:
        lines = []
        while not any("password" in line for line in lines):
            lines.append(run.stderr.readline())
            if not lines[-1]:
                check("the page's address", False, lines)
                return
        box = "LAB_BOX=" + run.stdout.readline().strip()
        address = next(line.split()[-1] for line in lines if "settings.cgi" in line)
        who = lines[-1].split()
        login = f"{who[1].rstrip(',')}:{who[3]}"
        get = ["curl", "-s", "-m", str(HANG_LIMIT), "-o", "/dev/null", "-w", "%{http_code} %{size_download}"]
        check("only with the password", subprocess.run([*get, address], capture_output=True, text=True,
                                                       check=False).stdout.split()[0] == "401")
        for part in ("", "?show"):
            seen = subprocess.run([*get, "-u", login, address + part], capture_output=True, text=True, check=False).stdout
            check(f"settings.cgi{part} answers", seen.startswith("200 ") and int(seen.split()[1]) > 1000, seen)
        run.stdin.close()
        check("its status", run.wait(PROGRAM_LIMIT) == 0, run.returncode)
    check("nobody listens any more", subprocess.run([*get, address], capture_output=True, text=True,
                                                    check=False).stdout.split()[0] == "000")
    nothing_left("--browse", box, before)


def ended_early():
    """Ctrl-C during a command, and an end that cannot be caught."""
    before = outside()
    for what, end in [("Ctrl-C", lambda terminal: terminal.type("\x03")),
                      ("killed", lambda terminal: os.kill(terminal.process, signal.SIGKILL))]:
        terminal = Terminal("--exec", "router", "echo here-$((1 + 1)); sleep 86400")
        check(f"{what}: the command runs", terminal.until("here-2"), terminal.seen)
        box = terminal.box()
        end(terminal)
        status = terminal.end()
        check(f"{what}: its status", status in (130, -signal.SIGKILL), status)
        nothing_left(what, box, before)


wrong_use()
with tempfile.TemporaryDirectory() as scratch:
    image = bad_settings(scratch)
    os.chmod(scratch, 0o755)
    commands(["--mode", "ip"])
    commands(["--as-user", "--settings", image, "--force", "--mode", "dhcpc"])
    from_bundle(scratch)
shell()
page([])
page(["--as-user"])
ended_early()
sys.exit(1 if failures else 0)
