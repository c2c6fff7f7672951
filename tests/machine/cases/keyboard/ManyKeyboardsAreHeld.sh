# However many keyboards there are, each is held, and what is typed on the last of them arrives.
load_keyboards
start_virtual_keyboard 39
mapfile -t keyboards <<<"$(grep --files-with-matches "Virtual keyboard" /sys/class/input/event*/device/name)"
expect_equal "the number of keyboards" 40 "${#keyboards[@]}"
are_all_held() {
    local keyboard
    for keyboard in "${keyboards[@]}"; do
        keyboard=${keyboard%/device/name}
        is_held "/dev/input/${keyboard##*/}" || return 1
    done
}
start_session
start_tap 11
forward on
await 30 are_all_held
type_at_once +46 -46 +48 -48
expect_typed +46 -46
await 5 was_shown "-11 100"
