# Keys that are down while the keyboard is taken or given back are released with the hand: not
# before and not never.
load_keyboards
start_session
start_tap
forward on
forward off
key a down
key shift down
expect_typed +30 +42
forward on
tap b
expect_typed +48 -48
key a up
key shift up
expect_typed -30 -42
key a down
key shift down
expect_typed +30 +42
forward off
tap b
expect_typed +48 -48
key a up
key shift up
expect_typed -30 -42
tap a
expect_typed +30 -30
