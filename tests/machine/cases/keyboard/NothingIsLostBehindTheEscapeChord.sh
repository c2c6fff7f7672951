# What was typed behind the escape chord before the keyboard was given back reaches the session: a
# key that was down when the keyboard was taken is released, and another one is typed.
load_keyboards
start_virtual_keyboard
start_session
start_tap
type_at_once +30
expect_typed +30
forward on
await 10 is_held "$VIRTUAL"
type_at_once +14 +1
expect_typed +14 +1
# All is there when the tap goes on.
type_at_once stopped "$TAP" +28 -30 +48 -48 -28 -1 -14
await 10 was_shown "user input"
# By two devices, so that which comes first is the reader's choice.
have_all_come() {
    [ "$(sort "$TYPED" | tr '\n' ' ')" = "+48 -1 -14 -30 -48 " ]
}
await 10 have_all_come || { typed; exit 1; }
: >"$TYPED"
await 10 is_free "$VIRTUAL"
type_at_once +30 -30
expect_typed +30 -30
