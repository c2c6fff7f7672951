# qemu: -device qemu-xhci,id=xhci
# needs: Xorg xev xset udevadm
# What a session of an X server gets when keyboards go, and the daemon is stopped or killed, with
# keys down: their releases, and a keyboard that works.
load_keyboards
start_udev
start_x_session
unplug_keyboards
end_tap
stop_the_tap
end_tap
kill_the_tap
