load_midi
make_device kivo Kivo 0 1
plug kivo
expect_told 'its entity "Kivo MIDI" has no source'
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
