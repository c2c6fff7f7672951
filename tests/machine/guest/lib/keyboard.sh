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

# press KEY CODE: presses a key, by its name and the kernel's code, and waits until the session has it.
press() {
    key "$1" down
    expect_typed "+$2"
}

# goes_down KEY CODE: the same for a key that a control center in a process of its own is to let through.
# It has ten milliseconds for its answer, and the emulator may need longer: the key is swallowed
# then, and up again. Behind it comes a modifier, about which nobody is asked, so that it is known to be judged.
goes_down() {
    key "$1" down
    tap ctrl
    await 10 has_let_go 29 || exit
    if has_typed +29 -29; then
        key "$1" up
        : >"$TYPED"
        return 1
    fi
    expect_typed "+$2" +29 -29 || exit
}

# passes KEY CODE: types such a key, and succeeds when the session got it.
passes() {
    goes_down "$1" "$2" || return
    key "$1" up
    expect_typed "-$2" || exit
}

# has_let_go CODE...: the session has got the releases of these keys.
has_let_go() {
    local code
    for code in "$@"; do
        grep --quiet --line-regexp --regexp="-$code" "$TYPED" || return 1
    done
}

# start_tap [CODE...]: a tap that swallows the keys with these virtual key codes.
start_tap() {
    rm -f /tmp/tap.commands
    mkfifo /tmp/tap.commands
    : >/tmp/shown
    run_tap "$@" </tmp/tap.commands >>/tmp/shown 2>/tmp/tap.log &
    exec 7>/tmp/tap.commands
    await 10 grep --quiet "a tap" /tmp/shown
    TAP=$(pidof key-tap)
    export TAP
}

run_tap() {
    "$KIVO_BUILD/bin/key-tap" "$@"
}

# tap_as_player: from now on taps are the ordinary user's, who has no privilege.
# shellcheck disable=SC2317 # start_tap calls it
tap_as_player() {
    run_tap() {
        as_player none "$KIVO_BUILD/bin/key-tap" "$@"
    }
}

# end_tap: ends it as a daemon ends that is not needed any more.
end_tap() {
    exec 7>&-
    await 10 fails kill -0 "$TAP" 2>/dev/null
}

# forward on|off: switches forwarding, and waits until the first keyboard is held or free.
forward() {
    ask_to_forward "$1"
    if [ "$1" = on ]; then await 10 is_held /dev/input/event0; else await 10 is_free /dev/input/event0; fi
}

ask_to_forward() {
    echo "$1" >&7
}

# was_shown LINE: the tap was shown that event.
was_shown() {
    grep --quiet --fixed-strings --line-regexp -e "$1" /tmp/shown
}

# is_told_to_stop: the tap is told that it took too long.
is_told_to_stop() {
    was_shown time-out
}

# is_held NODE: somebody holds a keyboard.
is_held() {
    "$KIVO_BUILD/bin/is-held" "$1"
}
is_free() {
    local status=0
    "$KIVO_BUILD/bin/is-held" "$1" || status=$?
    [ "$status" = 1 ]
}

# expect_free_within_a_second: the keyboard works again for the session, without anyone's help.
expect_free_within_a_second() {
    await 1 is_free /dev/input/event0
    : >"$TYPED"
    tap z
    expect_typed +44 -44
}

# start_virtual_keyboard [COUNT]: one that types faster than a hand, behind so many others. Its node is in $VIRTUAL.
start_virtual_keyboard() {
    export VIRTUAL
    coproc HAND { exec "$KIVO_GUEST/virtual-keyboard" "$@"; }
    read -r VIRTUAL <&"${HAND[0]}"
}

# type_at_once KEY...: "+30" for a press and "-30" for a release by the kernel's code; or as
# guest/virtual-keyboard says.
type_at_once() {
    begin_typing "$@"
    read -r _ <&"${HAND[0]}"
}

# begin_typing WORD...: the same without waiting for the end.
begin_typing() {
    echo "$*" >&"${HAND[1]}"
}
has_ended_typing() {
    read -r -t 0 -u "${HAND[0]}"
}
