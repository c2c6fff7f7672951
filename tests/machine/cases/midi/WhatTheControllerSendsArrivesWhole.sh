load_midi
make_device kivo Kivo
plug kivo
"$KIVO_BUILD/bin/midi-probe" >/tmp/probe.log 2>&1 &
await 30 grep -q "status 0" /tmp/probe.log

arrived() {
    sed 1d /tmp/probe.log | tr -d '\n' | grep -q "$1"
}

send kivo 90 3C 40 80 3C 00
send kivo B0 0A 7F C0 05 E0 00 40
await 20 arrived "903C40803C00B00A7FC005E00040"
expect_equal "lines" 6 "$(wc -l </tmp/probe.log)"

# Running status is written out.
send kivo 90 3C 40 3E 41
await 20 arrived "903C40903E41"

# A long message comes in stretches.
# shellcheck disable=SC2046 # printf is to have a word for each byte.
long=F0$(printf '%02X' $(for byte in $(seq 0 599); do echo $((byte % 128)); done))F7
send kivo "$long"
await 20 arrived "$long"
