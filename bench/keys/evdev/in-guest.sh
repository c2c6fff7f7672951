# shellcheck shell=bash
# Run in the booted machine by bench-keys-machine.
load_keyboards
"$KIVO_BUILD/bin/keys-in-guest" --json
