# needs: sway wev udevadm dbus-daemon
# A user whose only right is the rule that is shipped leaves the seat to another and comes back: with
# nothing down, and with keys that go through the daemon of the user's own Wayland session again.
start_seats_session
lend_the_seat
expect_text ac
