fails test -e /dev/snd/seq
start_driver audio
driver_answers
stop_driver
