# needs: sway wev udevadm dbus-daemon
# The daemon of a user whose only right is the rule that is shipped is killed and stopped with keys down:
# the user's Wayland session gets their releases, and a keyboard that works.
start_seats_session
kill_the_tap
stop_the_tap
