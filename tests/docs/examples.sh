#!/bin/sh
# Runs the examples of a page and compares what they print with what the page shows. An example is an indented line
# "$ command" (it may go on with a backslash) with its output below, up to a blank line that ends the indentation or the
# next command; a line "..." stands for any number of lines, and the character "…" for any text within a line. All examples
# of a page run in one folder, one after the other, and keep their environment. An example without output must print none.
#   examples.sh [--whole] PAGE ROOT FOLDER_OF_A_PROGRAM...
# A comment before a block of commands says how far the test goes with it:
#   <!-- not run: REASON -->       never run here
#   <!-- whole: REASON -->         run only with --whole, in a copy of the tree, without the programs of the folders
#   <!-- needs namespaces -->      a status of 77 is "not permitted on this machine", and no failure
# Examples that did not run are listed at the end. If BUILD_DIR is in the environment, that folder is also build/NAME and
# build/demo in the folder where the examples run.
whole=
if [ "$1" = --whole ]; then
    whole=1
    shift
fi
page=$1
root=$2
shift 2
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/tree"
if [ "$whole" ]; then
    (cd "$root" && tar -cf - --exclude=./build --exclude=./.git .) | tar -xf - -C "$folder/tree" || exit 2
else
    PATH=$(printf '%s:' "$@")$PATH
    export PATH
    cp -R "$root/lab" "$root/docs" "$root/web" "$folder/tree" || exit 2
fi
# The box's ordinary user reads it too.
chmod 755 "$folder"
cd "$folder/tree" || exit 2
if [ -n "${BUILD_DIR-}" ] && [ -z "$whole" ]; then
    mkdir build && ln -s "$BUILD_DIR" build && ln -sfn "$BUILD_DIR" build/demo || exit 2
fi

/usr/bin/python3 - "$page" "$folder/environment" "$whole" << 'END'
import re, subprocess, sys

def examples(lines):
    """(mark, command, wanted output); a command of None is an indented block that has none."""
    command, wanted, mark, in_block = None, [], "", False
    for line in lines + ["end"]:
        code = line.startswith("    ")
        text = line[4:]
        if command is not None and command.endswith("\\") and code:
            command = command[:-1].rstrip() + " " + text.strip()
        elif code and text.startswith("$ "):
            if command: yield mark, command, wanted
            command, wanted = text[2:], []
        elif code and command is not None:
            wanted.append(text)
        elif code:
            if not in_block: yield mark, None, [text]
        elif line.strip():
            if command: yield mark, command, wanted
            command, wanted = None, []
            marked = re.fullmatch(r"<!-- (.*) -->", line)
            mark = marked[1] if marked else ""
        elif command is not None:
            wanted.append("")
        in_block = code or (in_block and not line)

def line_matches(wanted, got):
    return re.fullmatch(".*".join(map(re.escape, wanted.split("…"))), got.rstrip()) is not None

def matches(wanted, got):
    if not wanted: return not got
    if wanted[0] == "...":
        return any(matches(wanted[1:], got[i:]) for i in range(len(got) + 1))
    return bool(got) and line_matches(wanted[0], got[0]) and matches(wanted[1:], got[1:])

page, environment, whole = sys.argv[1:]
open(environment, "w").close()
count = failures = 0
left_out = []
for mark, command, wanted in examples(open(page, encoding="utf-8").read().split("\n")):
    if command is None:
        if page.endswith("README.md"):
            failures += 1
            print(f"a block without a command, which no test runs: {wanted[0]}")
        continue
    if mark.startswith("not run: ") or (mark.startswith("whole: ") and not whole):
        left_out.append(f"{command}    ({mark.split(': ', 1)[1]})")
        continue
    while wanted and not wanted[-1]: wanted.pop()
    script = f". {environment}\n{command}\nstatus=$?; export -p > {environment}; exit $status"
    run = subprocess.run(["/bin/sh", "-c", script], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                         stdin=subprocess.DEVNULL)
    count += 1
    if run.returncode == 77 and mark == "needs namespaces":
        left_out.append(f"{command}    (not permitted on this machine)")
        continue
    got = run.stdout.rstrip("\n").split("\n")
    if got == [""]: got = []
    if matches(wanted, got): continue
    failures += 1
    print(f"$ {command}\nthe page shows:\n" + "\n".join("    " + w for w in wanted))
    print(f"it prints, with status {run.returncode}:\n" + "\n".join("    " + g for g in got))
if count == 0: sys.exit("no example found: is this the page?")
for one in left_out: print(f"not run: {one}")
if failures: sys.exit(1)
print(f"ok: {count} examples run, {len(left_out)} not")
END
