# needs: systemd-run udevadm dbus-daemon
# With the rule that is shipped the user who sits at the machine holds keyboards: no device more, and
# nobody else. When another user takes the seat the keyboards go with it, and come back.
modprobe -a evdev psmouse
# As the lists of the kernel's modules have it made at the start of a machine.
mknod -m 600 /dev/uinput c 10 223
start_udev
start_logind
log_in "$(player_name)" 1
tap_as_player
granted() {
    # shellcheck disable=SC2016
    as_player none bash -c 'for node in /dev/input/* /dev/uinput; do
        [ ! -c "$node" ] || [ ! -w "$node" ] || echo "$node"; done'
}
expect_equal "tap without the rule" "no tap" "$(run_tap </dev/null || true)"
expect_equal "devices without the rule" "" "$(granted)"

allow_keyboards
expect_equal "devices by the rule" "/dev/input/event0 /dev/uinput" "$(granted | xargs)"
start_session
start_tap 11
forward on
tap a b
expect_typed +30 -30
expect_equal "devices while the keyboard is held" "/dev/input/event0 /dev/uinput" "$(granted | xargs)"

log_in daemon 2
key a down
expect_typed +30
to_console 2
await 5 is_free /dev/input/event0
expect_typed -30
key a up
: >/tmp/shown
: >"$TYPED"
tap a b
expect_typed +30 -30 +48 -48
expect_equal "keys of the other user that were shown" "" "$(cat /tmp/shown)"
expect_equal "devices of who has not got the seat" "" "$(granted)"
to_console 1
await 10 is_held /dev/input/event0
tap a b
expect_typed +30 -30
await 5 was_shown "+0 100"
