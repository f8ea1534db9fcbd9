"""Tables of speed and memory: rc against a program that does nothing, the floor, shell scripts and rule generators."""

import collections
import pathlib
import re
import statistics
import sys

import counting
import generators
from box import BENCH, Box

HOUSE = BENCH / "full_house.txt"
PLAN = "/plan"
ROUNDS = 41
# A script of two thousand processes takes seconds.
SLOW_ROUNDS = 5
SCRIPTS = {"builtins": "shell script, built-ins only", "usual": "shell script, usual style"}
# Files of an action that would change the next run.
LEFT_BEHIND = {"firewall": "/tmp/rules", "dhcpd": "/var/udhcpd.leases", "wlan": "/var/RT2860AP.dat"}
# The measured command of an action, and its label.
COMMANDS = {"firewall": ["/bin/rc", "firewall", "create"], "dhcpd": ["/bin/rc", "dhcpd", "create"], "wlan": ["/bin/wlan"]}
IDLE = "`rc wlan create`, which does nothing"
TITLES = {"firewall": "rc firewall create", "dhcpd": "rc dhcpd create", "wlan": "the configuration of rc wlan start"}

AIMS = {
    "floor": ("firewall at full house, instructions: rc within 1.5 times the floor", 1.5, "most"),
    "dhcpd floor": ("DHCP server at full house, instructions: rc within 3 times the floor", 3, "most"),
    "builtins": ("at least 4 times fewer than a script of built-ins", 4, "least"),
    "usual": ("35 times fewer than a script in the usual style", 35, "least"),
    "ferm": ("100 times fewer than ferm", 100, "least"),
    "ufw": ("100 times fewer than ufw", 100, "least"),
    "shorewall": ("100 times fewer than shorewall", 100, "least"),
    "memory": ("memory of rc at full house within 1.3 times an empty C program", 1.3, "most"),
    "own memory": ("the same, without file pages", 1.3, "most"),
    "musl": ("rc that does nothing, with musl: no more instructions than an empty C program with glibc", 1, "most"),
    "musl empty": ("and within 2.5 times an empty C program with musl", 2.5, "most"),
    "musl memory": ("memory of rc at full house, with musl, within 1.3 times an empty C program", 1.3, "most"),
    "first_get": ("a process's first get with 10,000 settings within 5 times that with 1,000", 5, "most"),
    "set": ("a set likewise", 5, "most"),
    "commit": ("a commit likewise", 5, "most"),
}


MEMORY_PARTS = ("rc", "libnvram.so", "C library and loader", "heap", "stack", "the rest")


def say(text):
    print(text, file=sys.stderr, flush=True)


def aim_row(name, value):
    text, limit, kind = AIMS[name]
    met = value <= limit if kind == "most" else value >= limit
    return f"| {text} | {value:.1f} | {'met' if met else '**missed**'} |"


def house_settings():
    """Keys to values, unescaped."""
    unescape = re.compile(r"\\x([0-9a-f]{2})")
    lines = HOUSE.read_text(encoding="ascii").splitlines()
    return {key: unescape.sub(lambda match: chr(int(match[1], 16)), value)
            for key, value in (line.split("=", 1) for line in lines)}


def total(counts):
    return sum(instructions for _, instructions in counts)


def script(action, style):
    return ["/bin/sh", f"/bin/{action}_{style}.sh"]


def differences(box, action, styles=tuple(SCRIPTS)):
    """Scripts that do not write the same files as rc: names of files by style."""
    made = box.made_by(COMMANDS[action], HOUSE)
    wrong = {}
    for style in styles:
        others = box.made_by(script(action, style), HOUSE)
        differing = [path for path in made.keys() | others.keys() if made.get(path) != others.get(path)]
        if differing:
            wrong[style] = differing
    return wrong


def put_plan(box, action):
    """Puts the floor's plan into the box. Returns the number of settings read and the shell lines."""
    plan, gets, lines = box.plan_of(COMMANDS[action], HOUSE)
    (box.root / PLAN.lstrip("/")).write_bytes(plan)
    if box.made_by(["/bin/floor", PLAN], HOUSE) != box.made_by(COMMANDS[action], HOUSE):
        raise RuntimeError(f"the floor does not leave the files of {TITLES[action]}")
    return gets, lines


def ratio_of(times, base):
    """The median of the ratios of each round, so that a temporary slowdown affects both."""
    return statistics.median(own / other for own, other in zip(times, base))


def memory_of(box, command):
    """Resident memory at full house in kilobytes, and that which belongs to no file."""
    parts = box.memory(command, HOUSE).values()
    return sum(whole for whole, _ in parts), sum(own for _, own in parts)


def start_section(box):
    """rc with an action that does nothing."""
    say("start and end of rc")
    commands = {"an empty C program": ["/bin/empty"], IDLE: ["/bin/rc", "wlan", "create"],
                "the shell with nothing to do": ["/bin/sh", "-c", ":"]}
    box.clear(HOUSE)
    times = box.timed(ROUNDS, "/none", list(commands.values()))
    lines = ["| program | instructions | with its shells | wall clock | memory, kB | of its own, kB |",
             "|---|--:|--:|--:|--:|--:|"]
    for (name, command), runs in zip(commands.items(), times):
        counts = box.instructions(command, HOUSE)
        whole, own = memory_of(box, command)
        lines.append(f"| {name} | {counts[0][1]:,} | {total(counts):,} | {ratio_of(runs, times[0]):.1f} | {whole:,} | {own} |")
    return [*lines, "", "Wall clock is a multiple of the empty program's. rc starts the shell to create its marker below"
            " `/var/run`.", "", "Memory of its own means the pages at a program's end that belong to no file; file pages are"
            " shared by all programs, and are mostly those of the C library that the program has touched."]


def action_section(box, action, quick):
    """One action at full house: rows, and the instructions of rc and of the others by name."""
    title = TITLES[action]
    say(f"{title} at full house")
    wrong = differences(box, action)
    if wrong:
        raise RuntimeError(f"these files are not as {title} leaves them: {wrong}")
    gets, shell_lines = put_plan(box, action)
    commands = {"rc": COMMANDS[action], "floor": ["/bin/floor", PLAN]}
    commands |= {style: script(action, style) for style in SCRIPTS}
    names = {"rc": title, "floor": "the floor"} | SCRIPTS
    slow = [name for name in commands if name == "usual"]
    times = {}
    box.clear(HOUSE)
    fast = [name for name in commands if name not in slow]
    times |= dict(zip(fast, box.timed(ROUNDS, LEFT_BEHIND[action], [commands[name] for name in fast])))
    paired = box.timed(SLOW_ROUNDS, LEFT_BEHIND[action], [commands[name] for name in ("rc", *slow)])
    counts = {}
    for name, command in commands.items():
        if quick and name in slow:
            continue
        say(f"  instructions: {names[name]}")
        counts[name] = box.instructions(command, HOUSE)
    lines = ["| | instructions | with all processes | times rc | wall clock, times rc | memory, kB | of its own, kB | processes |",
             "|---|--:|--:|--:|--:|--:|--:|--:|"]
    for name in commands:
        runs, base = (paired[1], paired[0]) if name in slow else (times[name], times["rc"])
        whole, own = memory_of(box, commands[name])
        wall = f"{ratio_of(runs, base):.2f} | {whole:,} | {own}"
        if name not in counts:
            lines.append(f"| {names[name]} | not counted | | | {wall} | |")
            continue
        instructions = total(counts[name])
        lines.append(f"| {names[name]} | {counts[name][0][1]:,} | {instructions:,} |"
                     f" {instructions / total(counts['rc']):.2f} | {wall} |"
                     f" {len(counts[name])} |")
    started = " and ".join(f"`{line}`" + (f", {count} times" if count > 1 else "")
                           for line, count in collections.Counter(shell_lines).items()) or "nothing"
    lines += ["", f"The floor reads {gets} settings, as rc does, and starts {started}. All write the same files, byte for"
              " byte, which is checked before the measurement. rc takes "
              f"{statistics.median(times['rc']) / 1e6:.1f} ms."]
    return lines, {name: total(counted) for name, counted in counts.items()}


LOADING = "loading the program and its libraries, and the end"
SETTINGS = "settings: reading the image, looking them up"
COMPOSING = "composing lines of texts and settings"
HANDLERS = "the handlers: taking lists apart, looking services up"
SHELLS = "the shells that are started"
# Functions that do not call each other; C++ functions without their arguments. The rest of main is the handlers' share.
SHARES = {SETTINGS: ("nvram_zel_safe_get",), COMPOSING: ("compose",),
          "writing files, starting shells": ("fopen", "fwrite", "fclose", "open", "write", "close", "system")}


def shares(box, command, whole):
    profile = box.profile(command, HOUSE)
    own = profile[""]
    parts = {LOADING: own - profile["main"]}
    for title, functions in SHARES.items():
        parts[title] = sum(count for name, count in profile.items() if name.split("(")[0] in functions)
    return parts | {HANDLERS: own - sum(parts.values()), SHELLS: whole - own}


def profile_section(box, totals):
    """Why rc is not closer to the floor."""
    put_plan(box, "firewall")
    made = box.made_by(COMMANDS["firewall"], HOUSE)
    written = sum(content.count(b"\n") for content in made.values())
    ours = shares(box, COMMANDS["firewall"], totals["rc"])
    unseen = [title for title in SHARES if not ours[title]]
    if unseen:
        raise RuntimeError(f"no function of these was seen in rc's profile: {unseen}")
    floor = shares(box, ["/bin/floor", PLAN], totals["floor"])
    limit = AIMS["floor"][1] * totals["floor"] - sum(ours[title] for title in (LOADING, SETTINGS, SHELLS))
    lines = ["| | rc firewall create | the floor | rc's, in whole floors |", "|---|--:|--:|--:|"]
    lines += [f"| {title} | {ours[title]:,} | {floor[title]:,} | {ours[title] / totals['floor']:.2f} |" for title in ours]
    return [*lines, "", f"To meet the aim, rc could spend {limit:,.0f} instructions on {written} lines besides loading, settings and"
            f" shells: {limit / written:.0f} for each line. Composing a line takes {ours[COMPOSING] / written:.0f}. Without the handlers' own"
            f" instructions, rc would need {(totals['rc'] - ours[HANDLERS]) / totals['floor']:.1f} times the floor's."]


def part_of(name):
    """The row of MEMORY_PARTS for a file or a kind of memory, as the kernel names it."""
    if name in ("rc", "libnvram.so"):
        return name
    if name.startswith(("libc.so", "ld-")):
        return "C library and loader"
    return {"empty": "rc", "[heap]": "heap", "[anonymous]": "heap", "[stack]": "stack"}.get(name, "the rest")


def parts_of_memory(box, command):
    """Kilobytes by row."""
    parts = dict.fromkeys(MEMORY_PARTS, 0)
    for name, (whole, _) in box.memory(command, HOUSE).items():
        parts[part_of(name)] += whole
    return parts


def library_section(build, musl, sysroot):
    """rc with glibc and with musl: (title, lines), and the ratios by name."""
    say("rc with musl")
    commands = {"an empty C program": ["/bin/empty"], IDLE: ["/bin/rc", "wlan", "create"],
                "rc firewall create at full house": COMMANDS["firewall"]}
    instructions, memory = {}, {}
    for library, box in (("glibc", lambda: Box(build)), ("musl", lambda: Box(build, musl, sysroot))):
        place = box()
        for name, command in commands.items():
            instructions[library, name] = place.instructions(command, HOUSE)[0][1]
            memory[library, name] = parts_of_memory(place, command)
    # Outside the box, the loader has a cache of all libraries to look into.
    installed = counting.instructions_of(build / "bench/bench_empty")
    lines = ["| instructions | glibc | musl |", "|---|--:|--:|"]
    lines += [f"| {name} | {instructions['glibc', name]:,} | {instructions['musl', name]:,} |" for name in commands]
    lines += [f"| an empty C program on this machine, whose loader reads a cache of its libraries | {installed:,} | - |", "",
              "Of what rc does with musl when it has nothing to do, nearly all is the loader's search for the functions that rc"
              " and its library take from the C library.", ""]
    heads = [(library, name) for library in ("glibc", "musl") for name in (list(commands)[0], list(commands)[2])]
    lines += ["| memory, kB | " + " | ".join(f"{name}, {library}" for library, name in heads) + " |",
              "|---|" + "--:|" * len(heads)]
    lines += [f"| {part} | " + " | ".join(f"{memory[head][part]:,}" for head in heads) + " |" for part in MEMORY_PARTS]
    empty, idle, house = commands
    sums = {key: sum(parts.values()) for key, parts in memory.items()}
    files = sum(memory["musl", house][part] for part in MEMORY_PARTS[:3]) + memory["musl", empty]["stack"]
    lines += ["| all | " + " | ".join(f"{sums[head]:,}" for head in heads) + " |", "",
              "The row rc is that of the program. Its file and that of its library are in memory once, however many of its runs"
              " there are; between runs, nothing of it is. With musl, the files alone, and the stack that each program has, are"
              f" {files / sums['musl', empty]:.1f} times what an empty program takes."]
    return lines, {"musl": instructions["musl", idle] / installed, "musl empty": instructions["musl", idle] / instructions["musl", empty],
                   "musl memory": sums["musl", house] / sums["musl", empty]}


def generator_section(box, rc_instructions):
    """ferm, ufw and shorewall: rows, and the ratios by name."""
    made = box.made_by(["/bin/rc", "firewall", "create"], HOUSE)
    scripts = "".join(made[path].decode() for path in ("/tmp/rules", "/tmp/rule2", "/tmp/qos.conf"))
    folder = pathlib.Path("/mnt/generators")
    out = folder / "out"
    out.mkdir(parents=True)
    settings = house_settings()
    lines = ["| generator | what it is given | instructions | times rc | milliseconds |", "|---|---|--:|--:|--:|"]
    ratios = {}
    for name, run in (("ferm", lambda: generators.run_ferm(folder, scripts, out)),
                      ("ufw", lambda: generators.run_ufw(folder, settings, out)),
                      ("shorewall", lambda: generators.run_shorewall(folder, settings, out))):
        say(f"  instructions: {name}")
        command, given, instructions, taken = run()
        ratios[name] = instructions / rc_instructions
        lines.append(f"| `{command}` | {given} | {instructions:,} | {ratios[name]:,.0f} | {taken / 1e6:,.0f} |")
    lines += ["", "rc's figure includes the traffic shaping, the crontab and the module's lists, which none of these generators writes."]
    return lines, ratios


def tables(build, quick):
    """All sections of speed as (title, lines), and the measured ratios of the aims."""
    box = Box(build)
    start = start_section(box)
    firewall, counts = action_section(box, "firewall", quick)
    dhcpd, dhcpd_counts = action_section(box, "dhcpd", quick)
    wlan, _ = action_section(box, "wlan", quick)
    whole, own = memory_of(box, COMMANDS["firewall"])
    empty_whole, empty_own = memory_of(box, ["/bin/empty"])
    ratios = {"floor": counts["rc"] / counts["floor"], "dhcpd floor": dhcpd_counts["rc"] / dhcpd_counts["floor"],
              "memory": whole / empty_whole, "own memory": own / empty_own}
    ratios |= {style: counts[style] / counts["rc"] for style in SCRIPTS if style in counts}
    sections = [("Start and end of rc", start), ("rc firewall create, all lists full", firewall),
                ("Where its instructions go", profile_section(box, counts)),
                ("rc dhcpd create, all lists full", dhcpd), ("The configuration of rc wlan start, all lists full", wlan)]
    if not quick:
        lines, more = generator_section(box, counts["rc"])
        sections.append(("Rule generators of Debian", lines))
        ratios |= more
    return sections, ratios
