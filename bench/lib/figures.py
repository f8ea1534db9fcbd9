"""Figures that need no router: the settings store's rates, sizes, and what this machine is."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

KEYS = (100, 1000, 10000)
WORDS = {"get": "a get, the image at hand", "first_get": "a process's first get", "set": "a set", "commit": "a commit"}
TARGETS = {"rc": "bin/rc", "libnvram.so": "lib/libnvram.so", "nvram": "bin/nvram",
           "nvram without the settings table": "bin/nvram_without_table"}
PLATFORMS = (("x86-64, glibc", "release", ""), ("x86-64, musl", "musl", ""), ("MIPS, glibc", "mipsel", "mipsel-linux-gnu-"),
             ("MIPS, musl", "mipsel-musl", "mipsel-linux-gnu-"))
# What a router gets, and its C library with the loader.
ROUTER = {"rc": ["bin/rc"], "libnvram.so": ["lib/libnvram.so"], "rc-bundle": ["bin/rc-bundle"], "nvram": ["bin/nvram"],
          "nvram without the settings table": ["bin/nvram_without_table"],
          "all of it, nvram with the table": ["bin/rc", "lib/libnvram.so", "bin/rc-bundle", "bin/nvram"],
          "all of it, nvram without": ["bin/rc", "lib/libnvram.so", "bin/rc-bundle", "bin/nvram_without_table"]}
C_LIBRARY = {"mipsel": ["/usr/mipsel-linux-gnu/lib/libc.so.6", "/usr/mipsel-linux-gnu/lib/ld.so.1"],
             "mipsel-musl": ["lib/mipsel-linux-musl/libc.so"]}
SQUASHFS_BLOCK = 262144


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def machine(build):
    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", (build / "CMakeCache.txt").read_text())[1]
    return (f"{processor[1] if processor else 'unknown processor'}, {os.cpu_count()} of its cores;"
            f" Linux {os.uname().release}; {output_of(compiler, '--version').splitlines()[0]};"
            f" {output_of('valgrind', '--version').strip()}")


def sysroot_of(build):
    """The folder of the C library that a build with another one is for; None if there is no such build."""
    cache = build / "CMakeCache.txt"
    found = re.search(r"RC_SYSROOT:INTERNAL=(.*)", cache.read_text()) if cache.exists() else None
    return found[1] if found else None


def store_times(build):
    """{(benchmark, keys): nanoseconds}, the median of several measurements."""
    run = subprocess.run([build / "bench/store_bench", "--benchmark_format=json", "--benchmark_repetitions=7"], check=True,
                         capture_output=True, text=True).stdout
    times = {}
    for row in json.loads(run)["benchmarks"]:
        name, _, keys = row["run_name"].partition("/")
        if row.get("aggregate_name") == "median":
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
    lines += ["", "A first get reads only the lines around the key's, as long as nobody has edited the working copy by hand; the"
              " next one reads all of it. A set by a program looks only at those lines too, and copies the others as they are;"
              " the command `nvram set` and a commit take up each line. A commit waits for the disk under /tmp."]
    return lines, {name: times[name, KEYS[2]] / times[name, KEYS[1]] for name in ("first_get", "set", "commit")}


def size_section(folder):
    lines = ["| | " + " | ".join(platform for platform, _, _ in PLATFORMS) + " | NEEDED |",
             "|---|" + "--:|" * len(PLATFORMS) + "---|"]
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
                needed = ", ".join(re.sub(r"libc\.so.*", "the C library", library) for library in listed)
            lines.append(f"| {name} | {' | '.join(sizes)} | {needed} |")
    return [*lines, "", "Sizes are in bytes, built with -Os and stripped."]


def in_flash(files):
    """Bytes of a squashfs file system with xz, as firmware is packed, that has just these files."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder) / "root"
        root.mkdir()
        for file in files:
            shutil.copy(file, root)
        output_of("mksquashfs", root, f"{folder}/image", "-comp", "xz", "-b", str(SQUASHFS_BLOCK), "-all-root", "-nopad",
                  "-no-xattrs", "-no-progress", "-quiet")
        return os.path.getsize(f"{folder}/image")


def stripped(folder, preset, prefix, places, target):
    files = []
    for place in places:
        files.append(pathlib.Path(target) / f"{len(files)}")
        if place.endswith("rc-bundle"):
            shutil.copy(folder / preset / place, files[-1])
        else:
            subprocess.run([f"{prefix}strip", "-o", files[-1], folder / preset / place], check=True)
    return files


def flash_section(folder, sysroot):
    """What the router's side costs in flash, on the router's architecture; the C library apart."""
    shown = [row for row in PLATFORMS if row[1].startswith("mipsel")]
    if not all((folder / preset / "bin/rc").exists() for _, preset, _ in shown):
        return ["Not measured: there are no builds for MIPS."]
    lines = ["| bytes in flash | " + " | ".join(name for name, _, _ in shown) + " |", "|---|" + "--:|" * len(shown)]
    with tempfile.TemporaryDirectory() as target:
        empty = in_flash([])
        for name, places in ROUTER.items():
            cells = [in_flash(stripped(folder, preset, prefix, places, target)) - empty for _, preset, prefix in shown]
            lines.append(f"| {name} | " + " | ".join(f"{cell:,}" for cell in cells) + " |")
        cells = [in_flash([pathlib.Path(sysroot) / file for file in C_LIBRARY[preset]]) - empty for _, preset, _ in shown]
        lines.append("| the C library, not part of it | " + " | ".join(f"{cell:,}" for cell in cells) + " |")
        # nvram with its read-only data packed by the best packer at hand, which the program could not unpack without code.
        program = stripped(folder, *shown[1][1:], ["bin/nvram"], target)[0]
        data = pathlib.Path(target) / "data"
        subprocess.run(["mipsel-linux-gnu-objcopy", "-O", "binary", "--only-section=.rodata", program, data], check=True)
        texts = {"size": data.stat().st_size, "plain": in_flash([program]) - empty}
        rest = pathlib.Path(target) / "rest"
        subprocess.run(["mipsel-linux-gnu-objcopy", "--remove-section=.rodata", program, rest], check=True)
        subprocess.run(["xz", "--lzma2=preset=9e", "--format=raw", "--suffix=.xz", data], check=True)
        texts["packed"] = in_flash([rest, data.with_name("data.xz")]) - empty
    return [*lines, "", "Each row is a squashfs file system with xz and blocks of 256 KiB that has only these files, without what"
            " an empty one takes.", "", "If nvram packed its texts itself, that would save no flash, since the file system packs"
            f" them already: with its {texts['size']:,} bytes of texts and tables packed by xz beforehand, nvram takes"
            f" {texts['packed']:,} bytes instead of {texts['plain']:,}, without the code to unpack them."]
