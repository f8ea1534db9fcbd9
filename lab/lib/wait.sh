# Waits for events: in the box, in the emulated machine, and on the router, where the adapters find it as
# /usr/lab/wait.sh.
# shellcheck shell=dash

# Seconds. Nothing in the lab takes this long, however busy the machine is: a wait that reaches the limit has met a hang.
# It is the only such number: the other limits of lab/ are multiples of it (lab/demo, lab/mips, lab/waits.py and
# lab/CMakeLists.txt read it here).
hang_limit=300

# Between two tries.
try_pause=0.05

# wait_until COMMAND...: returns as soon as the command succeeds; fails at the limit. It counts the kernel's uptime, since
# the emulated machine's clock is set by its checks.
wait_until() {
    local now end
    read -r now _ < /proc/uptime
    end=$((${now%.*} + hang_limit))
    until "$@" >/dev/null 2>&1; do
        read -r now _ < /proc/uptime
        [ "${now%.*}" -lt "$end" ] || return 1
        sleep "$try_pause"
    done
}
