# A daemon that is killed with keys down leaves a keyboard that works, and nothing stuck.
load_keyboards
start_session
start_tap
key shift down
expect_typed +42
forward on
key a down
expect_typed +30
kill -KILL "$TAP"
key shift up
await 1 has_typed -30 -42 || await 1 has_typed -42 -30
expect_free_within_a_second
key a up
tap a
expect_typed +30 -30
fails pgrep kivo-guard
