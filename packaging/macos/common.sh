# shellcheck shell=bash disable=SC2034
# What the commands of this folder share. They run on the bash 3.2 that comes with macOS.

kivo_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
kivo_label=com.zynwerks.kivo.driver
kivo_bundle="Kivo Driver.app"

kivo_say() {
    printf '==> %s\n' "$*"
}

kivo_fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

kivo_only_on_macos() {
    [ "$(uname -s)" = Darwin ] || kivo_fail "this is for macOS, and here is $(uname -s)"
}

# Fails unless a folder is the application as the build makes it.
kivo_check_application() {
    local app=$1 part
    [ -d "$app" ] || kivo_fail "there is no application at '$app'; build it first: cmake --preset release && cmake --build --preset release"
    for part in Info.plist MacOS/kivo-driver Helpers/kivoctl "Library/LaunchAgents/$kivo_label.plist"; do
        [ -e "$app/Contents/$part" ] || kivo_fail "'$app' is not complete: Contents/$part is missing; build it anew"
    done
}

# Sets where things are installed: for the user who asks, or for everybody. DESTDIR goes before it.
kivo_choose_places() {
    if $1; then
        [ "$(id -u)" -eq 0 ] || kivo_fail "--all-users needs root: start it again with sudo"
        kivo_applications=/Applications
        kivo_agents=/Library/LaunchAgents
        kivo_programs=/usr/local/bin
    else
        [ "$(id -u)" -ne 0 ] || kivo_fail "this would install for root alone; say --all-users, or start it without sudo"
        kivo_applications=$HOME/Applications
        kivo_agents=$HOME/Library/LaunchAgents
        kivo_programs=$HOME/.local/bin
    fi
    kivo_user=${SUDO_UID:-$(id -u)}
    kivo_applied=$kivo_applications/$kivo_bundle
    kivo_applications=${DESTDIR-}$kivo_applications
    kivo_agents=${DESTDIR-}$kivo_agents
    kivo_programs=${DESTDIR-}$kivo_programs
}

# Whether launchd knows the daemon in the desktop session of that user.
kivo_is_known() {
    launchctl print "gui/$1/$kivo_label" >/dev/null 2>&1
}

kivo_is_running() {
    case $(launchctl print "gui/$1/$kivo_label" 2>/dev/null) in
        *"pid = "*) ;;
        *) return 1 ;;
    esac
}

# Ends the daemon of a user, by the signal at which it says goodbye, and has launchd forget it.
kivo_forget_agent() {
    local target=gui/$1/$kivo_label turns=0
    kivo_is_known "$1" || return 0
    launchctl kill SIGINT "$target" >/dev/null 2>&1 || true # It need not be running.
    while [ "$turns" -lt 50 ] && kivo_is_running "$1"; do
        sleep 0.1
        turns=$((turns + 1))
    done
    launchctl bootout "$target" || kivo_fail "launchd does not let go of $target"
}
