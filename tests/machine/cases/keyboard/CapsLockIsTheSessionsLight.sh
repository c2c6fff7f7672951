# The session switches the light of the clone: the keyboard's own follows, and the records of keys
# carry the lock's bit. Neither the light nor the rate of repeats changes as the keyboard is taken
# and given back, and the clone repeats at the same rate.
load_keyboards
start_session
state() {
    local node=$1
    shift
    "$KIVO_GUEST/keyboard-state" "$node" "$@"
}
is_lit() {
    [ "$(cat /sys/class/input/event0/device/input*::capslock/brightness)" != 0 ]
}
state /dev/input/event0 repeat 500 50
start_tap
# The text console, whose lock is off, switches all lights when a keyboard comes, as the clone does.
forward on
forward off
state /dev/input/event0 capslock 1
is_lit
forward on
clone=$(grep --files-with-matches kivo/clone /sys/class/input/event*/device/phys)
clone=/dev/input/$(basename "$(dirname "$(dirname "$clone")")")
expect_equal "rate of the clone" "500 50" "$(state "$clone" repeat)"
is_lit
tap a
expect_typed +30 -30
was_shown "+0 10100"
state "$clone" capslock 0
await 5 fails is_lit
tap c
expect_typed +46 -46
was_shown "+8 100"
state "$clone" capslock 1
await 5 is_lit
forward off
is_lit
# The session's own switching, while the keyboard is not held.
state /dev/input/event0 capslock 0
fails is_lit
forward on
fails is_lit
: >/tmp/shown
tap a
expect_typed +30 -30
was_shown "+0 100"
forward off
end_tap
expect_equal "rate of the keyboard" "500 50" "$(state /dev/input/event0 repeat)"
fails is_lit
