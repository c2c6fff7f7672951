# Backspace, Escape and Enter held together end the tap, whatever it swallows.
load_keyboards
start_session
start_tap 51 53 36 0
forward on
tap a
await 5 was_shown "-0 100"
key backspace down
key esc down
key ret down
await 2 is_free /dev/input/event0
await 2 was_shown "user input"
key ret up
key esc up
key backspace up
tap a
expect_typed +30 -30
