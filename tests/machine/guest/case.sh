# shellcheck shell=bash
# Runs a case with the functions that all cases share. A command that fails ends the case, and the
# place is told, with the ends of what was logged to /tmp/*.log, and how long the guest believes to
# have run: its clock may go wrong when the machine is loaded, which the runner's time then shows.
set -Eeuo pipefail
explain() {
    tail -n 20 /tmp/*.log 2>/dev/null || true
    read -r seconds _ </proc/uptime
    echo "-- after $seconds s by the guest's clock"
}
trap 'echo "FAILED: ${BASH_SOURCE[0]##*/}:$LINENO: $BASH_COMMAND"' ERR
trap '[ $? -eq 0 ] || explain' EXIT
for library in "$KIVO_GUEST"/lib/*.sh; do
    # shellcheck source=/dev/null
    . "$library"
done
# shellcheck source=/dev/null
. "$KIVO_CASE"
