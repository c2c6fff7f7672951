# qemu: -device qemu-xhci,id=xhci
# needs: Xorg xev xset xinput udevadm
# Without rights to the devices real keyboards are held by the X server, also those that come, and
# that go with a key down.
load_keyboards
start_udev
start_x_session
hold_by_the_server
unplug_keyboards
grep "X11 (XInput 2 and XTEST)" /tmp/tap.log
