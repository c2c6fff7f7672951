# needs: sway seatd wev udevadm
# A Wayland compositor takes the clone for its keyboard: what is let through arrives once, with the
# layout that this keyboard was given, now or later; what is swallowed does not; a key that is down
# while the keyboard is taken or given back is released with the hand.
load_keyboards
start_udev
keyboard=1:1:AT_Translated_Set_2_keyboard
start_sway "input $keyboard xkb_layout de,us" "input $keyboard xkb_options grp:menu_toggle"
tap y
expect_typed +21 -21
expect_text z
start_tap 11
grep "evdev and uinput" /tmp/tap.log
key a down
expect_typed +30
# Not before the compositor can have the clone: what is sent until then reaches nobody.
udevadm control --stop-exec-queue
echo on >&7
fails await 1 is_held /dev/input/event0 >/dev/null
udevadm control --start-exec-queue
forward on
key a up
expect_typed -30
tap y b c
expect_typed +21 -21 +46 -46
key shift down
tap y
key shift up
expect_typed +42 +21 -21 -42
expect_text azcZ
# The second layout, by the key for that, stays when the keyboard is given back.
tap compose y
expect_typed +127 -127 +21 -21
key d down
expect_typed +32
forward off
key d up
expect_typed -32
tap b y
expect_typed +48 -48 +21 -21
expect_text ydby
# A layout that is set while the keyboard is held.
forward on
sway_does input "$keyboard" xkb_layout fr
tap q
expect_typed +16 -16
forward off
tap q
expect_typed +16 -16
expect_text aa
