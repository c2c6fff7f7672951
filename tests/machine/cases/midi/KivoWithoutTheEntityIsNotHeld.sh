load_midi
plug_program Kivo DAW
expect_told 'it has no entity "Kivo MIDI"'
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
