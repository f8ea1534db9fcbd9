"""Rule generators of Debian with the same full house: the rules of rc firewall create, as closely as each can express them.

They do not touch a firewall: ferm and shorewall only write files, and ufw gets stubs for iptables.
"""

import pathlib
import re
import shutil
import subprocess
import time

import counting

# An option's translation for ferm, and the number of its arguments in the rule.
FERM_OPTIONS = {
    "-i": "interface", "-o": "outerface", "-s": "saddr", "-d": "daddr", "--dst": "daddr", "-p": "proto",
    "--dport": "dport", "--sport": "sport", "--state": "state", "--limit": "limit", "--limit-burst": "limit-burst",
    "--icmp-type": "icmp-type", "--mac-source": "mac-source", "--mark": "mark", "--src-range": "src-range",
    "--dst-range": "dst-range", "--string": "string", "--algo": "algo", "--mss": "mss", "--log-level": "log-level",
    "--log-prefix": "log-prefix", "--to": "to", "--to-destination": "to", "--to-source": "to",
    "--reject-with": "reject-with", "--set-mss": "set-mss", "--ttl-set": "ttl-set", "--set-mark": "set-mark",
}
FERM_FLAGS = {"--syn": "syn", "--clamp-mss-to-pmtu": "clamp-mss-to-pmtu"}
TARGETS = ("ACCEPT", "DROP", "RETURN", "LOG", "REJECT", "DNAT", "SNAT", "MASQUERADE", "TTL", "TCPMSS", "MARK")
# Features that ferm does not support: the kernel's block page, link-layer destination addresses, random matches.
FERM_UNKNOWN = {"http-block": "tcp-reset"}
ALL_FLAGS = "(FIN SYN RST PSH ACK URG)"


def words_of(rule):
    return [word.strip('"') for word in re.findall(r'"[^"]*"|\S+', rule)]


def ferm_rule(words):
    said = []
    while words:
        word = words.pop(0)
        negated = ""
        if words and words[0] == "!":
            words.pop(0)
            negated = "!"
        if word == "-m":
            module = words.pop(0)
            said.append("" if module == "random" else f"mod {module}")
        elif word == "--tcp-flags":
            mask, wanted = words.pop(0), words.pop(0)
            mask = ALL_FLAGS if mask == "ALL" else f"({mask.replace(',', ' ')})"
            said.append(f"tcp-flags {mask} ({wanted.replace(',', ' ')})")
        elif word == "-j":
            target = words.pop(0)
            said.append(target if target in TARGETS else f"jump {target}")
        elif word in FERM_FLAGS:
            said.append(FERM_FLAGS[word])
        elif word == "--mac-dest":
            words.pop(0)
        else:
            value = FERM_UNKNOWN.get(words[0], words[0])
            words.pop(0)
            value = f"({value.replace(',', ' ')})" if word == "--state" else f'"{value}"'
            said.append(f"{FERM_OPTIONS[word]} {negated}{value}")
    return " ".join(part for part in said if part) + ";"


def rules_of(scripts):
    """(table, chain, rest) of each rule in scripts of iptables lines, and the policies."""
    rules, policies = [], {}
    for line in scripts.splitlines():
        words = words_of(line)
        if not words or not words[0].endswith("iptables"):
            continue
        words.pop(0)
        table = "filter"
        if "-t" in words:
            at = words.index("-t")
            table = words[at + 1]
            del words[at:at + 2]
        if words[0] == "-P":
            policies[words[1]] = words[2]
        elif words[0] in ("-A", "-I"):
            # An inserted rule comes first.
            at = len(rules) if words[0] == "-A" else 0
            rules.insert(at, (table, words[1], words[2:]))
    return rules, policies


def ferm_settings(scripts):
    rules, policies = rules_of(scripts)
    chains = {}
    for table, chain, words in rules:
        chains.setdefault((table, chain), []).append(ferm_rule(words))
    said = []
    for (table, chain), statements in chains.items():
        policy = f"policy {policies[chain]}; " if table == "filter" and chain in policies else ""
        said.append(f"table {table} chain {chain} {{ {policy}\n    " + "\n    ".join(statements) + "\n}")
    return "domain ip {\n" + "\n".join(said) + "\n}\n"


def service_rows(settings):
    """Blocked services and forwards from the settings."""
    services = [record.split(":") for record in
                settings["fw_services_def"].split("\x01") + settings["fw_services"].split("\x01")]
    forwards = [record.split(":") for record in settings["fw_in_rules"].split("\x01")]
    ranges = [record.split(":") for record in settings["fw_out_rules"].split("\x01")]
    return services, forwards, ranges


def protocols(word):
    return ["tcp", "udp"] if word == "both" else [word]


def put_shorewall(folder, settings):
    services, forwards, ranges = service_rows(settings)
    rules = ["?SECTION NEW"]
    for name in settings["access_group"].split("\x01"):
        rules.append(f"ACCEPT loc:~{name.replace(':', '-')} net")
    for name, protocol, ports in services:
        rules += [f"DROP loc net {each} {ports.replace('-', ':')}" for each in protocols(protocol)]
    for _, _, _, outside, inside, protocol, host in forwards:
        rules.append(f"DNAT:info net loc:192.168.1.{host}:{inside} {protocol} {outside}")
    for _, _, _, first, last, protocol, host in ranges:
        rules += [f"DNAT:info net loc:192.168.1.{host} {each} {first}:{last}" for each in protocols(protocol)]
    for keyword in settings["fw_block_keyword"].split("\x01"):
        rules.append(f"INLINE loc net tcp 80 ;; -m string --string {keyword} --algo kmp -j DROP")
    rules += ["DNAT net loc:192.168.1.8", "ACCEPT net fw icmp 8", "ACCEPT net:198.51.100.10-198.51.100.20 fw tcp 8080"]
    marks = []
    for record in filter(None, settings["qos"].split("\x01")):
        _, direction, _, first, last, protocol, address, octet, _, level = record.split("\x02")
        hosts = f"{address}-{address.rsplit('.', 1)[0]}.{octet}"
        for each in protocols(protocol):
            source, target = (hosts, "-") if direction == "0" else ("-", hosts)
            marks.append(f"MARK({int(level) + 1}):F {source} {target} {each} {first}:{last}")
    files = {
        "shorewall.conf": pathlib.Path("/etc/shorewall/shorewall.conf").read_text(),
        "zones": "fw firewall\nnet ipv4\nloc ipv4\n",
        "interfaces": "?FORMAT 2\nnet eth2.2 dhcp,tcpflags,nosmurfs\nloc br0 bridge\n",
        "policy": "loc net ACCEPT\nloc fw ACCEPT\nfw all ACCEPT\nnet all DROP\nall all REJECT\n",
        "snat": "MASQUERADE 192.168.1.0/24 eth2.2\n",
        "rules": "\n".join(rules) + "\n",
        "mangle": "\n".join(marks) + "\n",
    }
    for name, text in files.items():
        (folder / name).write_text(text)
    return len(rules) + len(marks)


def put_ufw(settings):
    """ufw's rule files, in its own folders, which are covered by mounts during the run."""
    services, forwards, ranges = service_rows(settings)
    rows = [("deny", protocol, ports.replace("-", ":")) for _, word, ports in services for protocol in protocols(word)]
    rows += [("allow", row[5], row[4]) for row in forwards]
    rows += [("allow", protocol, f"{row[3]}:{row[4]}") for row in ranges for protocol in protocols(row[5])]
    lines = ["*filter", ":ufw-user-input - [0:0]", ":ufw-user-output - [0:0]", ":ufw-user-forward - [0:0]", "### RULES ###"]
    for action, protocol, ports in rows:
        match = f"-p {protocol} -m multiport --dports {ports}" if ":" in ports else f"-p {protocol} --dport {ports}"
        target = "DROP" if action == "deny" else "ACCEPT"
        lines += ["", f"### tuple ### route:{action} {protocol} {ports} 0.0.0.0/0 any 0.0.0.0/0 in",
                  f"-A ufw-user-forward {match} -j {target}"]
    lines += ["", "### END RULES ###", "COMMIT", ""]
    pathlib.Path("/etc/ufw/user.rules").write_text("\n".join(lines))
    return len(rows)


def count(command, out, environment=None):
    """Instructions of all processes of a command, and nanoseconds of a run without callgrind."""
    begun = time.monotonic_ns()
    plain = subprocess.run(command, check=False, capture_output=True, env=environment)
    taken = time.monotonic_ns() - begun
    if plain.returncode != 0:
        raise RuntimeError(f"{command}: {plain.stdout.decode()} {plain.stderr.decode()}")
    counting.empty(out)
    subprocess.run(["valgrind", *counting.OPTIONS, f"--callgrind-out-file={out}/%p", *command], check=True,
                   capture_output=True, env=environment)
    return sum(instructions for _, instructions in counting.read_counts(out)), taken, plain.stdout.decode()


def cover(folder):
    """Mounts a copy of a folder of this machine on top of it, until the namespace ends."""
    copy = pathlib.Path("/mnt/covers") / folder.strip("/").replace("/", "_")
    shutil.copytree(folder, copy, symlinks=True)
    subprocess.run(["mount", "--bind", copy, folder], check=True)


def run_ferm(folder, scripts, out):
    conf = folder / "ferm.conf"
    conf.write_text(ferm_settings(scripts))
    instructions, taken, printed = count(["/usr/sbin/ferm", "--noexec", "--lines", str(conf)], out)
    lines = sum(line.startswith("-A") or "iptables" in line for line in printed.splitlines())
    return "ferm --noexec --lines", f"the same rules, {lines} lines; tc and the crontab left out", instructions, taken


def run_shorewall(folder, settings, out):
    sources = folder / "shorewall"
    sources.mkdir()
    rows = put_shorewall(sources, settings)
    command = ["/sbin/shorewall", "compile", str(sources), str(folder / "shorewall.script")]
    instructions, taken, _ = count(command, out)
    lines = (folder / "shorewall.script").read_text().count("\n-A ")
    return "shorewall compile", f"{rows} rows for the same services, forwards, keywords, hosts and marks; {lines} rules", \
        instructions, taken


def run_ufw(folder, settings, out):
    cover("/etc/ufw")
    rows = put_ufw(settings)
    command = ["/usr/sbin/ufw", "--dry-run", "route", "allow", "8080/tcp"]
    instructions, taken, printed = count(command, out)
    if printed.count("### tuple ###") <= rows:
        raise RuntimeError("ufw has not read all of its rules")
    return "ufw --dry-run route allow", f"one more rule on top of {rows} for the same services and forwards", instructions, taken
