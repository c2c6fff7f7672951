# shellcheck shell=bash
# What can happen to the tap and to keyboards with keys down, and what a session is to get then:
# whichever it is, one that reads the devices or a display server's.

# kill_the_tap: the tap is killed. Nothing stays down, and the keyboard works.
kill_the_tap() {
    start_tap
    key shift down
    expect_typed +42
    forward on
    key a down
    expect_typed +30
    kill -KILL "$TAP"
    key shift up
    await 1 has_let_go 30 42
    expect_free_within_a_second
    key a up
    tap a
    expect_typed +30 -30
    fails pgrep kivo-guard
}

# stop_the_tap: the tap is stopped. Within a second the keyboard works, with all keys released that
# are up in the hand; when the tap goes on it takes no keyboard any more, and is told.
stop_the_tap() {
    start_tap
    key shift down
    expect_typed +42
    forward on
    key a down
    expect_typed +30
    kill -STOP "$TAP"
    key shift up
    tap c
    await 2 has_let_go 30 42
    expect_free_within_a_second
    tap a
    kill -CONT "$TAP"
    key a up
    await 5 was_shown time-out
    : >"$TYPED"
    tap b
    expect_typed +48 -48
    echo on >&7
    tap b
    expect_typed +48 -48
    is_free /dev/input/event0
    grep "given back" /tmp/tap.log
}

# has_let_go CODE...: the session has got the releases of these keys.
has_let_go() {
    local code
    for code in "$@"; do
        grep --quiet --line-regexp --regexp="-$code" "$TYPED" || return 1
    done
}

# unplug_keyboards: a second keyboard is plugged in while keys are forwarded, and is held too; it is
# unplugged with a key down, which is released; and again. The case has a bus "xhci".
unplug_keyboards() {
    modprobe -a xhci_pci usbhid hid_generic
    start_tap 11
    forward on
    for _ in 1 2; do
        plug_keyboard
        key a down
        expect_typed +30
        qmp device_del '{"id": "second"}' >/dev/null
        expect_typed -30
        await 5 fails usb_keyboard
    done
    tap b c
    expect_typed +46 -46
}

plug_keyboard() {
    qmp device_add '{"driver": "usb-kbd", "bus": "xhci.0", "id": "second"}' >/dev/null
    await 10 usb_keyboard >/dev/null
    await 10 is_held "$(usb_keyboard)"
}

# usb_keyboard: the node of the keyboard that was plugged in, not of its clone.
usb_keyboard() {
    local device name phys
    for device in /sys/class/input/event*; do
        { read -r name <"$device/device/name" && read -r phys <"$device/device/phys"; } 2>/dev/null ||
            continue
        [[ $name != *"USB Keyboard" || $phys = kivo/clone ]] || { echo "/dev/input/${device##*/}"; return; }
    done
    return 1
}
