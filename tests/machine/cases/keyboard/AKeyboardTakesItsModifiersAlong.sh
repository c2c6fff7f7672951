# A keyboard that is unplugged with a modifier down takes it along, also when it was given back before
# and another program has it: no key of another keyboard is shown with that modifier.
load_keyboards
start_virtual_keyboard
start_session
start_tap
forward on
await 10 is_held "$VIRTUAL"
type_at_once +42
expect_typed +42
forward off
await 5 is_free "$VIRTUAL"
"$KIVO_GUEST/hold-keyboard" "$VIRTUAL" >/tmp/held 2>/dev/null &
await 10 grep --quiet held /tmp/held
forward on
await 5 grep --quiet "is not held" /tmp/tap.log
eval "exec ${HAND[1]}>&-"
expect_typed -42
tap a
expect_typed +30 -30
was_shown "+0 100"
