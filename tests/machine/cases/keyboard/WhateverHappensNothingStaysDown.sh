# qemu: -device qemu-xhci,id=xhci
# Keyboards that come and go, a daemon that is stopped, and one that is killed, with keys down: they are
# released, and the keyboard works. A keyboard that comes is held too, and a daemon that was stopped
# takes none any more.
load_keyboards
start_session
unplug_keyboards
end_tap
stop_the_tap
end_tap
kill_the_tap
