# All processes stand still for longer than a daemon may, as they do while the machine sleeps, with
# keys down: that is no reason to take the keyboard away. One that went meanwhile with a key down,
# and came back, is held again. (The devices themselves do not sleep here: this guest's root is on
# one that would not wake up.)
load_keyboards
start_session
start_tap 11
forward on
key a down
key shift down
expect_typed +30 +42
echo freezer >/sys/power/pm_test
echo 2 >/sys/module/suspend/parameters/pm_test_delay
before=${EPOCHREALTIME/./}
echo freeze >/sys/power/state
[ $((${EPOCHREALTIME/./} - before)) -gt 1500000 ]
sleep 1
is_held /dev/input/event0
fails was_shown time-out
key shift up
key a up
expect_typed -42 -30
tap b c
expect_typed +46 -46
for _ in 1 2; do
    key a down
    expect_typed +30
    echo -n serio0 >/sys/bus/serio/drivers/atkbd/unbind
    expect_typed -30
    echo -n serio0 >/sys/bus/serio/drivers/atkbd/bind
    await 10 test -e /dev/input/event0
    await 10 is_held /dev/input/event0
    key a up
    tap b c
    expect_typed +46 -46
done
