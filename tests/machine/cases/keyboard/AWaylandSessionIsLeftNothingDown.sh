# qemu: -device qemu-xhci,id=xhci
# needs: sway seatd wev udevadm
# What a Wayland session gets when keyboards go, and the daemon is stopped or killed, with keys down:
# their releases, and a keyboard that works.
load_keyboards
start_udev
start_sway
unplug_keyboards
end_tap
stop_the_tap
end_tap
kill_the_tap
