# The session switches the light of the clone: the keyboard's own follows, and the records of keys
# carry the lock's bit.
load_keyboards
start_session
start_tap
forward on
clone=$(grep --files-with-matches kivo/clone /sys/class/input/event*/device/phys)
clone=/dev/input/$(basename "$(dirname "$(dirname "$clone")")")
light() {
    python3 - "$clone" "$1" <<'PYTHON'
import os, struct, sys
device = os.open(sys.argv[1], os.O_WRONLY)
os.write(device, struct.pack("llHHi", 0, 0, 17, 1, int(sys.argv[2])) + struct.pack("llHHi", 0, 0, 0, 0, 0))
PYTHON
}
is_lit() {
    [ "$(cat /sys/class/input/event0/device/input*::capslock/brightness)" != 0 ]
}
light 1
await 5 is_lit
tap a
expect_typed +30 -30
was_shown "+0 10100"
light 0
await 5 fails is_lit
