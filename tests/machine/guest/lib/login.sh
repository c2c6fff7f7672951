# shellcheck shell=bash
# Logins at the machine's own screen, by the real service manager, logind and PAM. The service manager
# runs beside the case in a process space of its own, and knows the few units written here.

units=/run/login-units

# start_logind: until it takes logins.
start_logind() {
    mkdir -p "$units"
    printf 'session required pam_systemd.so\n%s\n%s\n' 'account required pam_permit.so' \
        'auth required pam_permit.so' >/etc/pam.d/login-of-case
    ln -s /dev/null "$units/user@.service"
    write_unit login.target 'Wants=systemd-logind.service' ''
    write_unit sysinit.target '' ''
    write_unit basic.target '' ''
    write_unit shutdown.target '' ''
    write_unit dbus.socket 'DefaultDependencies=no' \
        '[Socket]' 'ListenStream=/run/dbus/system_bus_socket'
    write_unit dbus.service 'Requires=dbus.socket' \
        '[Service]' 'Type=notify' 'NotifyAccess=main' \
        'ExecStart=/usr/bin/dbus-daemon --system --address=systemd: --nofork --nopidfile'
    write_unit systemd-logind.service 'Requires=dbus.service
After=dbus.service' \
        '[Service]' 'Type=dbus' 'BusName=org.freedesktop.login1' \
        'RuntimeDirectory=systemd/sessions systemd/seats systemd/users systemd/inhibit' \
        'ExecStart=/lib/systemd/systemd-logind'
    write_unit user-runtime-dir@.service '' '[Service]' 'Type=oneshot' 'RemainAfterExit=yes' \
        'ExecStart=/lib/systemd/systemd-user-runtime-dir start %i'
    # The folder that a login makes for its user is the case's too.
    mount --make-shared /run
    SYSTEMD_UNIT_PATH=$units SYSTEMD_GENERATOR_PATH='' SYSTEMD_PROC_CMDLINE=quiet \
        unshare --pid --mount --propagation unchanged --fork --mount-proc /lib/systemd/systemd --system \
        --unit=login.target --log-target=console --show-status=no >/tmp/systemd.log 2>&1 &
    login_space=$!
    await 60 test -e /run/systemd/seats/seat0
}

# write_unit NAME DEPENDENCES LINE...
write_unit() {
    local name=$1 dependences=$2
    shift 2
    printf '%s\n' '[Unit]' 'DefaultDependencies=no' "$dependences" "$@" >"$units/$name"
}

# allow_keyboards: puts the rule that is shipped in force, as the documentation has it done.
allow_keyboards() {
    cp "$KIVO_GUEST/../../../packaging/linux/70-kivo.rules" /etc/udev/rules.d/
    udevadm control --reload
    modprobe uinput
    udevadm trigger
    udevadm settle
}

# log_in USER CONSOLE [PROGRAM...]: a session of that user on a console, which gets the seat if it is
# in front, and in which that program is run.
log_in() {
    local user=$1 console=$2
    shift 2
    [ $# -gt 0 ] || set -- sleep infinity
    write_unit "login-$console.service" '' '[Service]' "User=$user" 'PAMName=login-of-case' \
        "TTYPath=/dev/tty$console" 'StandardInput=tty-force' \
        "StandardOutput=append:/tmp/login-$console.log" 'StandardError=inherit' "ExecStart=$*"
    # It obeys only processes whose numbers it can see.
    nsenter --pid --mount --target "$(pgrep --parent "$login_space")" \
        systemctl start "login-$console.service"
    await 20 session_on "$console" >/dev/null
}

# session_on CONSOLE: the file in which logind tells of the session there.
session_on() {
    grep --devices=skip --no-messages --files-with-matches "^VTNR=$1\$" /run/systemd/sessions/*
}

# to_console NUMBER: brings it to the front, and waits until devices have changed hands.
to_console() {
    busybox chvt "$1"
    await 10 has_seat "$1"
    udevadm settle
}

has_seat() {
    grep --quiet '^ACTIVE=1$' "$(session_on "$1")"
}

# player_name: the ordinary user's.
player_name() {
    id --name --user "$KIVO_PLAYER"
}
