load_midi 2
make_device lower kivo
make_device suffix "Kivo 2"
plug lower 0
plug suffix 1
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
