# The daemon and a control center in processes of their own. The emulator may need longer for an
# answer than the ten milliseconds that it has, so the key is typed until it comes through.
load_keyboards
start_session
export XDG_RUNTIME_DIR=/run
"$KIVO_BUILD/bin/kivoctl" listen --keys --swallow 11 >/tmp/control-center 2>&1 &
await 10 grep --quiet listening /tmp/control-center
"$KIVO_BUILD/bin/kivo-driver" >/tmp/daemon 2>&1 &
await 10 "$KIVO_BUILD/bin/kivoctl" tap on
await 10 is_held /dev/input/event0
comes_through() {
    tap a
    await 1 grep --quiet --fixed-strings -e -30 "$TYPED"
}
await 20 comes_through
: >"$TYPED"
tap b
await 5 grep --quiet '"\?B"\? ' /tmp/control-center
expect_equal "what the session got of a swallowed key" "" "$(typed | tr ' ' '\n' | grep 48 || true)"
