fails test -e /dev/snd/seq
expect_told 'modprobe snd-seq'
start_driver audio
driver_answers
stop_driver
