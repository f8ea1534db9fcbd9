"""The project that is mutated: its sources, how one of them is compiled, and the programs that play the tests.

Cases, objects and programs are copied at the start, after the build was brought up to date; from then on the source tree
and the build folder are only read. Headers are not copied, so they must not change during the run.
"""
import collections
import concurrent.futures
import glob
import json
import os
import pwd
import re
import shlex
import shutil
import signal
import subprocess
import tomllib

from .places import Source

# A mutant may hang or fill the memory.
CPU_SECONDS, WALL_SECONDS = 20, 300
MEMORY_BYTES, FILE_BYTES = 2 << 30, 64 << 20

Program = collections.namedtuple("Program", "name link objects arguments cases failure")


class Refused(Exception):
    """An error that the user has to fix."""


def without_rights():
    """The user that mutants run as: a mutant may remove any file and signal any process of that user."""
    if os.getuid() != 0:
        return {}
    nobody = pwd.getpwnam("nobody")
    return {"user": nobody.pw_uid, "group": nobody.pw_gid, "extra_groups": []}


def run_limited(command, cpu_seconds, folder, output):
    """The status of a program run under limits; negative for a signal, None if it did not end."""
    limits = ["prlimit", f"--cpu={cpu_seconds}:{cpu_seconds + 5}", f"--as={MEMORY_BYTES}", f"--fsize={FILE_BYTES}", "--core=0"]
    with open(output, "wb") as log:
        running = subprocess.Popen([*limits, *command], cwd=folder, stdin=subprocess.DEVNULL, stdout=log,
                                   stderr=subprocess.STDOUT, start_new_session=True, **without_rights())
        try:
            status = running.wait(WALL_SECONDS)
        except subprocess.TimeoutExpired:
            status = None
        try:
            os.killpg(running.pid, signal.SIGKILL)
        except (ProcessLookupError, PermissionError):
            pass
        running.wait()
    return status


class Project:
    def __init__(self, root, build, config, work):
        self.root, self.build, self.work = os.path.abspath(root), os.path.abspath(build), work
        with open(config, "rb") as file:
            config = tomllib.load(file)
        self.cpu_seconds = config.get("cpu_seconds", CPU_SECONDS)
        self.files = self.matching(config["sources"])
        for name in self.matching(config.get("without", [])):
            self.files.remove(name)
        self.flags = config.get("flags", [])
        self.build_programs([program["program"] for program in config["runner"]])
        self.compiling, self.objects, self.precompiled = {}, {}, {}
        self.originals = {}
        self.compile_commands()
        self.programs = [self.program(row) for row in config["runner"]]
        # If installed, a linker that takes a tenth of the time.
        self.linker = ["-fuse-ld=lld"] if shutil.which("ld.lld") else []

    def prepare(self):
        """Copies everything that is played."""
        self.precompile()
        self.copy()

    def matching(self, patterns):
        return [name for pattern in patterns for name in sorted(glob.glob(pattern, root_dir=self.root))]

    def source(self, name):
        with open(os.path.join(self.root, name), encoding="utf-8") as file:
            return Source(name, file.read())

    def build_programs(self, targets):
        if not os.path.exists(os.path.join(self.build, "build.ninja")):
            raise Refused(f"{self.build} is no build folder: cmake --preset release")
        built = subprocess.run(["ninja", "-C", self.build, *targets], capture_output=True, text=True, check=False)
        if built.returncode != 0:
            raise Refused(f"the build fails:\n{built.stdout[-2000:]}")

    def compile_commands(self):
        """The compiler's command for each object, without the names of object and source, and its source.

        Link-time optimisation is left out: a link would compile everything anew.
        """
        with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
            entries = json.load(file)
        for entry in entries:
            words = shlex.split(entry["command"])
            if os.path.basename(words[0]) == "ccache":
                words = words[1:]
            out, source = words.index("-o"), words.index("-c")
            path = os.path.join(entry["directory"], entry["file"])
            self.compiling[words[out + 1]] = ([*words[:out], *words[out + 2:source], "-fno-lto", *self.flags], path)
            name = os.path.relpath(path, self.root)
            if name in self.files:
                self.objects.setdefault(name, []).append(words[out + 1])
        for name in self.files:
            if name not in self.objects:
                raise Refused(f"{name} is not in {self.build}/compile_commands.json")

    def precompile(self):
        """The system's headers take most of a compilation's time, so each set of flags gets them precompiled."""
        used = set()
        for name in self.files:
            with open(os.path.join(self.root, name), encoding="utf-8") as file:
                used.update(re.findall(r"^#include <.*>", file.read(), re.MULTILINE))
        for name in self.files:
            command = tuple(self.compiling[self.objects[name][0]][0])
            if command in self.precompiled:
                continue
            folder = os.path.join(self.work, f"headers{len(self.precompiled)}")
            os.makedirs(folder)
            header = os.path.join(folder, "system.h")
            with open(header, "w", encoding="utf-8") as file:
                file.write("\n".join(sorted(used)) + "\n")
            done = subprocess.run([*command, "-x", "c++-header", header, "-o", header + ".gch"], cwd=self.build,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
            self.precompiled[command] = ["-include", header] if done.returncode == 0 else []

    def command(self, name):
        """The command that compiles a copy of this source; the names of object and source are appended."""
        command = self.compiling[self.objects[name][0]][0]
        return [*command, *self.precompiled[tuple(command)], "-iquote", os.path.dirname(os.path.join(self.root, name))]

    def program(self, row):
        done = subprocess.run(["ninja", "-C", self.build, "-t", "commands", row["program"]],
                              capture_output=True, text=True, check=True)
        words = shlex.split(done.stdout.splitlines()[-1])
        # CMake puts ": &&" before and "&& :" after the command.
        link = words[2:-2] if words[0] == ":" else words
        if os.path.basename(link[0]) == "ccache":
            link = link[1:]
        return Program(name=row["program"], link=link, objects=[word for word in link if word.endswith(".o")],
                       arguments=row.get("arguments", []), cases=self.matching([row["cases"]] if "cases" in row else []),
                       failure=re.compile(row["failure"], re.MULTILINE))

    def copy(self):
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            list(pool.map(self.copy_object, {path for program in self.programs for path in program.objects}))
        for path in {path for program in self.programs for path in program.cases}:
            target = os.path.join(self.work, "cases", path)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy(os.path.join(self.root, path), target)

    def copy_object(self, path):
        target = os.path.join(self.work, "objects", path)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        command, source = self.compiling[path]
        if "-flto" in " ".join(command):
            subprocess.run([*command, "-o", target, "-c", source], cwd=self.build, check=True)
        else:
            shutil.copy(os.path.join(self.build, path), target)

    def without_program(self):
        """Sources that are in none of the programs."""
        objects = {path for program in self.programs for path in program.objects}
        return [name for name in self.files if not objects.intersection(self.objects[name])]


class Worker:
    """A folder in which one mutant after the other is compiled, linked and played."""

    def __init__(self, project, number):
        self.project = project
        self.folder = os.path.join(project.work, f"worker{number}")
        self.play_folder = os.path.join(self.folder, "play")
        os.makedirs(self.play_folder)
        os.chmod(self.play_folder, 0o777)

    def compiled(self, name, text, *flags):
        """The object compiled from this text instead of the file; None if it does not compile."""
        copy = os.path.join(self.folder, os.path.basename(name))
        with open(copy, "w", encoding="utf-8") as file:
            file.write(text)
        done = subprocess.run([*self.project.command(name), *flags, "-o", copy + ".o", "-c", copy], cwd=self.project.build,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            return None
        with open(copy + ".o", "rb") as file:
            return file.read()

    def same(self, source, text, *flags):
        """Whether both compile to the same object; None if the mutant does not compile."""
        key = (source.name, flags)
        originals = self.project.originals
        if key not in originals:
            originals[key] = self.compiled(source.name, source.text, *flags)
        mutated = self.compiled(source.name, text, *flags)
        return None if mutated is None else mutated == originals[key]

    def linked(self, program, name):
        """The program with this worker's object of the file."""
        link = [*program.link, *self.project.linker]
        path = os.path.join(self.folder, os.path.basename(program.name))
        link[link.index("-o") + 1] = path
        mutated = os.path.join(self.folder, os.path.basename(name)) + ".o"
        for index, word in enumerate(link):
            if word in self.project.objects[name]:
                link[index] = mutated
            elif word in program.objects:
                link[index] = os.path.join(self.project.work, "objects", word)
        done = subprocess.run(link, cwd=self.project.build, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise Refused(f"{program.name} does not link:\n{done.stderr[-2000:]}")
        return path

    def caught_by(self, name):
        """The first test that fails with this worker's object of the file; empty if all pass."""
        folder = os.path.dirname(name).removeprefix("src")
        for program in self.project.programs:
            if not set(self.project.objects[name]).intersection(program.objects):
                continue
            cases = [os.path.join(self.project.work, "cases", case) for case in
                     sorted(program.cases, key=lambda case: folder + "/" not in case)]
            output = os.path.join(self.folder, "output")
            status = run_limited([self.linked(program, name), *program.arguments, *cases], self.project.cpu_seconds,
                                 self.play_folder, output)
            if status != 0:
                return self.failed(program, status, output)
        return ""

    def failed(self, program, status, output):
        base = os.path.basename(program.name)
        with open(output, encoding="utf-8", errors="replace") as file:
            found = program.failure.search(file.read())
        if found:
            return found.group(1).removeprefix(os.path.join(self.project.work, "cases") + "/")
        if status is None or status == -signal.SIGXCPU:
            return f"{base} does not end"
        return f"{base} ends with " + (f"signal {-status}" if status < 0 else f"status {status}")
