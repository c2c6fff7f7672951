# A daemon that is killed with keys down leaves a keyboard that works, and nothing stuck.
load_keyboards
start_session
kill_the_tap
