# While keys are typed without a pause the keyboard is taken and given back, again and again. Whoever has
# it when a key goes down or up: the session gets that once.
load_keyboards
start_virtual_keyboard
start_session
start_tap
forward on
await 10 is_held "$VIRTUAL"
forward off

keys=({2..13} {16..27} {30..41} {44..53})
roll=()
before=() # the two keys that are still down
for _ in {1..12}; do
    for code in "${keys[@]}"; do
        roll+=("+$code")
        [ ${#before[@]} -lt 2 ] || roll+=("-${before[0]}")
        before=("${before[@]: -1}" "$code")
    done
done
roll+=("-${before[0]}" "-${before[1]}")

is_in_use_or_over() {
    [ -s /tmp/shown ] || has_ended_typing
}
begin_typing apace "${roll[@]}"
switched=0
until has_ended_typing; do
    : >/tmp/shown
    echo on >&7
    await 10 is_in_use_or_over
    echo off >&7
    pause
    switched=$((switched + 1))
done
echo "switched $switched times while ${#roll[@]} keys went down or up"
[ "$switched" -gt 3 ]
printf '%s\n' "${roll[@]}" | sort >/tmp/wanted
each_once() {
    sort "$TYPED" | cmp --silent - /tmp/wanted
}
await 10 each_once || { sort "$TYPED" | diff - /tmp/wanted; return 1; }
