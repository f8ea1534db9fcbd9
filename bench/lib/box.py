"""A router's root in private namespaces: measured programs run there and cannot affect this machine."""

import ctypes
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys

import counting

LIB = pathlib.Path(__file__).resolve().parent
BENCH = LIB.parent
SKIPPED = 77

# Shell lines and scripts use programs in these folders; here they are one folder.
PROGRAM_FOLDERS = ("sbin", "usr/bin", "usr/sbin")
APPLETS = ("sh cat chmod cp cut date echo expr grep awk head ifconfig ip killall ls mkdir mv od printf rm sed sleep "
           "sort tail test touch tr true wc xxd").split()
STUBS = "brctl insmod iptables iwpriv mini_httpd rmmod route rt2860apd tc udhcpd wscd".split()
VALGRIND = ("callgrind-amd64-linux", "vgpreload_core-amd64-linux.so", "default.supp")
WAN, LAN = "eth2.2", "br0"
ENVIRONMENT = {"PATH": "/bin:/sbin:/usr/sbin:/usr/bin", "LD_LIBRARY_PATH": "/lib"}
RESOLVER = "nameserver 198.51.100.1\nnameserver 198.51.100.2\nnameserver 198.51.100.3\n"

# The script that shapes the traffic is started in the background; its work is tc's, not the generator's. It runs outside
# callgrind, and while time is measured it ends at once, because nothing in its folder may be executed.
SHAPING = "/tmp/qos.conf"
MS_NOEXEC, MS_REMOUNT = 8, 32


def enter_namespaces():
    """Runs this program again as the first process of private namespaces; in a user namespace if not root."""
    if os.environ.get("RC_BENCH_SEALED") == "1":
        return
    kinds = ["--mount", "--net", "--ipc", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        kinds.append("--map-root-user")
    if subprocess.run(["unshare", *kinds, "true"], check=False, capture_output=True).returncode != 0:
        print("SKIPPED: private namespaces are not permitted here", file=sys.stderr)
        sys.exit(SKIPPED)
    os.environ["RC_BENCH_SEALED"] = "1"
    os.execvp("unshare", ["unshare", *kinds, sys.executable, *sys.argv])


def mount(kind, target, flags=0, options=""):
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.mount(kind.encode(), str(target).encode(), kind.encode(), flags, options.encode()) != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), str(target))


def wait_for_all():
    """As the first process of its namespace, this program inherits background processes of runs."""
    try:
        while True:
            os.wait()
    except ChildProcessError:
        pass


def needed_libraries(program):
    listed = subprocess.run(["ldd", program], check=False, capture_output=True, text=True).stdout
    return [pathlib.Path(path) for path in re.findall(r"(/\S+) \(0x", listed) if "libnvram" not in path]


def loader_of(program):
    """The path of the loader that a program names."""
    headers = subprocess.run(["readelf", "-l", program], check=True, capture_output=True, text=True).stdout
    return re.search(r"program interpreter: (\S+)\]", headers)[1]


class Box:
    """The root folder with rc, its library, a small shell and callgrind.

    shipped is the build of rc and of what it is compared with, sysroot the folder of its C library; without them, both are
    this machine's.
    """

    def __init__(self, build, shipped=None, sysroot=None):
        self.build = pathlib.Path(build)
        self.shipped = pathlib.Path(shipped or build)
        self.sysroot = sysroot
        self.folder = pathlib.Path("/mnt")
        self.root = self.folder / "root"
        subprocess.run(["mount", "--make-rprivate", "/"], check=True)
        # Over that of an earlier box.
        mount("tmpfs", self.folder, 0, "mode=755")
        self._make_folders()
        self._put_programs()
        self._make_interfaces()

    def _make_folders(self):
        for name in ("bin", "usr", "etc", "tmp", "var", "proc", "sys", "dev", "lib", "out", "valgrind", "lib/modules"):
            (self.root / name).mkdir(parents=True)
        for name in PROGRAM_FOLDERS:
            (self.root / name).symlink_to("/bin")
        (self.root / "lib64").symlink_to("/lib")
        mount("tmpfs", self.root / "tmp")
        mount("proc", self.root / "proc")
        mount("sysfs", self.root / "sys")
        null = self.root / "dev/null"
        null.touch()
        subprocess.run(["mount", "--bind", "/dev/null", null], check=True)

    def put(self, source, place):
        """Copies a program or library and the parts of the C library that it needs."""
        target = self.root / place.lstrip("/")
        shutil.copy(source, target)
        target.chmod(0o755)
        for library in needed_libraries(source):
            if not (self.root / "lib" / library.name).exists():
                shutil.copy(library, self.root / "lib" / library.name)

    def _put_programs(self):
        self.put(shutil.which("busybox"), "bin/busybox")
        # The shell starts its own commands from this path, which under callgrind is callgrind's program. Where there is
        # nothing it takes them from the folders for programs, as those of a router of several packages.
        shell = (self.root / "bin/busybox").read_bytes()
        (self.root / "bin/busybox").write_bytes(shell.replace(b"/proc/self/exe", b"/no/such/place"))
        for name in APPLETS:
            os.link(self.root / "bin/busybox", self.root / "bin" / name)
        self.put(self.shipped / "bench/bench_empty", "bin/empty")
        for name in STUBS:
            os.link(self.root / "bin/empty", self.root / "bin" / name)
        self.put(self.shipped / "bin/rc", "bin/rc")
        self.put(self.shipped / "bin/nvram", "bin/nvram")
        self.put(self.shipped / "lib/libnvram.so", "lib/libnvram.so")
        if self.sysroot:
            loader = loader_of(self.shipped / "bin/rc")
            shutil.copy(f"{self.sysroot}{loader}", self.root / loader.lstrip("/"))
        else:
            self.put(self.build / "bench/bench_floor", "bin/floor")
            self.put(self.build / "bench/bench_wlan", "bin/wlan")
            self.put(self.build / "bench/libbench_note.so", "lib/note.so")
        self.put("/usr/bin/valgrind.bin", "valgrind/valgrind")
        for name in VALGRIND:
            self.put(f"/usr/libexec/valgrind/{name}", f"valgrind/{name}")
        for script in (BENCH / "scripts").glob("*.sh"):
            self.put(script, f"bin/{script.name}")

    def _make_interfaces(self):
        for name, address in ((WAN, "10.0.0.2/24"), (LAN, "192.168.1.1/24")):
            # That of an earlier box.
            subprocess.run(["ip", "link", "del", name], check=False, capture_output=True)
            subprocess.run(["ip", "link", "add", name, "type", "bridge"], check=True)
            subprocess.run(["ip", "address", "add", address, "dev", name], check=True)

    def clear(self, settings):
        """A router that is up, with these settings, before any action has run."""
        for folder in ("tmp", "var", "etc"):
            for path in (self.root / folder).iterdir():
                shutil.rmtree(path) if path.is_dir() else path.unlink()
        (self.root / "var/run").mkdir()
        (self.root / "tmp/nvram").write_bytes(pathlib.Path(settings).read_bytes())
        (self.root / "tmp/wan_uptime").touch()
        (self.root / "etc/resolv.conf").write_text(RESOLVER)
        (self.root / "etc/crontab").touch()

    def run(self, command, environment=None):
        """Runs a command and waits for everything that it started. Returns its output."""
        environment = ENVIRONMENT | (environment or {})
        # With randomised addresses, a static program sometimes lies where callgrind needs to be.
        done = subprocess.run(["setarch", "-R", "/usr/sbin/chroot", self.root, *command], check=False, capture_output=True,
                              env=environment, cwd="/")
        wait_for_all()
        if done.returncode != 0:
            raise RuntimeError(f"{' '.join(map(str, command))}: status {done.returncode}: {done.stderr.decode()}")
        return done.stdout.decode()

    def files(self):
        """The files in the router's folders, path to bytes."""
        found = {}
        for folder in ("tmp", "var", "etc"):
            for path in sorted((self.root / folder).rglob("*")):
                if path.is_file():
                    found["/" + str(path.relative_to(self.root))] = path.read_bytes()
        return found

    def made_by(self, command, settings):
        """The files that a command creates or changes."""
        self.clear(settings)
        before = self.files()
        self.run(command)
        return {path: content for path, content in self.files().items() if before.get(path) != content}

    def noted(self, command, settings):
        """The lines that bench/note.cc records of a run."""
        noted = self.root / "noted"
        noted.unlink(missing_ok=True)
        self.clear(settings)
        self.run(command, {"LD_PRELOAD": "/lib/note.so"})
        return noted.read_text().splitlines()

    def memory(self, command, settings):
        """Resident memory of a program at its end, without its children's: {file or kind: (kilobytes, those of no file)}."""
        self.clear(settings)
        printed = subprocess.run([self.build / "bench/bench_peak", self.root, *command], check=True, capture_output=True,
                                 env=ENVIRONMENT, text=True).stdout
        wait_for_all()
        parts = {}
        for line in printed.splitlines():
            whole, own, name = line.split(" ", 2)
            parts[name] = (int(whole), int(own))
        return parts

    def plan_of(self, command, settings):
        """The floor's plan for the same result, and the number of settings read."""
        # The run's marker is not part of the result.
        lines = [line for line in self.noted(command, settings) if not line.startswith("r echo /proc/uptime >")]
        made = self.made_by(command, settings)
        gets = [line for line in lines if line.startswith("g ")]
        runs = [line for line in lines if line.startswith("r ")]
        records = [("g", line[2:].encode() + b"\0") for line in gets]
        # A script must exist before it is started; the other files are written last.
        scripts = [path for path in made if any(line[2:].startswith(path) for line in runs)]
        for path in scripts:
            records += [("p", path.encode() + b"\0"), ("c", made[path])]
        records += [("r", line[2:].encode() + b"\0") for line in runs]
        for path in [path for path in made if path not in scripts]:
            records += [("p", path.encode() + b"\0"), ("c", made[path])]
        plan = b"".join(struct.pack("=II", ord(kind), len(text)) + text for kind, text in records)
        return plan, len(gets), [line[2:] for line in runs]

    def instructions(self, command, settings, prepared=None):
        """The counts of each process, as from counting.read_counts."""
        self.clear(settings)
        for path, content in (prepared or {}).items():
            (self.root / path.lstrip("/")).write_bytes(content)
        counting.empty(self.root / "out")
        self.run(["/valgrind/valgrind", *counting.OPTIONS, f"--trace-children-skip={SHAPING}",
                  "--callgrind-out-file=/out/%p", *command], {"VALGRIND_LIB": "/valgrind"})
        return counting.read_counts(self.root / "out")

    def profile(self, command, settings):
        """The profile of the first process, as from counting.read_profile."""
        self.clear(settings)
        counting.empty(self.root / "out")
        self.run(["/valgrind/valgrind", *counting.PROFILE, "--callgrind-out-file=/out/profile", *command],
                 {"VALGRIND_LIB": "/valgrind"})
        return counting.read_profile(self.root / "out/profile")

    def timed(self, rounds, removed, commands):
        """[nanoseconds] of each command, run in turn."""
        words = [self.build / "bench/bench_timed", self.root, str(rounds), removed]
        for command in commands:
            words += ["--", *command]
        mount("tmpfs", self.root / "tmp", MS_REMOUNT | MS_NOEXEC)
        printed = subprocess.run(words, check=True, capture_output=True, env=ENVIRONMENT, text=True).stdout
        mount("tmpfs", self.root / "tmp", MS_REMOUNT)
        results = [[] for _ in commands]
        for line in printed.splitlines():
            number, taken, status = (int(word) for word in line.split())
            if status != 0:
                raise RuntimeError(f"{commands[number]}: status {status}")
            results[number].append(taken)
        return results
