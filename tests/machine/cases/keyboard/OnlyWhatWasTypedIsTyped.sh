# A key that was down when the keyboard was taken, and went up when it was the session's again, is
# nobody's business any more: a daemon that is killed later has nothing of it typed.
load_keyboards
start_session
start_tap
key a down
expect_typed +30
forward on
key b down
expect_typed +48
# "b" is still owed to the session, so the guard goes on.
forward off
key a up
expect_typed -30
kill -KILL "$TAP"
expect_typed -48
key b up
await 5 fails pgrep kivo-guard
tap c
expect_typed +46 -46
