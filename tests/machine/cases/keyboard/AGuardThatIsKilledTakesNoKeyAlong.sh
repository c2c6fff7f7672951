# When the guard is killed the keyboards are given back as when forwarding is switched off: what was
# typed until then is not lost, nor is what is down in the hand released.
load_keyboards
start_session
start_tap
key a down
expect_typed +30
forward on
key shift down
expect_typed +42
# What it finds when it goes on: the guard is gone, and "a" up. The guard is stopped first, so that
# it does not free the keyboards before it is killed.
pkill -STOP kivo-guard
kill -STOP "$TAP"
pkill -KILL kivo-guard
key a up
kill -CONT "$TAP"
expect_typed -30
await 10 is_free /dev/input/event0
was_shown time-out
key shift up
expect_typed -42
tap b
expect_typed +48 -48
echo on >&7
tap b
expect_typed +48 -48
fails was_shown "+11 100"
