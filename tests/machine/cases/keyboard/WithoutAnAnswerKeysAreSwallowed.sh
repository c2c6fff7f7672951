# What the control center fails to do costs keys, and nothing else: the keyboard stays held, nothing
# stays down, the next key is asked about anew, and forwarding can be switched off.
load_keyboards
start_session
expect_swallowed() {
    key shift down
    expect_typed +42
    tap a a b c
    key shift up
    expect_typed -42
    is_held /dev/input/event0
}
expect_passing() {
    "$KIVO_BUILD/bin/kivoctl" tap off
    await 10 is_free /dev/input/event0
    tap b
    expect_typed +48 -48
}
export XDG_RUNTIME_DIR=/run
for way in badly never noise; do
    echo "$way"
    "$KIVO_GUEST/poor-control-center" "$way" >/tmp/asked &
    center=$!
    await 10 grep --quiet listening /tmp/asked
    start_forwarding
    expect_swallowed
    [ "$way" = noise ] || grep --quiet asked /tmp/asked
    expect_passing
    kill -KILL "$center"
    end_forwarding
done
echo "none at all"
start_forwarding
expect_swallowed
expect_passing
end_forwarding
echo "stopped, then killed, with a key down"
"$KIVO_BUILD/bin/kivoctl" listen >/tmp/center.log 2>&1 &
center=$!
await 10 grep --quiet listening /tmp/center.log
start_forwarding
# The emulator may need longer for an answer than the ten milliseconds that it has.
goes_down() {
    key a down
    await 1 has_typed +30 && return
    key a up
    : >"$TYPED"
    return 1
}
for signal in STOP KILL; do
    await 20 goes_down
    kill "-$signal" "$center"
    tap b
    key a up
    expect_typed +30 -30
    expect_swallowed
    kill -CONT "$center" 2>/dev/null || true
done
# The way out is judged without anybody's answer.
key backspace down
key esc down
key ret down
await 2 is_free /dev/input/event0
key ret up
key esc up
key backspace up
: >"$TYPED"
tap a
expect_typed +30 -30
