# The daemon ends, crashes, is killed or stopped with keys down: they are released in the session,
# and within a second the keyboard works. The guard ends with it.
load_keyboards
start_session
# Modifiers pass without being asked about, so that no answer is needed, and none is there.
are_released() {
    has_typed -29 -42 || has_typed -42 -29
}
for signal in INT TERM HUP SEGV ABRT KILL STOP; do
    echo "$signal"
    key ctrl down
    expect_typed +29
    start_forwarding
    key shift down
    expect_typed +42
    kill "-$signal" "$(driver_process)"
    key ctrl up
    await 1 are_released || { typed; exit 1; }
    expect_free_within_a_second
    key shift up
    # What was stopped is told that the tap is off, and goes on without keys.
    kill -CONT "$(driver_process)" 2>/dev/null || true
    if driver_process; then
        await 5 grep --quiet "given back" /tmp/driver.log
        tap b
        expect_typed +48 -48
        end_forwarding
    fi
    await 5 fails pgrep kivo-guard
done
