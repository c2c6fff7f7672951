load_midi
make_device kivo Kivo
plug kivo
kivoctl midi 2>/tmp/told.log || true
grep -q "group audio" /tmp/told.log
start_driver none
expect_equal "client" 0 "$(count_clients KIVO)"
driver_answers
stop_driver
