load_midi
plug_program Kivo DAW
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
