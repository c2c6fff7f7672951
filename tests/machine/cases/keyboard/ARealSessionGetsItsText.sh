# needs: Xorg xterm xset xdotool udevadm
# A real display server takes the clone for a keyboard: text arrives once and whole in a terminal, a
# swallowed key does not, and a key that was down when the keyboard was taken does not repeat for ever.
# Caps Lock is the session's, before, meanwhile and afterwards.
load_keyboards
start_udev
start_xorg
: >/tmp/text
xterm -geometry 200x60+0+0 -e sh -c 'stty -echo; cat >>/tmp/text' &
await 30 xdotool search --class xterm >/dev/null 2>&1
ready() {
    tap x ret
    await 1 grep --quiet x /tmp/text
}
await 30 ready
is_lit() {
    [ "$(cat /sys/class/input/event0/device/input*::capslock/brightness)" != 0 ]
}
# expect_line TEXT: what was typed arrives with the return key as this line, and not twice.
expect_line() {
    tap ret
    await 10 grep --quiet --line-regexp "$1" /tmp/text
    : >/tmp/text
}
tap caps_lock d
await 5 is_lit
expect_line D
KIVO_KEYBOARD=evdev start_tap 11
forward on
tap e
expect_line E
is_lit
was_shown "+14 10100"
tap caps_lock f
await 5 fails is_lit
expect_line f
tap caps_lock
await 5 is_lit
forward off
is_lit
tap g
expect_line G
is_lit
tap caps_lock
await 5 fails is_lit
# One key is down while the keyboard is taken.
key a down
forward on
key a up
tap h i b
key shift down
tap h
key shift up
sleep 1
tap ret
await 10 grep --quiet H /tmp/text
last=$(grep H /tmp/text)
echo "the terminal got \"$last\""
[[ "$last" =~ ^a+hiH$ ]]
# And after forwarding was switched off it goes on as before.
forward off
tap b ret
await 10 grep --quiet '^b$' /tmp/text
