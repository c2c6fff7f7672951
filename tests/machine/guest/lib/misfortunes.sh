# shellcheck shell=bash
# What can happen to the tap and to keyboards with keys down, and what a session is to get then:
# whichever it is, one that reads the devices or a display server's.

# kill_the_tap: the tap is killed. Nothing stays down, and the keyboard works.
kill_the_tap() {
    start_tap
    key shift down
    expect_typed +42
    forward on
    press a 30
    kill -KILL "$TAP"
    key shift up
    await 10 has_let_go 30 42
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
    press a 30
    kill -STOP "$TAP"
    key shift up
    tap c
    await 10 has_let_go 30 42
    expect_free_within_a_second
    tap a
    kill -CONT "$TAP"
    key a up
    await 5 is_told_to_stop
    : >"$TYPED"
    tap b
    expect_typed +48 -48
    ask_to_forward on
    tap b
    expect_typed +48 -48
    is_free /dev/input/event0
    grep "given back" /tmp/tap.log
}

# unplug_keyboards: a second keyboard is plugged in while keys are forwarded, and is held too; it is
# unplugged with a key down, which is released; and again. The case has a bus "xhci".
unplug_keyboards() {
    modprobe -a xhci_pci usbhid hid_generic
    start_tap 11
    forward on
    for _ in 1 2; do
        plug_keyboard
        press a 30
        qmp device_del '{"id": "second"}' >/dev/null
        expect_typed -30
        await 5 fails usb_keyboard
    done
    tap b
    press c 46
    key c up
    expect_typed -46
}

plug_keyboard() {
    qmp device_add '{"driver": "usb-kbd", "bus": "xhci.0", "id": "second"}' >/dev/null
    await 10 usb_keyboard >/dev/null
    await 10 is_held "$(usb_keyboard)"
    # A repeat that the emulator is too slow to have answered would release its key.
    "$KIVO_GUEST/keyboard-state" "$(usb_keyboard)" repeat 100000 100000
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

# lose_the_control_center SIGNAL: a control center ($CENTER) is killed or stopped with a key down, which is
# released with the hand. Each key is swallowed from then on, and the keyboard stays held.
lose_the_control_center() {
    await 20 goes_down a 30
    kill "-$1" "$CENTER"
    tap b
    key a up
    expect_typed -30
    expect_swallowed
}

# expect_swallowed: keys are, and modifiers are not.
expect_swallowed() {
    key shift down
    expect_typed +42
    tap a a b c
    key shift up
    expect_typed -42
    is_held /dev/input/event0
}

# lend_the_seat: another user takes the seat with keys down, which are released in the session of the
# user on console 1. That one gets nothing of what the other types, nor does the tap, until it is back.
lend_the_seat() {
    start_tap 11
    forward on
    log_in daemon 2
    press a 30
    key shift down
    expect_typed +42
    to_console 2
    await 10 is_free /dev/input/event0
    await 10 has_let_go 30 42
    key a up
    key shift up
    local shown
    : >"$TYPED"
    shown=$(cat /tmp/shown)
    tap a b
    to_console 1
    await 10 is_held /dev/input/event0
    expect_equal "what the tap was shown of the other's keys" "$shown" "$(cat /tmp/shown)"
    tap b
    press c 46
    key c up
    expect_typed -46
}
