# More is typed than the kernel keeps for a tap that is stopped for a moment: the session has the
# keys down that are down in the hand, and gets nothing of a key that was swallowed.
load_keyboards
start_virtual_keyboard
start_session
start_tap 11
forward on
await 10 is_held "$VIRTUAL"
type_at_once +30 +48 +42
expect_typed +30 +42
many=$(printf '+46 -46 %.0s' {1..60})
type_at_once stopped "$TAP" -30 -48 +48 "$many" -48 +32 -42
expect_typed -30 +32 -42
type_at_once -32 +30 -30 +48 -48
expect_typed -32 +30 -30
# Nothing was lost but what the kernel dropped, and the tap was not taken for one that hangs.
is_held "$VIRTUAL"
fails was_shown time-out
fails was_shown "+8 100"
