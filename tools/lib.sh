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

# Prints the packages of the given groups, one a line.
kivo_packages() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' packaging/debian-packages.txt
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

# Installs what is missing of the given groups. Package lists are fetched only when installing
# without them failed, as it does on a new machine.
kivo_install() {
    if ! command -v dpkg-query >/dev/null; then
        kivo_say "This is no Debian: install the counterparts of packaging/debian-packages.txt"
        return
    fi
    local wanted missing
    mapfile -t wanted < <(kivo_packages "$@")
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
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}
