#!/usr/bin/env python3
"""rc-bundle on a router without any tools but a shell and cat: what it cannot have is noted in the archive.
   bare_test.py RC_BUNDLE NVRAM NVRAM_WITHOUT_TABLE"""

import os
import pathlib
import pty
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

import canaries

SCRIPT, NVRAM, WITHOUT_TABLE = (pathlib.Path(word) for word in sys.argv[1:4])
# Its own namespaces, so that nothing of it is left; the root is a file system in memory.
BOX = ["unshare", "--user", "--map-root-user", "--mount", "--pid", "--fork", "--kill-child"]
MOUNTS = ('mount -t tmpfs -o mode=755 root "$1" && cp -a "$2/." "$1" && mkdir -p "$1/proc" && '
          'mount -t proc proc "$1/proc" && mkdir -p "$1/dev" && : > "$1/dev/null" && '
          'mount --bind /dev/null "$1/dev/null" && : > "$1/dev/full" && mount --bind /dev/full "$1/dev/full" && ')

if subprocess.run([*BOX, "mount", "-t", "tmpfs", "trial", "/tmp"], capture_output=True, check=False).returncode != 0:
    print("skipped: namespaces are not available here")
    sys.exit(77)


def install(root, program, path):
    target = pathlib.Path(root) / path.lstrip("/")
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(program, target)
    target.chmod(0o755)
    listed = subprocess.run(["ldd", program], capture_output=True, text=True, check=False).stdout
    for library in re.findall(r"(/\S+) \(0x", listed):
        place = pathlib.Path(root) / library.lstrip("/")
        place.parent.mkdir(parents=True, exist_ok=True)
        if not place.exists():
            shutil.copy(library, place)


class Bare(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self.folder.name) / "root"
        self.box = pathlib.Path(self.folder.name) / "box"
        self.box.mkdir()
        install(self.root, shutil.which("dash"), "/bin/sh")
        install(self.root, shutil.which("cat"), "/bin/cat")
        install(self.root, NVRAM, "/usr/sbin/nvram")
        shutil.copy(SCRIPT, self.root / "usr/sbin/rc-bundle")
        for name in ("etc", "tmp", "var/run", "flash"):
            (self.root / name).mkdir(parents=True)
        self.write("/tmp/nvram", "http_password=Swordfish7\nlan_ipaddr=192.168.1.1\n")

    def tearDown(self):
        self.folder.cleanup()

    def write(self, path, text):
        (self.root / path.lstrip("/")).write_text(text, encoding="utf-8")

    def run_inside(self, line, **options):
        """Runs a shell line in the box; what it leaves there is lost."""
        words = [*BOX, "sh", "-c", MOUNTS + 'exec chroot "$1" /bin/sh -c "$3"', "sh", str(self.box),
                 str(self.root), line]
        return subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, check=False, **options)

    def bundle(self):
        run = self.run_inside("/usr/sbin/nvram bundle -")
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        return canaries.members(run.stdout)

    def test_everything_is_noted(self):
        members = self.bundle()
        self.assertEqual(
            sorted(name for name in members if not name.startswith("files/proc/")),
            ["about", "commands/cmdlines", "commands/log", "commands/ps", "generations", "missing", "settings", "shapes",
             "trial", "uncommitted"])
        missing = members["missing"].decode()
        for name, tool in (("iptables.filter", "iptables"), ("iptables.nat", "iptables"),
                           ("iptables.mangle", "iptables"), ("iptables-save", "iptables-save"),
                           ("ifconfig", "/sbin/ifconfig"), ("ip_addr", "ip"), ("route", "/sbin/route"), ("brctl", "/sbin/brctl"),
                           ("lsmod", "lsmod"), ("mount", "mount"), ("df", "df"), ("free", "free"), ("dmesg", "dmesg")):
            self.assertRegex(missing, rf"(?m)^commands/{name}: (there is no {tool}|not in use)$")
        self.assertIn("modes: there is no ls\n", missing)
        self.assertRegex(missing, r"(?m)^uncommitted: status \d+: nvram: diff: /flash/nvram: No such file or directory$")
        self.assertRegex(missing, r"(?m)^commands/ps: status 127: .*ps: not found$")
        self.assertRegex(missing, r"(?m)^commands/log: status 1: .*/var/log/messages: No such file or directory$")
        self.assertIn(b"http_password=********\nlan_ipaddr=192.168.1.1\n", members["settings"])
        self.assertEqual(members["shapes"], b"http_password=10 text\n")
        self.assertRegex(members["about"], rb"^format 1\nuptime [0-9. ]+\ndate \nchanged \n")

    def test_files_are_there_without_tools(self):
        self.write("/tmp/htpasswd", "admin:Swordfish7\n")
        self.write("/var/run/rc.httpd.run", "/proc/uptime\n")
        self.write("/var/run/udhcpd.pid", "12\n")
        self.write("/var/run/other", "no file of rc's\n")
        members = self.bundle()
        self.assertEqual(members["files/tmp/htpasswd"], b"admin:********\n")
        self.assertEqual(members["files/var/run/rc.httpd.run"], b"/proc/uptime\n")
        self.assertEqual(members["files/var/run/udhcpd.pid"], b"12\n")
        self.assertNotIn("files/var/run/other", members)
        self.assertEqual(canaries.leaks(members, {"http_password": "Swordfish7"}), [])

    def test_without_a_working_copy(self):
        (self.root / "tmp/nvram").unlink()
        missing = self.bundle()["missing"].decode()
        self.assertRegex(missing, r"(?m)^settings: status 2: nvram: show: /tmp/nvram: no working copy")
        self.assertRegex(missing, r"(?m)^shapes: status 2: nvram: mask: /tmp/nvram: no working copy")

    def test_without_the_table(self):
        install(self.root, WITHOUT_TABLE, "/usr/sbin/nvram")
        missing = self.bundle()["missing"].decode()
        for name in ("trial", "generations"):
            self.assertRegex(missing, rf"(?m)^{name}: status \d: nvram: {name}: not included in this build")

    def test_a_name_that_is_no_members_name(self):
        self.write("/var/run/rc.a b.run", "x")
        self.write("/var/run/rc.$(reboot)'.run", "x")
        members = self.bundle()
        missing = members["missing"].decode()
        self.assertIn("files/var/run/rc.a b.run: not a member's name\n", missing)
        self.assertIn("files/var/run/rc.$(reboot)'.run: not a member's name\n", missing)

    def test_a_link_and_a_fifo_do_no_harm(self):
        os.mkfifo(self.root / "tmp/htpasswd")
        os.symlink("/tmp/nowhere", self.root / "tmp/rules")
        members = self.bundle()
        self.assertNotIn("files/tmp/htpasswd", members)
        self.assertNotIn("files/tmp/rules", members)

    def test_a_file_is_written_for_root_alone(self):
        for name in ("rm", "stat"):
            install(self.root, shutil.which(name), f"/bin/{name}")
        run = self.run_inside("umask 000; echo old > /tmp/new; nvram bundle /tmp/new; echo $?; stat -c %a /tmp/new; "
                              "cat /tmp/new > /dev/null; nvram bundle /no/folder; echo $?")
        self.assertRegex(run.stdout, rb"^0\n600\n[12]\n$")
        self.assertIn(b"/no/folder", run.stderr)

    def test_a_link_at_the_files_place_is_not_followed(self):
        self.write("/tmp/target", "kept")
        os.symlink("/tmp/target", self.root / "tmp/new")
        os.symlink("/tmp/nowhere", self.root / "tmp/dangling")
        run = self.run_inside("nvram bundle /tmp/new; nvram bundle /tmp/dangling; cat /tmp/target")
        self.assertEqual(run.stdout, b"kept")
        install(self.root, shutil.which("rm"), "/bin/rm")
        run = self.run_inside("nvram bundle /tmp/new && cat /tmp/target")
        self.assertEqual(run.stdout, b"kept")

    def test_a_terminal_is_refused(self):
        for words in ([SCRIPT], [SCRIPT, "-"]):
            master, terminal = pty.openpty()
            run = subprocess.run(words, stdin=subprocess.DEVNULL, stdout=terminal, stderr=subprocess.PIPE, check=False)
            os.close(terminal)
            os.close(master)
            self.assertEqual(run.returncode, 2)
            self.assertEqual(run.stderr, b"rc-bundle: standard output is a terminal; name a file\n")

    def test_a_full_disk_is_reported(self):
        run = self.run_inside("/usr/sbin/nvram bundle - > /dev/full")
        self.assertNotEqual(run.returncode, 0)

    def test_the_script_is_small(self):
        self.assertLessEqual(SCRIPT.stat().st_size, 4096)
        self.assertTrue(SCRIPT.stat().st_mode & stat.S_IXOTH)


unittest.main(argv=sys.argv[:1], verbosity=2)
