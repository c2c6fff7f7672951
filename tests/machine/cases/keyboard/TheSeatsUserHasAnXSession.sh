# qemu: -device qemu-xhci,id=xhci
# needs: Xorg xev xset udevadm dbus-daemon
# A user whose only right is the rule that is shipped, in a session of an X server that root has started, as
# display managers do: keys go through the user's tap; and when keyboards go, and the tap is stopped or
# killed with keys down, the session gets their releases, and a keyboard that works.
modprobe -a evdev
start_udev
start_logind
log_in "$(player_name)" 1
allow_keyboards
start_x_session
tap_as_player
start_tap 11
grep "evdev and uinput" /tmp/tap.log
forward on
tap a b c
expect_typed +30 -30 +46 -46
expect_text ac
end_tap
unplug_keyboards
end_tap
stop_the_tap
end_tap
kill_the_tap
