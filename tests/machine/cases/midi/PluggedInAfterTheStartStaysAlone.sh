load_midi
make_device kivo Kivo
start_driver audio
expect_equal "source" "" "$(held_source)"
plug kivo
driver_answers
expect_equal "source after plugging in" "" "$(held_source)"
