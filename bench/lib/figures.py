"""Figures that need no router: the settings store's rates, sizes, and what this machine is."""

import json
import os
import pathlib
import re
import subprocess
import tempfile

KEYS = (100, 1000, 10000)
WORDS = {"get": "a get, the image at hand", "first_get": "a process's first get", "set": "a set", "commit": "a commit"}
TARGETS = {"rc": "bin/rc", "libnvram.so": "lib/libnvram.so", "nvram": "bin/nvram",
           "nvram without the settings table": "bin/nvram_without_table"}
PLATFORMS = (("x86-64", "release", ""), ("MIPS, little-endian", "mipsel", "mipsel-linux-gnu-"))


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def machine(build):
    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", (build / "CMakeCache.txt").read_text())[1]
    return (f"{processor[1] if processor else 'unknown processor'}, {os.cpu_count()} of its cores;"
            f" Linux {os.uname().release}; {output_of(compiler, '--version').splitlines()[0]};"
            f" {output_of('valgrind', '--version').strip()}")


def store_times(build, *options, **environment):
    """{(benchmark, keys): nanoseconds}."""
    run = subprocess.run([build / "bench/store_bench", "--benchmark_format=json", *options], check=True,
                         capture_output=True, text=True, env=os.environ | environment).stdout
    times = {}
    for row in json.loads(run)["benchmarks"]:
        name, _, keys = row["name"].partition("/")
        if keys.isdigit():
            times[name, int(keys)] = row["real_time"]
    return times


def store_section(build):
    """Rates by the benchmark library: each with 100, 1,000 and 10,000 keys."""
    times = store_times(build)
    lines = ["| | " + " | ".join(f"{keys:,} keys" for keys in KEYS) + " | growth from 1,000 to 10,000 |",
             "|---|" + "--:|" * (len(KEYS) + 1)]
    for name, words in WORDS.items():
        taken = [times[name, keys] for keys in KEYS]
        cells = " | ".join(f"{1e9 / each:,.0f} a second" for each in taken)
        lines.append(f"| {words} | {cells} | {taken[2] / taken[1]:.1f} times the time |")
    # The C library does not return freed memory.
    keeping = {"MALLOC_TOP_PAD_": "4000000", "MALLOC_TRIM_THRESHOLD_": "100000000", "MALLOC_MMAP_THRESHOLD_": "100000000"}
    kept = store_times(build, "--benchmark_filter=^first_get/", **keeping)
    lines += ["", "A set reads, changes and writes the whole image, so its time grows with the image, as does that of the"
              " first get. It grows faster than the image because the C library returns the memory of a large image to the"
              f" kernel each time; with `{' '.join(f'{name}={value}' for name, value in keeping.items())}` the first get"
              f" takes {kept['first_get', KEYS[2]] / kept['first_get', KEYS[1]]:.1f} times the time. A commit waits for the disk under /tmp."]
    return lines


def size_section(folder):
    lines = ["| | " + " | ".join(platform for platform, _, _ in PLATFORMS) + " | NEEDED |", "|---|--:|--:|---|"]
    with tempfile.TemporaryDirectory() as stripped:
        for name, place in TARGETS.items():
            sizes, needed = [], "?"
            for _, preset, prefix in PLATFORMS:
                program = folder / preset / place
                if not program.exists():
                    sizes.append("not built")
                    continue
                subprocess.run([f"{prefix}strip", "-o", f"{stripped}/it", program], check=True)
                sizes.append(f"{os.path.getsize(f'{stripped}/it'):,}")
                listed = re.findall(r"NEEDED.*\[(.*)\]", output_of("readelf", "-d", program))
                needed = ", ".join(listed)
            lines.append(f"| {name} | {' | '.join(sizes)} | {needed} |")
    return [*lines, "", "Sizes are in bytes, built with -Os and stripped."]
