# needs: Xorg xterm xset xdotool udevadm
# A real display server takes the clone for a keyboard: text arrives once and whole in a terminal, a
# swallowed key does not, and a key that was down when the keyboard was taken does not repeat for ever.
load_keyboards
start_udev
start_xorg
: >/tmp/text
xterm -geometry 200x60+0+0 -e sh -c 'stty -echo; cat >/tmp/text' &
await 30 xdotool search --class xterm >/dev/null 2>&1
ready() {
    tap x ret
    await 1 grep --quiet x /tmp/text
}
await 30 ready
KIVO_KEYBOARD=evdev start_tap 11
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
last=$(tail -n 1 /tmp/text)
echo "the terminal got \"$last\""
[[ "$last" =~ ^a+hiH$ ]]
# And after forwarding was switched off it goes on as before.
forward off
tap b ret
await 10 grep --quiet '^b$' /tmp/text
