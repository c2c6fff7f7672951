# A keyboard that another program has grabbed is left to it, and held as soon as that lets go; no key
# is lost to the session in between, and nothing stays down.
load_keyboards
start_session
start_tap 11
hold() {
    "$KIVO_GUEST/hold-keyboard" /dev/input/event0 >/tmp/held &
    other=$!
    await 10 grep --quiet held /tmp/held
}
other_got() {
    [ "$(tr '\n' ' ' </tmp/held)" = "held $* " ]
}
is_tapped() {
    tap c
    await 1 was_shown "+8 100"
}
# It has the keyboard before keys are forwarded, and a key is down when it goes.
hold
echo on >&7
await 5 grep --quiet "is not held" /tmp/tap.log
tap a b
key e down
await 5 other_got +30 -30 +48 -48 +18
kill "$other"
tap x
expect_typed +45 -45
key e up
# It is held once more when all keys are up: then each key is shown, and "b" swallowed.
await 20 is_tapped
: >"$TYPED"
tap b a
expect_typed +30 -30
fails was_shown "-14 100"
expect_equal "complaints" 1 "$(grep --count "is not held" /tmp/tap.log)"
# And while it is held here no other gets it.
fails "$KIVO_GUEST/hold-keyboard" /dev/input/event0 2>/dev/null
# A key that was let through is down when the keyboard is given back, and goes up where only the other
# program hears it: whether or not the keyboard is to be held again.
for again in off on; do
    press a 30
    forward off
    hold
    echo "$again" >&7
    key a up
    expect_typed -30
    kill "$other"
    echo on >&7
    await 20 is_tapped
    : >"$TYPED"
done
tap a
expect_typed +30 -30
