# shellcheck shell=bash
# Real display servers. They take keyboards from udev, so start_udev comes first.

# start_udev [RULES...]: has udev look at all devices, with these files of rules besides the system's.
start_udev() {
    mkdir -p /run/udev/rules.d
    [ $# -eq 0 ] || cp "$@" /run/udev/rules.d/
    /lib/systemd/systemd-udevd --daemon >/tmp/udevd.log 2>&1
    udevadm trigger --action=add --subsystem-match=input --subsystem-match=misc
    udevadm settle
}

# start_xorg: an X server without a screen to see, on the real keyboards.
start_xorg() {
    cat >/tmp/xorg.conf <<'CONF'
Section "ServerFlags"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "dummy"
    Driver "dummy"
EndSection
Section "Screen"
    Identifier "screen"
    Device "dummy"
EndSection
CONF
    Xorg :0 vt1 -keeptty -novtswitch -noreset -nolisten tcp -ac -config /tmp/xorg.conf \
        -logfile /tmp/Xorg.log >/tmp/Xorg.out 2>&1 &
    export DISPLAY=:0
    await 30 xset q >/dev/null 2>&1
}

# start_x_session: an X server, and a program that gets the keys.
start_x_session() {
    start_xorg
    begin_typed
    "$KIVO_GUEST/keys-of-window" xev >>"$TYPED" 2>>"$TEXT" &
    await 30 gets_keys
}

# start_sway [LINE...]: a Wayland session of the ordinary user, who has no rights to keyboards (the
# seat's daemon opens them for the compositor), with a window that gets the keys. The lines are of
# sway's configuration.
start_sway() {
    SEATD_VTBOUND=0 seatd -u "$(player_name)" >/tmp/seatd.log 2>&1 &
    await 10 test -S /run/seatd.sock
    configure_sway "$@"
    as_player none env LIBSEAT_BACKEND=seatd "${sway[@]}" >/tmp/sway.log 2>&1 &
    await 30 gets_keys
}

# log_in_to_sway [LINE...]: the same as a login at the seat, on console 1. It is logind that opens the
# keyboards for the compositor.
log_in_to_sway() {
    configure_sway "$@"
    log_in "$(player_name)" 1 env LIBSEAT_BACKEND=logind "${sway[@]}"
    await 30 gets_keys
}

# configure_sway [LINE...]: the compositor's command is in $sway then.
configure_sway() {
    begin_typed
    # Neither fonts nor pointers are looked for, which takes two seconds here.
    echo '<fontconfig/>' >/tmp/fonts.conf
    { printf '%s\n' "$@" "xwayland disable"
      echo "exec $KIVO_GUEST/keys-of-window wev >>$TYPED 2>>$TEXT"; } >/tmp/sway.conf
    sway=(FONTCONFIG_FILE=/tmp/fonts.conf XCURSOR_PATH=/none WLR_RENDERER=pixman
        "WLR_BACKENDS=headless,libinput" sway --config /tmp/sway.conf)
}

# sway_does COMMAND...: has the compositor carry out a command of its own.
sway_does() {
    SWAYSOCK=$(echo "/run/user/$KIVO_PLAYER"/sway-ipc.*) swaymsg --quiet "$@"
}

# The files that are to tell what was typed, writable by the ordinary user.
begin_typed() {
    TYPED=/tmp/typed
    TEXT=/tmp/text
    : >"$TYPED"
    : >"$TEXT"
    chown "$KIVO_PLAYER" "$TYPED" "$TEXT"
}

# gets_keys: a key that is typed reaches the window.
gets_keys() {
    : >"$TYPED"
    tap z
    await 1 has_typed +44 -44 >/dev/null || return 1
    : >"$TYPED"
    : >"$TEXT"
}

# expect_text TEXT: the characters that the window got from all presses since the last time.
expect_text() {
    expect_equal "text of the window" "$1" "$(tr --delete '\n' <"$TEXT")"
    : >"$TEXT"
}

# hold_by_the_server: from now on taps hold keyboards by the X server, which says who holds what.
# shellcheck disable=SC2317 # other functions call these
hold_by_the_server() {
    export KIVO_KEYBOARD=x11
    # It cuts off what somebody holds.
    is_held() {
        local name
        read -r name <"/sys/class/input/${1##*/}/device/name"
        xinput list | grep --fixed-strings "$name" | grep --quiet "floating slave"
    }
    # After a failure the guard has to release what was typed, too.
    is_free() {
        fails is_held "$1" && fails types_for_somebody
    }
    types_for_somebody() {
        xinput query-state "Virtual core XTEST keyboard" | grep --quiet =down
    }
    # The server's programs are slow here; that it takes no longer than a second others prove.
    expect_free_within_a_second() {
        await 10 is_free /dev/input/event0
        : >"$TYPED"
        tap z
        expect_typed +44 -44
    }
}
