# What is let through reaches the session, what is swallowed does not, and nothing else changes.
load_keyboards
start_session
tap a
expect_typed +30 -30
start_tap 11
grep "evdev and uinput" /tmp/tap.log
forward on
tap a b c
expect_typed +30 -30 +46 -46
key shift down
tap a
key shift up
expect_typed +42 +30 -30 -42
was_shown "+0 20102"
forward off
tap a b
expect_typed +30 -30 +48 -48
