# shellcheck shell=bash
# What a case can ask of the emulator, and how it waits.

exec 9<>/dev/ttyS1
stty raw -echo <&9

# qmp COMMAND [JSON]: has QEMU carry out a command and prints its answer as JSON.
qmp() {
    local answer
    exec 8>/run/host.lock
    flock 8
    printf '%s %s\n' "$1" "${2-}" >&9
    IFS= read -r answer <&9
    exec 8>&-
    printf '%s\n' "${answer#* }"
    [ "${answer%% *}" = ok ]
}

# await SECONDS COMMAND...: repeats a command until it succeeds; fails when the time is up.
await() {
    local deadline=$((${EPOCHREALTIME/./} + $1 * 1000000))
    shift
    until "$@"; do
        if [ "${EPOCHREALTIME/./}" -gt "$deadline" ]; then
            echo "waited in vain for: $*"
            return 1
        fi
        pause
    done
}

# pause: for a moment, without a process, which would take longer to start in the emulator.
pause() {
    read -r -t 0.02 -u "$silence" || true
}
mkfifo /run/silence
exec {silence}<>/run/silence

# fails COMMAND...: succeeds when the command does not.
fails() {
    ! "$@"
}

# expect_equal WHAT WANTED FOUND
expect_equal() {
    [ "$2" = "$3" ] || { printf '%s: wanted "%s", found "%s"\n' "$1" "$2" "$3"; return 1; }
}
