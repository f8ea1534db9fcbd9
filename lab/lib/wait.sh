# Waits for events: in the box, in the emulated machine, and on the router, where the adapters find it as
# /usr/lab/wait.sh.
# shellcheck shell=dash

# Seconds. Nothing in the lab takes this long, however busy the machine is, so a wait that reaches the limit means a hang.
# All other limits of lab/ are multiples of this one (lab/demo, lab/mips, lab/waits.py and lab/CMakeLists.txt read it
# here).
hang_limit=300

# Between two tries.
try_pause=0.05

# wait_until COMMAND...: returns when the command succeeds; fails at the limit. It uses the kernel's uptime, because the
# checks set the emulated machine's clock.
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
