load_midi
make_device kivo Kivo
plug kivo
start_driver none
expect_equal "client" 0 "$(count_clients KIVO)"
driver_answers
stop_driver
