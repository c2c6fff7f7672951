# shellcheck shell=bash
# What the project's commands share: installing what is missing, and building a preset.
# Sourced from the repository's root.

# Says what goes on, apart from the output of the programs that are run.
kivo_say() {
    printf '==> %s\n' "$*"
}

kivo_fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

kivo_is_macos() {
    [ "$(uname -s)" = Darwin ]
}

# Prints the packages of a list that are in the given groups, one a line.
kivo_packages() {
    local list=$1 group
    shift
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' "$list"
    done | sort -u
}

# Prints those of the given packages that are not installed.
kivo_missing() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            printf '%s\n' "$package"
    done
}

# Runs a command as root: by sudo when that is not who we are.
kivo_as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        kivo_fail "'$*' needs root, and there is no sudo: run it as root, then start again"
    fi
}

kivo_apt_install() {
    kivo_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
}

# Installs what is missing of the given groups, by the system's own means.
kivo_install() {
    if kivo_is_macos; then
        kivo_install_by_brew "$@"
    elif command -v dpkg-query >/dev/null; then
        kivo_install_by_apt "$@"
    else
        kivo_say "This is no Debian: install the counterparts of packaging/debian-packages.txt"
    fi
}

# The compiler comes with Xcode, everything else from Homebrew. Runs on the bash 3.2 of macOS.
kivo_install_by_brew() {
    local package missing=()
    xcode-select -p >/dev/null 2>&1 ||
        kivo_fail "there is no compiler: install the command line tools by 'xcode-select --install', then start again"
    if ! command -v brew >/dev/null; then
        kivo_say "There is no Homebrew (https://brew.sh): what packaging/macos/homebrew-packages.txt lists must be there by other means"
        return
    fi
    for package in $(kivo_packages packaging/macos/homebrew-packages.txt "$@"); do
        brew list --versions "$package" >/dev/null 2>&1 || missing+=("$package")
    done
    [ "${#missing[@]}" -gt 0 ] || return 0
    kivo_say "Installing ${missing[*]}"
    brew install "${missing[@]}" || kivo_fail "these packages could not be installed: ${missing[*]}"
}

# Package lists are fetched only when installing without them failed, as it does on a new machine.
kivo_install_by_apt() {
    local wanted missing
    mapfile -t wanted < <(kivo_packages packaging/debian-packages.txt "$@")
    mapfile -t missing < <(kivo_missing "${wanted[@]}")
    [ "${#missing[@]}" -gt 0 ] || return 0
    kivo_say "Installing ${missing[*]}"
    kivo_apt_install "${missing[@]}" && return
    kivo_say "Fetching the package lists, then once more"
    kivo_as_root apt-get update
    kivo_apt_install "${missing[@]}" || kivo_fail "these packages could not be installed: ${missing[*]}"
}

# Configures and builds a preset; further arguments are targets.
kivo_build() {
    local preset=$1
    shift
    kivo_say "Building ($preset)"
    mkdir -p build
    cmake --preset "$preset" -Wno-dev >"build/$preset.configure.log" 2>&1 ||
        { cat "build/$preset.configure.log"; kivo_fail "configuring $preset failed"; }
    cmake --build --preset "$preset" --parallel "$(getconf _NPROCESSORS_ONLN)" ${1:+--target "$@"}
}
