#!/bin/sh
# Runs the examples of a page and compares their output with the page. An example is an indented line "$ command" (it may
# continue after a backslash) with its output below, up to a blank line that ends the indentation or the next command; a
# line "..." matches any number of lines. All examples of a page run in one folder, one after the other. An example
# without output must print none. With BUILD_DIR in the environment, that folder is available as build/.
#   examples.sh PAGE ROOT FOLDER_OF_A_PROGRAM...
page=$1
root=$2
shift 2
PATH=$(printf '%s:' "$@")$PATH
export PATH
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cp -R "$root/lab" "$root/docs" "$folder" || exit 2
cd "$folder" || exit 2
if [ -n "${BUILD_DIR-}" ]; then
    mkdir build && ln -s "$BUILD_DIR" build || exit 2
fi

exec /usr/bin/python3 - "$page" << 'END'
import fnmatch, re, subprocess, sys

def examples(lines):
    command, wanted = None, []
    for line in lines + [""]:
        code = line.startswith("    ")
        text = line[4:]
        if command is not None and command.endswith("\\") and code:
            command = command[:-1].rstrip() + " " + text.strip()
        elif code and text.startswith("$ "):
            if command: yield command, wanted
            command, wanted = text[2:], []
        elif code and command is not None:
            wanted.append(text)
        elif line.strip() and command:
            yield command, wanted
            command, wanted = None, []
        elif not line and command is not None:
            wanted.append("")
    if command: yield command, wanted

def matches(wanted, got):
    if not wanted: return not got
    if wanted[0] == "...":
        return any(matches(wanted[1:], got[i:]) for i in range(len(got) + 1))
    return bool(got) and wanted[0] == got[0].rstrip() and matches(wanted[1:], got[1:])

lines = open(sys.argv[1]).read().split("\n")
count = failures = 0
for command, wanted in examples(lines):
    while wanted and not wanted[-1]: wanted.pop()
    run = subprocess.run(["/bin/sh", "-c", command], capture_output=True, text=True)
    count += 1
    got = (run.stdout + run.stderr).rstrip("\n").split("\n")
    if got == [""]: got = []
    if matches(wanted, got): continue
    failures += 1
    print(f"$ {command}\nthe page shows:\n" + "\n".join("    " + w for w in wanted))
    print("it prints:\n" + "\n".join("    " + g for g in got))
if count == 0: sys.exit("no example found: is this the page?")
if failures: sys.exit(1)
print(f"ok: {count} examples")
END
