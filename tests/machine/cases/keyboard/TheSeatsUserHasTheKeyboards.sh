# needs: systemd-run udevadm dbus-daemon
# With the rule that is shipped the user who sits at the machine holds keyboards: no device more, and
# nobody else. When another user takes the seat the keyboards go with it, and come back.
modprobe -a evdev uinput psmouse
start_udev
start_logind
log_in "$(player_name)" 1
rule=$KIVO_GUEST/../../../packaging/linux/70-kivo.rules
tap_of_player() {
    as_player none "$KIVO_BUILD/bin/key-tap" "$@"
}
granted() {
    # shellcheck disable=SC2016
    as_player none bash -c 'for node in /dev/input/* /dev/uinput; do
        [ ! -c "$node" ] || [ ! -w "$node" ] || echo "$node"; done'
}
expect_equal "tap without the rule" "no tap" "$(KIVO_KEYBOARD=evdev tap_of_player </dev/null || true)"
expect_equal "devices without the rule" "" "$(granted)"

cp "$rule" /etc/udev/rules.d/
udevadm control --reload
udevadm trigger --subsystem-match=input --subsystem-match=misc
udevadm settle
expect_equal "devices by the rule" "/dev/input/event0 /dev/uinput" "$(granted | xargs)"
start_session
mkfifo --mode=666 /tmp/tap.commands
tap_of_player 11 </tmp/tap.commands >/tmp/shown 2>/tmp/tap.log &
exec 7>/tmp/tap.commands
await 10 grep --quiet "a tap" /tmp/shown
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
