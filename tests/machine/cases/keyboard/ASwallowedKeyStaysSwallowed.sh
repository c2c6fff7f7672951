# A key that was swallowed while forwarding was on does not come up when it is switched off.
load_keyboards
start_session
start_tap 0
forward on
key a down
await 5 was_shown "+0 100"
forward off
tap b
key a up
tap a
expect_typed +48 -48 +30 -30
