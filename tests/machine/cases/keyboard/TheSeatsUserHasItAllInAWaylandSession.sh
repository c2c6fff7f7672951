# needs: sway wev udevadm dbus-daemon
# A user who has logged in at the machine, and whose only right is the rule that is shipped: keys go
# through the daemon and the control center of the user's own Wayland session. What is let
# through arrives once, by the layout of the keyboard; what is swallowed does not. A control center that
# hangs or is gone costs keys, until forwarding is switched off.
modprobe -a evdev uinput
start_udev
start_logind
log_in_to_sway "input 1:1:AT_Translated_Set_2_keyboard xkb_layout de"
hold_by_the_daemon
start_tap
expect_equal "source without the rule" "" "$(grep "Key events" /tmp/tap.log || true)"
end_tap
allow_keyboards
start_tap 11
grep "Key events come from evdev and uinput" /tmp/tap.log
rights() {
    awk '/^(Groups|Cap(Prm|Eff)):/ { print $2 }' "/proc/$1/status" | xargs
}
expect_equal "groups and privileges of the daemon" \
    "$(id --group "$(player_name)") 0000000000000000 0000000000000000" "$(rights "$TAP")"

forward on
await 20 passes y 21
key shift down
expect_typed +42
await 20 passes y 21
key shift up
expect_typed -42
expect_text zZ
swallows_b() {
    tap b shift
    expect_typed +42 -42 || exit
    await 1 grep --quiet "key B .*pressed: swallowed" /tmp/shown
}
await 20 swallows_b
forward off
tap b
expect_typed +48 -48
expect_text b

forward on
lose_the_control_center STOP
forward off
tap b
expect_typed +48 -48
kill -CONT "$CENTER"
forward on
lose_the_control_center KILL
forward off
tap b
expect_typed +48 -48
