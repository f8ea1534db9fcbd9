# How lab/demo and lab/router enter the box: the check of build and programs, the user, the namespaces, and the check that
# nothing is left afterwards. Needs $lab, $build and $as_user. The caller removes $copy at its end if it is set.
# shellcheck shell=bash

# shellcheck source=lib/wait.sh
. "$lab/lib/wait.sh"

beyond=-mknod,-sys_boot,-sys_module,-sys_rawio,-sys_time,-syslog
private=(--mount --net --pid --fork --mount-proc)

skip() {
    echo "skipped: $*"
    exit 77
}

# needs NAME: checks that the build and the programs that the box uses are there.
needs() {
    local file program
    for file in bin/rc bin/nvram bin/rc-bundle lib/libnvram.so; do
        if [ ! -e "$build/$file" ]; then
            echo "$1: $build/$file is missing: build the project first" >&2
            exit 2
        fi
    done
    for program in busybox brctl curl ip nsenter setpriv unshare; do
        command -v "$program" >/dev/null || skip "$program is not installed (see lab/packages.txt)"
    done
}

# Runs a command as user 65534 without root's environment. The group is numeric, because it may have no name. The command
# is killed when its parent ends.
nobody() {
    setpriv --reuid=65534 --regid=65534 --clear-groups --pdeathsig KILL env -i ${TERM:+TERM="$TERM"} "$@"
}

# give_up_rights NAME: where root is to be an ordinary user, that user runs lab/NAME with `again LAB BUILD`.
give_up_rights() {
    [ "$as_user" ] && [ "$(id -u)" -eq 0 ] || return
    if ! nobody test -r "$lab/$1" || ! nobody test -r "$build/bin/rc"; then
        # The user may not read the folders above these files, so it gets a copy.
        copy=$(mktemp -d)
        mkdir -p "$copy/build/bin" "$copy/build/lib"
        mkdir "$copy/docs"
        cp -R "$lab" "$lab/../web" "$copy"
        cp "$lab/../docs/settings.schema.json" "$copy/docs/"
        cp "$build/bin/rc" "$build/bin/nvram" "$build/bin/rc-bundle" "$copy/build/bin/"
        cp "$build/lib/libnvram.so" "$copy/build/lib/"
        if [ -e "$build/bin/rcplan" ]; then
            cp "$build/bin/rcplan" "$copy/build/bin/"
        fi
        if [ -e "$build/tests/kernel/kernel_exposure" ]; then
            mkdir -p "$copy/build/tests/kernel" "$copy/bench"
            cp "$build/tests/kernel/kernel_exposure" "$copy/build/tests/kernel/"
            cp "$lab/../bench/full_house.txt" "$copy/bench/"
        fi
        chmod -R go+rX "$copy"
        again "$copy/lab" "$copy/build"
        exit
    fi
    again "$lab" "$build"
    exit
}

# Tries whether the box's mounts and interfaces are permitted, in namespaces that end at once.
try() {
    "$@" "${private[@]}" sh -c \
        'mount --make-rprivate / && mount -t tmpfs trial /tmp && ip link add br0 type bridge && ip link add type veth' 2>&1
}

# find_entry: chooses how to enter: as root without the capabilities that reach beyond namespaces, otherwise as the root of
# a user namespace. Leaves the command in $enter and a description of the user in $who.
find_entry() {
    local reason
    enter=(setpriv --bounding-set="$beyond" unshare)
    who=root
    if [ -z "$as_user" ] && [ "$(id -u)" -eq 0 ] && try "${enter[@]}" >/dev/null; then
        return
    fi
    enter=(unshare --user --map-root-user)
    who="an ordinary user"
    reason=$(try "${enter[@]}") || skip "namespaces, a bridge or veth are not available here: $(echo "$reason" | tail -n 1)"
}

interfaces() {
    sed -n 's/^ *\([^:]*\):.*/\1/p' /proc/net/dev | sort
}

mounts() {
    cut -d ' ' -f 5 /proc/self/mountinfo | sort
}

remember_outside() {
    # All processes of the box carry this in their environment, rc and its daemons included.
    LAB_BOX=$$-$(date +%s%N)
    interfaces_before=$(interfaces)
    mounts_before=$(mounts)
}

# none_left processes|interfaces|mounts: to be used with wait_until, because the kernel ends namespaces with a delay.
none_left() {
    [ -z "$(left "$1")" ]
}

# left processes|interfaces|mounts: those that the box has left.
left() {
    case $1 in
    processes) grep -slaF "LAB_BOX=$LAB_BOX" /proc/[0-9]*/environ | xargs ;;
    interfaces) comm -13 <(echo "$interfaces_before") <(interfaces) | xargs ;;
    mounts) comm -13 <(echo "$mounts_before") <(mounts) | xargs ;;
    esac
}
