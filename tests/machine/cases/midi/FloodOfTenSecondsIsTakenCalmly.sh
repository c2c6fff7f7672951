# As much as the bus carries, for ten seconds, into the connection that the daemon holds.
load_midi
make_device kivo Kivo
plug kivo
start_driver audio
driver_answers

# How many events the sequencer has handed to the daemon, and how many it has dropped.
events() {
    sed -n '/^Client .*"KIVO"/,$ s/ *Alloc '"$1"' *: //p' /proc/asound/seq/clients
}

flood() {
    while cat /tmp/clocks; do :; done >/dev/snd/midiC0D0
}

head -c 30000 /dev/zero | tr '\0' '\370' >/tmp/clocks # timing clocks, a byte each
memory=$(driver_memory)
ticks=$(driver_ticks)
begin=${EPOCHREALTIME/./}
flood &
until [ $((${EPOCHREALTIME/./} - begin)) -ge 10000000 ]; do
    driver_answers
done
kill $!
hundredths=$(((${EPOCHREALTIME/./} - begin) / 10000))
used=$(($(driver_ticks) - ticks))
grown=$(($(driver_memory) - memory))
echo "$(events success) events taken, $(events failures) dropped; memory grew by $grown KiB;" \
    "$used of $hundredths hundredths of a second used"

[ "$(events success)" -gt 5000 ]
[ "$grown" -le 128 ]
[ $((used * 4)) -lt "$hundredths" ]
driver_answers
stop_driver
