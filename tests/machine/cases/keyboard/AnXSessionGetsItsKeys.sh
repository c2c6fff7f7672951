# needs: Xorg xev xset xinput setxkbmap udevadm
# An X server takes the clone for one more keyboard, to which it gives the layout and the repeat rate
# of its configuration: it gets those of the keyboard, by whomever and whenever they were set.
load_keyboards
start_udev
start_x_session
setxkbmap de,us -option grp:menu_toggle
xset r rate 200 40
tap y
expect_typed +21 -21
expect_text z
rate=$(xset q | grep "repeat rate")
start_tap 11
grep "evdev and uinput" /tmp/tap.log
key a down
expect_typed +30
forward on
key a up
expect_typed -30
tap y b c
expect_typed +21 -21 +46 -46
expect_text azc
expect_equal "repeat rate while the keyboard is held" "$rate" "$(xset q | grep "repeat rate")"
# The second layout, by the key for that, stays when the keyboard is given back, and when it is taken.
tap compose y
expect_typed +127 -127 +21 -21
forward off
tap b y
expect_typed +48 -48 +21 -21
expect_text yby
forward on
tap y
expect_typed +21 -21
expect_text y
# A layout that is set while the keyboard is held, and one that it has alone.
setxkbmap fr
tap q
expect_typed +16 -16
forward off
tap q
expect_typed +16 -16
keyboard=$(xinput list | sed -n '/AT Translated/ { s/.*id=\([0-9]*\).*/\1/p; q }')
setxkbmap -device "$keyboard" de
tap y
expect_typed +21 -21
forward on
tap y
expect_typed +21 -21
expect_text aazz
