# shellcheck shell=bash
# Runs a case with the functions that all cases share. A command that fails ends the case, and the
# place is told, with the ends of what was logged to /tmp/*.log.
set -Eeuo pipefail
trap 'echo "FAILED: ${BASH_SOURCE[0]##*/}:$LINENO: $BASH_COMMAND"' ERR
trap '[ $? -eq 0 ] || tail -n 20 /tmp/*.log 2>/dev/null' EXIT
for library in "$KIVO_GUEST"/lib/*.sh; do
    # shellcheck source=/dev/null
    . "$library"
done
# shellcheck source=/dev/null
. "$KIVO_CASE"
