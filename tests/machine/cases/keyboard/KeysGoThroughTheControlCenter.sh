# The daemon and a control center in processes of their own.
load_keyboards
start_session
export XDG_RUNTIME_DIR=/run
"$KIVO_BUILD/bin/kivoctl" listen --keys --swallow 11 >/tmp/control-center 2>&1 &
await 10 grep --quiet listening /tmp/control-center
"$KIVO_BUILD/bin/kivo-driver" >/tmp/daemon 2>&1 &
await 10 "$KIVO_BUILD/bin/kivoctl" tap on
await 10 is_held /dev/input/event0
await 20 passes a 30
tap b
await 5 grep --quiet '"\?B"\? ' /tmp/control-center
expect_equal "what the session got of a swallowed key" "" "$(typed | tr ' ' '\n' | grep 48 || true)"
