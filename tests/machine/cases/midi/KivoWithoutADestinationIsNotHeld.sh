load_midi
make_device kivo Kivo 1 0
plug kivo
expect_told 'its entity "Kivo MIDI" has no destination'
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
