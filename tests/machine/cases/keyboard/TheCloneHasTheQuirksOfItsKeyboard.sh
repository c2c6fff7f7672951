# needs: libinput udevadm
# A touchpad stays off while one types on the keyboard beside it: to libinput the clone of a built-in
# keyboard is built in, as what it knows of a keyboard goes by its identity.
load_keyboards
start_udev
start_tap
forward on
clone=$(grep --files-with-matches kivo/clone /sys/class/input/event*/device/phys)
clone=/dev/input/$(basename "$(dirname "$(dirname "$clone")")")
udevadm trigger --action=add --subsystem-match=input
udevadm settle
quirks=$(libinput quirks list /dev/input/event0)
echo "$quirks"
[[ "$quirks" == *AttrKeyboardIntegration=internal* ]]
expect_equal "quirks of the clone" "$quirks" "$(libinput quirks list "$clone")"
