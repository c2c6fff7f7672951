# A daemon that is stopped loses the keyboard within a second, with all keys released that are up in
# the hand; when it goes on it takes no keyboard any more, and is told.
load_keyboards
start_session
stop_the_tap
