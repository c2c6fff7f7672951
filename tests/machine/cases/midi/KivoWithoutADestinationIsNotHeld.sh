load_midi
make_device kivo Kivo 1 0
plug kivo
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
