# The router: its root file system, its flash, and switching it on and off.
# shellcheck shell=bash
#
# $world/root is a RAM disk, created at each power-on from lab/root, programs.txt and the programs under test;
# $world/flash and $world/mtd0 survive a power cut.

root=$world/root
router_pid=

# The board's factory data.
board_mac=00:11:22:33:44:54
board_wan_mac=00:11:22:33:44:55
board_pin=12345670
board_version=0207

# poke OFFSET BYTES: writes into the first flash partition.
poke() {
    printf '%b' "$2" | dd of="$world/mtd0" bs=1 seek=$(($1)) conv=notrunc status=none
}

make_flash() {
    mkdir "$world/flash"
    head -c $((192 * 1024)) /dev/zero > "$world/mtd0"
    poke 0x2FFA0 "\\x${board_mac//:/\\x}"
    poke 0x2FF70 "$board_pin"
    poke 0x2FFE3 "\\x${board_version:0:2}\\x${board_version:2:2}"
}

install_libraries() {
    local library
    ldd "$1" 2>/dev/null | grep -o '/[^ )]*' | while read -r library; do
        # The library under test is installed by make_root.
        case $library in
        */libnvram.so*) ;;
        *) [ -e "$root$library" ] || install -D -m 755 "$library" "$root$library" ;;
        esac
    done
}

install_program() {
    install -D -m 755 "$1" "$root$2"
    install_libraries "$1"
}

install_listed_programs() {
    local kind path name
    while read -r kind path name; do
        if [ "$kind" = available ]; then
            if command -v "$name" >/dev/null; then kind=program; else kind=stub; fi
        fi
        case $kind in
        '' | '#'*) ;;
        program) install_program "$(command -v "$name")" "$path" ;;
        adapter) install -D -m 755 "$lab/adapters/$name" "$root$path" ;;
        stub) install -D -m 755 "$lab/adapters/stub" "$root$path" ;;
        *) echo "box: programs.txt: unknown kind $kind" >&2 && return 1 ;;
        esac
    done < "$lab/programs.txt"
}

make_root() {
    local device
    mkdir -p "$root"
    mount -t tmpfs -o mode=755 router "$root"
    mkdir -p "$root"/{bin,dev,flash,host,lib,proc,sbin,sys,tmp,usr/bin,usr/lib,usr/sbin,var/run}
    cp -R "$lab/root/." "$root/"
    cp "$lab"/../web/settings.* "$lab/../docs/settings.schema.json" "$root/usr/www/"
    install -D -m 644 "$lab/lib/wait.sh" "$root/usr/lab/wait.sh"
    install -m 644 "$lab/lib/words.sh" "$root/usr/lab/words.sh"
    install_listed_programs || return 1
    install_program "$build/bin/rc" /usr/sbin/rc
    install_program "$build/bin/nvram" /usr/sbin/nvram
    install -m 755 "$build/bin/rc-bundle" "$root/usr/sbin/rc-bundle"
    install -m 755 "$build/lib/libnvram.so" "$root/usr/lib/libnvram.so"
    install_libraries "$build/lib/libnvram.so"
    mount --bind "$world/flash" "$root/flash"
    : > "$root/dev/mtd0"
    mount --bind "$world/mtd0" "$root/dev/mtd0"
    # An ordinary user cannot create device nodes, so this machine's are mounted.
    for device in null zero random urandom; do
        : > "$root/dev/$device"
        mount --bind "/dev/$device" "$root/dev/$device"
    done
}

power_on() {
    plug_router
    make_root || return 1
    in_net router unshare --mount --pid --fork --propagation private \
        sh "$lab/lib/router_init.sh" "$root" "$world/router_pid" 9>&- &
    if ! wait_until [ -e "$root/tmp/.on" ]; then
        echo "box: the router does not start within $hang_limit s" >&2
        return 1
    fi
    rm "$root/tmp/.on"
    read -r router_pid < "$world/router_pid"
}

# A power cut: the router's process 1 ends, and the others with it, without a chance to write anything.
power_off() {
    kill -TERM "$router_pid"
    wait
    umount --recursive "$root"
    unplug_router
}

# router COMMAND...: runs a command on the router, without this machine's environment.
router() {
    nsenter --target "$router_pid" --mount --net --pid --root --wd \
        env -i PATH=/bin:/sbin:/usr/sbin:/usr/bin HOME=/ LAB_BOX="$LAB_BOX" "$@" 9>&-
}

# console COMMAND...: the same, printing the command and its output. The output goes through a file because daemons keep
# their standard output open; their later output appears after the next command.
console() {
    printf 'router# %s\n' "$(display "$@")"
    : > "$world/output"
    router "$@" >> "$world/output" 2>&1
    local status=$?
    awk '{ print "      | " $0 }' "$world/output"
    return "$status"
}

# A command as one would type it; the separators of list records and fields are shown as \x01 and \x02.
display() {
    local word line=
    for word; do
        case $word in
        *\'*) printf -v word %q "$word" ;;
        *[\ \;\"]*) word="'$word'" ;;
        esac
        word=${word//$'\x02'/\\x02}
        line+="${line:+ }${word//$'\x01'/\\x01}"
    done
    printf '%s' "$line"
}
