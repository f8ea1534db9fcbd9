#!/usr/bin/env python3
"""rc-bundle on the lab's router: secrets in settings, files, logs and processes are not in the archive, nothing on the
router changes, and a full /tmp does not matter.   router_test.py SOURCE_DIR BUILD_DIR"""

import base64
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import canaries

SOURCE, BUILD = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
NVRAM = BUILD / "bin/nvram"
RCPLAN = BUILD / "bin/rcplan"
FACTORY = SOURCE / "lab/root/etc/default"
LIMIT = 600  # seconds; a router that takes longer hangs

# With these, rc writes many of the secrets into files and command lines.
SETTINGS = """ddns_enable=1
ddns_user_name=me
http_username=operator
l2tp_server=203.0.113.1
l2tp_username=me
mail_enable_auth=1
mail_enable=1
wifi_wep_on=2
"""

LOGS = ("/var/ppp_dbg", "/tmp/ppp_log", "/tmp/ddns_update.log", "/var/log/messages")

# The shell gets this script as an argument, so its text is also found among the processes' words.
ROUTER = r"""
nvram set wan_mode=l2tp; rc wan start
nvram set wan_mode=bpa; rc wan start
rc syslogd start; rc wlan start; rc httpd restart; rc ddns start
mkdir -p /var/log
cat > /flash/log << 'LOG'
@log@LOG
for log in @logs@; do cat /flash/log > $log; done
cat > /flash/words << 'WORDS'
@words@WORDS
while read -r word; do sh -c 'sleep 1000; :' sh -p "$word" > /dev/null 2>&1 & done < /flash/words
rm /flash/log /flash/words
cp -a /tmp /var/kept && mount -t tmpfs -o size=1m tmpfs /tmp && cp -a /var/kept/. /tmp && rm -r /var/kept
cat /dev/zero > /tmp/full 2> /dev/null
# The DHCP server may store a lease meanwhile, and the lab's daemons note how they were started.
not_ours='( -path /proc -o -path /sys -o -path /var/lab -o -path /tmp/calls -o -name *.leases ) -prune'
state() {
    set -f
    find / /tmp /flash -xdev $not_ours -o -type f -print | sort | xargs md5sum
    find / /tmp /flash -xdev $not_ours -o -print | sort | xargs stat -c '%n %a %s %Y %Z'
    set +f
    cat /proc/modules /proc/net/ip_tables_names
    nvram export -
}
before=$(state)
echo; echo -----archive
nvram bundle - | base64
echo -----end
after=$(state)
if [ "$before" = "$after" ]; then
    echo "nothing changed in $(echo "$before" | wc -l) lines"
else
    echo "$before" > /var/before; echo "$after" > /var/after
    diff /var/before /var/after
fi
df /tmp | tail -n 1
"""


def quoted_forms(text):
    """As shells, printf, HTTP and dumps write it, as a part, and beside other text."""
    raw = text.encode()
    return [
        text,
        f"user:{text}@host",
        re.sub(r"(['\"\\$`])", r"\\\1", text).replace("%", "%%"),
        text.replace("'", "'\\''"),
        text.upper(),
        f"x{text[1:9]}x",
        base64.b64encode(b"me:" + raw).decode(),
        base64.b64encode(raw).decode(),
        raw.hex(),
        raw.hex().upper(),
    ]


class OnTheRouter(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        keys = canaries.secret_keys(NVRAM, FACTORY)
        cls.canaries = canaries.canaries(keys)
        lines = [line for text in cls.canaries.values() for line in quoted_forms(text)]
        command = ROUTER.replace("@log@", "".join(line + "\n" for line in lines))
        command = command.replace("@words@", "".join(text + "\n" for text in cls.canaries.values()))
        command = command.replace("@logs@", " ".join(LOGS))
        cls.log_lines = len(lines)
        with tempfile.NamedTemporaryFile("w", encoding="utf-8") as settings:
            settings.write(FACTORY.read_text(encoding="utf-8"))
            settings.write(SETTINGS)
            for key, text in cls.canaries.items():
                escaped = text.replace("\\", "\\\\")
                settings.write(f"{key}={escaped}\n")
            settings.flush()
            run = subprocess.run(
                [SOURCE / "lab/router", "--force", "--build-dir", BUILD, "--settings", settings.name, "--exec", "router",
                 command], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=LIMIT, check=False)
        if run.returncode == 77:
            print(run.stdout + run.stderr)
            sys.exit(77)
        cls.output = run.stdout
        found = re.search(r"^-----archive\n(.*)^-----end\n", run.stdout, re.MULTILINE | re.DOTALL)
        if not found:
            raise AssertionError(run.stdout[-2000:] + run.stderr[-2000:])
        cls.packed = base64.b64decode(found[1])
        cls.members = canaries.members(cls.packed)

    def test_there_are_secrets_to_find(self):
        self.assertGreater(len(self.canaries), 15)
        for key in ("http_password", "pppoe_password", "wifi_psk_pwd", "wifi_key1", "wsc_device_pin"):
            self.assertIn(key, self.canaries)

    def test_no_part_of_a_secret_is_in_the_archive(self):
        self.assertEqual(canaries.leaks(self.members, self.canaries), [])

    def test_no_encoded_secret_is_in_the_archive(self):
        for key, text in self.canaries.items():
            for form in (base64.b64encode(text.encode())[:16], text.encode().hex().encode()):
                for name, content in self.members.items():
                    self.assertNotIn(form.lower(), content.lower(), f"{name}: {key}")

    def test_the_search_finds_what_is_there(self):
        name, text = next(iter(self.canaries.items()))
        leaks = canaries.leaks({"a": b"x" + text[3:9].upper().encode()}, self.canaries)
        self.assertEqual(leaks, [f"a: {name}: {text[3:9]}"])

    def test_the_logs_are_there_with_asterisks(self):
        for path in LOGS[:3]:
            content = self.members["files" + path].decode()
            self.assertGreaterEqual(content.count("********"), self.log_lines, path)
            self.assertIn("user:********@host\n", content)
            self.assertEqual(len(content.splitlines()), self.log_lines, path)
        self.assertIn("user:********@host", self.members["commands/log"].decode())

    def test_processes_are_there_with_asterisks(self):
        rows = [row.split("\t") for row in self.members["commands/cmdlines"].decode(errors="replace").splitlines()]
        for row in rows:
            self.assertEqual(len(row), 3, row)
            self.assertRegex(row[0], "^[0-9]+ [0-9]+$")
            self.assertTrue(row[1].isdigit(), row)
        words = [row[2].split("\x1f") for row in rows]
        planted = [row for row in words if row[:2] == ["sh", "-c"] and row[3:5] == ["sh", "-p"]]
        self.assertEqual(len(planted), len(self.canaries))
        for row in planted:
            self.assertEqual(row[5:], ["********", ""])
        self.assertIn(["udhcpc", "-f", "-i", "eth2.2"],
                      [[row[0].rpartition("/")[2], *row[1:4]] for row in words])

    def test_what_rc_writes_is_there(self):
        for path, text in (("/tmp/htpasswd", "operator:********"), ("/tmp/ppp/pap-secrets", "me\t*\t********\t*"),
                           ("/var/bpalogin.conf", "password ********"), ("/tmp/syslog.conf", "mail_password=********"),
                           ("/var/RT2860AP.dat", "WPAPSK=********"), ("/tmp/rules", "iptables"), ("/etc/udhcpd.conf", "br0")):
            self.assertIn(text, self.members["files" + path].decode(), path)

    def test_settings_can_be_read_again(self):
        settings = self.members["settings"].decode()
        with tempfile.NamedTemporaryFile("w", encoding="utf-8") as file:
            file.write(settings)
            file.flush()
            run = subprocess.run([RCPLAN, "run", "--settings", file.name, "httpd", "create"], capture_output=True,
                                 text=True, check=False)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("operator:********", run.stdout)
        lines = settings.splitlines()
        for key in self.canaries:
            self.assertIn(f"{key}=********", lines)
        self.assertIn("http_username=operator", lines)

    def test_shapes(self):
        shapes = dict(line.split("=", 1) for line in self.members["shapes"].decode().splitlines())
        self.assertEqual(shapes, {key: f"{len(text)} text" for key, text in self.canaries.items()})

    def test_about_and_generations(self):
        about = dict(line.split(" ", 1) for line in self.members["about"].decode().splitlines())
        self.assertEqual(about["format"], "1")
        self.assertEqual(about["hardware"], "0207")
        self.assertRegex(about["date"], r"^\d{10}$")
        self.assertLessEqual(int(about["changed"]), int(about["date"]))
        self.assertRegex(about["uptime"], r"^[0-9.]+ [0-9.]+$")
        self.assertRegex(about["kernel"], r"^Linux ")
        self.assertRegex(about["nvram"], r"^nvram \d")
        self.assertRegex(about["rc"], r"^[0-9a-f]{32} ")
        slots = [json.loads(line) for line in self.members["generations"].decode().splitlines()]
        self.assertEqual([(slot["slot"], slot["state"], slot["load"]) for slot in slots],
                         [("a", "whole", True), ("b", "missing", False)])
        self.assertIn("+ wan_mode=bpa", self.members["uncommitted"].decode())
        self.assertEqual(json.loads(self.members["trial"]), {"on_trial": False, "last": ""})

    def test_commands(self):
        for name, text in (("iptables.filter", "Chain INPUT"), ("iptables.nat", "Chain PREROUTING"),
                           ("iptables-save", "*filter\n"), ("ifconfig", "192.168.1.1"), ("route", "Destination"),
                           ("brctl", "br0"), ("ps", "PID"), ("mount", "tmpfs"), ("df", "/flash"), ("free", "Mem:")):
            self.assertIn(text, self.members["commands/" + name].decode(errors="replace"), name)
        missing = self.members["missing"].decode()
        # Nothing else is wrong; the box may not read the kernel's log.
        allowed = ("commands/dmesg", "files/proc/")
        self.assertEqual([line for line in missing.splitlines() if line and not line.startswith(allowed)], [])
        self.assertIn(" /tmp/htpasswd\n", self.members["modes"].decode())

    def test_nothing_changes_while_tmp_is_full(self):
        result = self.output.partition("-----end\n")[2]
        self.assertRegex(result, r"(?m)^nothing changed in \d{3,} lines$")
        self.assertRegex(result, r"(?m)^tmpfs +1024 +1024 +0 +100% /tmp$")

    def test_other_programs_read_it(self):
        for tar in (["tar"], ["busybox", "tar"]):
            run = subprocess.run([*tar, "-tzf", "-"], input=self.packed, capture_output=True, check=True)
            names = run.stdout.decode().splitlines()
            self.assertEqual(names, ["rc-bundle/" + name for name in self.members])


unittest.main(argv=sys.argv[:1], verbosity=2)
