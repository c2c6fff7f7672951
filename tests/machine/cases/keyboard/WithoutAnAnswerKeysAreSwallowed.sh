# What the control center fails to do costs keys, and nothing else: the keyboard stays held, nothing
# stays down, the next key is asked about anew, and forwarding can be switched off.
load_keyboards
start_session
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
CENTER=$!
await 10 grep --quiet listening /tmp/center.log
start_forwarding
for signal in STOP KILL; do
    lose_the_control_center "$signal"
    kill -CONT "$CENTER" 2>/dev/null || true
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
