# needs: libinput udevadm
# A touchpad stays off while one types on the keyboard beside it: to libinput the clone of a built-in
# keyboard is built in, as what it knows of a keyboard goes by its identity. No quirk is needed that
# would say so.
load_keyboards
start_udev
start_tap 11
forward on
clone=$(grep --files-with-matches kivo/clone /sys/class/input/event*/device/phys)
clone=/dev/input/$(basename "$(dirname "$(dirname "$clone")")")
udevadm settle
quirks=$(libinput quirks list /dev/input/event0)
echo "$quirks"
[[ "$quirks" == *AttrKeyboardIntegration=internal* ]]
expect_equal "quirks of the clone" "$quirks" "$(libinput quirks list "$clone")"

mkfifo /tmp/fingers
"$KIVO_GUEST/touchpad" </tmp/fingers &
exec 6>/tmp/fingers
events=/tmp/events
stdbuf --output=L libinput debug-events >$events 2>/tmp/libinput.log &
# moves: a finger on the touchpad moves the pointer.
moves() {
    local before
    before=$(count_moves)
    echo finger >&6
    await 2 has_moved_since "$before" >/dev/null
}
count_moves() {
    grep --count POINTER_MOTION $events || true
}
has_moved_since() {
    [ "$(count_moves)" -gt "$1" ]
}
await 20 moves
key a down
await 5 grep --quiet KEYBOARD_KEY.*pressed $events
fails moves # not as long as a key is down
key a up
await 20 moves
between=$(sed -n '/KEYBOARD_KEY.*pressed/,/KEYBOARD_KEY.*released/p' $events)
echo "$between"
fails grep POINTER_MOTION <<<"$between"
