# needs: Xorg xev xset xinput udevadm
# Real keyboards that are held by the X server are the session's again, with nothing down that is
# up in the hand, when the tap is stopped or killed.
load_keyboards
start_udev
start_x_session
hold_by_the_server
stop_the_tap
end_tap
kill_the_tap
