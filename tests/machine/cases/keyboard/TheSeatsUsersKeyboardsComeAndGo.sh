# qemu: -device qemu-xhci,id=xhci
# needs: sway wev udevadm dbus-daemon
# A keyboard that is plugged in is by the rule that is shipped the seat's user's too, whose daemon holds it;
# the user's Wayland session gets the release of a key that was down when it went.
start_seats_session
unplug_keyboards
