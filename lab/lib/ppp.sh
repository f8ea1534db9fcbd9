# Debian's pppd in the router, and how it reads the options that rc gives it.
# shellcheck shell=bash

pppd=/usr/sbin/pppd
pppd_plugin=$(echo /usr/lib/pppd/*/pppoe.so)

# Only root may run the program in its place, but every user may run the copy in the box.
pppd_there() {
    [ -r "$pppd" ] && [ -r "$pppd_plugin" ]
}

# install_pppd: call it after power_on. pppd ends before its dry run if it cannot open the kernel's PPP device; an empty
# file suffices as long as no link is set up.
install_pppd() {
    install -D -m 755 "$pppd" "$root/usr/lab/pppd"
    install -D -m 644 "$pppd_plugin" "$root$pppd_plugin"
    install_libraries "$root/usr/lab/pppd"
    install_libraries "$root$pppd_plugin"
    : > "$root/dev/ppp"
}

forget_pppd() {
    rm -f "$root"/var/lab/pppd.*
}

# The options in effect as pppd lists them, separated by "; ", without those of the adapter. pppd lists a plug-in's options
# twice and shows no passwords.
options_in_effect() {
    via pppd
    awk '/^pppd options in effect/ { listed = 1; next }
        { sub(/[ \t]+(#.*)?$/, "") }
        !listed || /^(dryrun|dump|noipv6)$/ || seen[$0]++ { next }
        { printf "%s%s", separator, $0; separator = "; " }' "$root/var/lab/pppd.output"
}

# pppd_takes OPTIONS: pppd has accepted its options, and these are in effect.
pppd_takes() {
    via pppd comes "pppd has read its options" on_router /var/lab/pppd.status || return
    via pppd same "its verdict" 0 "$(cat "$root/var/lab/pppd.status")"
    same "the options in effect" "$1" "$(options_in_effect)"
}

# pppd_word OPTION: the word after that option on pppd's command line.
pppd_word() {
    via pppd
    sed -n "/^$1\$/{n;p;q}" "$root/var/lab/pppd.words"
}

# secret_word FILE: the password of a secrets file as pppd reads it. pppd reads it from an option file, which has the same
# quoting, and prints it with a backslash before each backslash and double quote.
secret_word() {
    via pppd
    printf 'ipparam %s\n' "$(awk -F '\t' 'END { print $3 }' "$root$1")" > "$root/var/lab/word"
    router /usr/lab/pppd pty true file /var/lab/word dryrun dump 2>&1 |
        sed -nE '/^ipparam /{ s/^ipparam //; s/[ \t]+(#.*)?$//; s/\\(.)/\1/g; p; }'
}

# secret_found pap|chap NAME: whether pppd finds a secret to authenticate a peer of that name.
secret_found() {
    via pppd
    if router /usr/lab/pppd pty true auth "require-$1" name router remotename "$2" dryrun >/dev/null 2>&1; then
        echo yes
    else
        echo no
    fi
}
