# shellcheck shell=bash
# The ordinary user of a guest.

# as_player GROUPS COMMAND...: runs a command as the ordinary user, a member of these groups
# (a comma list, or "none") and without any privilege.
as_player() {
    local groups=(--groups "$1") home=/tmp/player run=/run/user/$KIVO_PLAYER
    [ "$1" != none ] || groups=(--clear-groups)
    shift
    mkdir -p "$home" "$run"
    chown "$KIVO_PLAYER:$KIVO_PLAYER" "$home" "$run"
    chmod 700 "$run"
    HOME=$home XDG_RUNTIME_DIR=$run setpriv --reuid "$KIVO_PLAYER" --regid "$KIVO_PLAYER" \
        "${groups[@]}" --inh-caps=-all --bounding-set=-all "$@"
}
