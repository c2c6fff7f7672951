# What the other cases stand on.
expect_equal "answer of the emulator" '{"status": "running", "singlestep": false, "running": true}' \
    "$(qmp query-status)"
fails qmp no-such-command
expect_equal "ordinary user" "$KIVO_PLAYER" "$(as_player none id --user)"
expect_equal "groups of the ordinary user" "$(getent group audio | cut -d: -f3)" \
    "$(as_player audio id --groups | tr ' ' '\n' | grep -vx "$KIVO_PLAYER")"
fails as_player none touch /root/file
