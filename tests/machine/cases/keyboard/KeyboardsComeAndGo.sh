# qemu: -device qemu-xhci,id=xhci
# A keyboard that is plugged in while keys are forwarded is held too; one that is unplugged with a
# key down releases it, and works again when it comes back.
load_keyboards
modprobe -a xhci_pci usbhid hid_generic
start_session
start_tap 11
forward on
plug() {
    qmp device_add '{"driver": "usb-kbd", "bus": "xhci.0", "id": "second"}' >/dev/null
    await 10 usb_keyboard >/dev/null
    await 10 is_held "$(usb_keyboard)"
}
usb_keyboard() {
    local name
    name=$(grep --files-with-matches "QEMU USB Keyboard" /sys/class/input/event*/device/name |
        while read -r file; do
            [ "$(cat "${file%name}phys")" = kivo/clone ] || echo "$file"
        done)
    [ -n "$name" ] && echo "/dev/input/$(basename "$(dirname "$(dirname "$name")")")"
}
for _ in 1 2; do
    plug
    key a down
    expect_typed +30
    qmp device_del '{"id": "second"}' >/dev/null
    expect_typed -30
    fails await 1 usb_keyboard >/dev/null
done
key b down
key b up
tap c
expect_typed +46 -46
