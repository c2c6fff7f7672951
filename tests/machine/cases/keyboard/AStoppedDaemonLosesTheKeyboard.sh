# A daemon that is stopped loses the keyboard within a second, with all keys released that are up in
# the hand; when it goes on it takes no keyboard any more, and is told.
load_keyboards
start_session
start_tap
key shift down
expect_typed +42
forward on
key a down
expect_typed +30
kill -STOP "$TAP"
key shift up
tap c
expect_free_within_a_second
tap a
kill -CONT "$TAP"
key a up
await 5 was_shown time-out
: >"$TYPED"
tap b
expect_typed +48 -48
echo on >&7
tap b
expect_typed +48 -48
is_free /dev/input/event0
grep "given back" /tmp/tap.log
