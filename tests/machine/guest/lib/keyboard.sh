# shellcheck shell=bash
# Keyboards, who types on them, and a session that gets what is typed.

# load_keyboards: the kernel's keyboard devices, and the one for programs.
load_keyboards() {
    modprobe -a evdev uinput
    await 5 test -e /dev/input/event0
}

# key CODE down|up, by QEMU's names of keys: the hand on the keyboard of the guest.
key() {
    local isDown=true event
    [ "$2" = down ] || isDown=false
    printf -v event '{"events": [{"type": "key", "data": {"down": %s, "key": %s}}]}' \
        "$isDown" "{\"type\": \"qcode\", \"data\": \"$1\"}"
    qmp input-send-event "$event" >/tmp/qmp || cat /tmp/qmp
}

# tap CODE...: presses and releases keys one after the other.
tap() {
    local code
    for code in "$@"; do
        key "$code" down
        key "$code" up
    done
}

# start_session: has a session read all keyboards, as a display server does. What it has then typed
# is in $TYPED.
start_session() {
    TYPED=/tmp/typed
    : >"$TYPED"
    "$KIVO_GUEST/keys-of-session" >>"$TYPED" &
    await 20 grep --quiet ready "$TYPED"
    : >"$TYPED"
}

# typed: what the session got so far, "+30" for a press and "-30" for a release by the kernel's code.
typed() {
    local keys
    mapfile -t keys <"$TYPED"
    echo "${keys[*]}"
}
has_typed() {
    local keys
    mapfile -t keys <"$TYPED"
    [ "${keys[*]}" = "$*" ]
}
# expect_typed KEY...: waits until the session has got exactly this, and begins anew.
expect_typed() {
    await 10 has_typed "$@" || { echo "the session got: $(typed)"; cat /tmp/tap.log /tmp/shown; return 1; }
    : >"$TYPED"
}

# start_tap [CODE...]: a tap that swallows the keys with these virtual key codes.
start_tap() {
    rm -f /tmp/tap.commands
    mkfifo /tmp/tap.commands
    "$KIVO_BUILD/bin/key-tap" "$@" </tmp/tap.commands >/tmp/shown 2>/tmp/tap.log &
    export TAP=$!
    exec 7>/tmp/tap.commands
    await 10 grep --quiet "a tap" /tmp/shown
}

# end_tap: ends it as a daemon ends that is not needed any more.
end_tap() {
    exec 7>&-
    await 10 fails kill -0 "$TAP" 2>/dev/null
}

# forward on|off: switches forwarding, and waits until the first keyboard is held or free.
forward() {
    echo "$1" >&7
    if [ "$1" = on ]; then await 10 is_held /dev/input/event0; else await 10 is_free /dev/input/event0; fi
}

# was_shown LINE: the tap was shown that event.
was_shown() {
    grep --quiet --fixed-strings --line-regexp -e "$1" /tmp/shown
}

# is_held NODE: somebody holds a keyboard.
is_held() {
    ! "$KIVO_BUILD/bin/try-to-hold" "$1"
}
is_free() {
    "$KIVO_BUILD/bin/try-to-hold" "$1"
}

# expect_free_within_a_second: the keyboard works again for the session, without anyone's help.
expect_free_within_a_second() {
    await 1 is_free /dev/input/event0
    : >"$TYPED"
    tap z
    expect_typed +44 -44
}

# start_virtual_keyboard: one that types faster than a hand. Its node is in $VIRTUAL.
start_virtual_keyboard() {
    export VIRTUAL
    coproc HAND { exec "$KIVO_GUEST/virtual-keyboard"; }
    read -r VIRTUAL <&"${HAND[0]}"
}

# type_at_once KEY...: "+30" for a press and "-30" for a release by the kernel's code; or as
# guest/virtual-keyboard says.
type_at_once() {
    echo "$*" >&"${HAND[1]}"
    read -r _ <&"${HAND[0]}"
}
