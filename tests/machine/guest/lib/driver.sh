# The daemon, and a stand-in control center beside it.

heard=/tmp/heard.log

# kivoctl WORDS...: as the ordinary user.
kivoctl() {
    as_player none "$KIVO_BUILD/bin/kivoctl" "$@"
}

# expect_told WORDS: `kivoctl midi`, run as the user who runs the daemon, says them.
expect_told() {
    told=$(as_player audio "$KIVO_BUILD/bin/kivoctl" midi 2>&1) || true
    grep -qF "$1" <<<"$told" || { printf 'not told: %s\n%s\n' "$1" "$told"; return 1; }
}

# start_driver GROUPS: starts the control center and the daemon, as the ordinary user in these
# groups, and waits until the daemon has signed in everywhere and said so.
start_driver() {
    kivoctl listen --json >"$heard" 2>&1 &
    await 30 grep -qs '"listening"' "$heard"
    as_player "$1" "$KIVO_BUILD/bin/kivo-driver" >/tmp/driver.log 2>&1 &
    await 30 grep -q KiCt "$heard"
}

# stop_driver: ends the daemon as its service does and checks how it went.
stop_driver() {
    kill -INT "$(driver_process)"
    await 20 fails driver_process
    grep -q KiDC "$heard"
}

driver_process() {
    pidof kivo-driver
}

# driver_answers: whether the daemon answers a request.
driver_answers() {
    kivoctl tap off >/dev/null
}

# driver_memory: its resident memory in KiB.
driver_memory() {
    awk '/^VmRSS/ { print $2 }' "/proc/$(driver_process)/status"
}

# driver_ticks: the processor time that it has used, in hundredths of a second.
driver_ticks() {
    awk '{ print $14 + $15 }' "/proc/$(driver_process)/stat"
}

# start_forwarding: starts the daemon for keyboards, beside a control center that runs or is missing,
# and has it take them. All that it needs is root's.
start_forwarding() {
    export XDG_RUNTIME_DIR=/run
    KIVO_KEYBOARD=evdev "$KIVO_BUILD/bin/kivo-driver" >/tmp/driver.log 2>&1 &
    await 10 "$KIVO_BUILD/bin/kivoctl" tap on
    await 10 is_held /dev/input/event0
}

# end_forwarding: ends that daemon.
end_forwarding() {
    kill -INT "$(driver_process)"
    await 20 fails driver_process
}

# start_seats_session: the ordinary user has logged in at the seat to sway, has no right but the rule that
# is shipped, and runs the daemon there.
start_seats_session() {
    modprobe -a evdev uinput
    start_udev
    start_logind
    allow_keyboards
    log_in_to_sway
    hold_by_the_daemon
}

# hold_by_the_daemon: from now on taps are the daemon's in the session of sway's user, beside a control
# center there ($CENTER) that swallows what the tap was to.
# shellcheck disable=SC2317 # other functions call these
hold_by_the_daemon() {
    start_tap() {
        end_control_center
        rm -f /tmp/shown /tmp/tap.log
        sway_does exec "$KIVO_BUILD/bin/kivoctl listen --keys --swallow ${1-none} >/tmp/shown 2>&1"
        await 30 grep --quiet --no-messages listening /tmp/shown
        sway_does exec "$KIVO_BUILD/bin/kivo-driver >/tmp/tap.log 2>&1"
        await 30 grep --quiet "has connected" /tmp/shown
        TAP=$(driver_process)
        CENTER=$(pidof kivoctl)
        export CENTER
    }
    end_control_center() {
        pkill --exact kivoctl || true
        await 10 fails pidof kivoctl
    }
    end_tap() {
        kill -INT "$TAP"
        await 20 fails driver_process
    }
    ask_to_forward() {
        kivoctl tap "$1" >/dev/null
    }
    press() {
        await 20 goes_down "$@"
    }
    is_told_to_stop() {
        grep --quiet "given back" /tmp/tap.log
    }
}
