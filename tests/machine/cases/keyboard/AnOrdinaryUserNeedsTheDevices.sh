# An ordinary user holds keyboards with access to them and to uinput, and has silently no tap when
# either is missing.
load_keyboards
start_session
# Any group will do; which one it is on a real machine the system's rules say.
tap_of() {
    KIVO_KEYBOARD=evdev as_player "$1" "$KIVO_BUILD/bin/key-tap" </dev/null || true
}
expect_equal "without rights" "no tap" "$(tap_of none)"
chgrp audio /dev/input/event0
chmod 660 /dev/input/event0
expect_equal "with keyboards only" "no tap" "$(tap_of audio)"
chgrp audio /dev/uinput
chmod 660 /dev/uinput
expect_equal "with uinput only" "no tap" "$(chmod 600 /dev/input/event0; tap_of audio)"
chmod 660 /dev/input/event0
mkfifo /tmp/commands
as_player audio "$KIVO_BUILD/bin/key-tap" 11 </tmp/commands >/tmp/shown 2>/tmp/tap.log &
exec 7>/tmp/commands
await 10 grep --quiet "a tap" /tmp/shown
forward on
tap a b
expect_typed +30 -30
# Rights that go give the keyboard back; it is held again once both are there, whichever comes first.
chmod 600 /dev/input/event0 /dev/uinput
await 5 is_free /dev/input/event0
chmod 660 /dev/input/event0
tap b
expect_typed +48 -48
chmod 660 /dev/uinput
await 5 is_held /dev/input/event0
fails grep "is not held" /tmp/tap.log
