load_midi 2
make_device lower kivo
make_device suffix "Kivo 2"
plug lower 0
plug suffix 1
expect_told 'device "kivo": not held, because its name is not exactly "Kivo"'
expect_told 'device "Kivo 2": not held, because its name is not exactly "Kivo"'
start_driver audio
expect_equal "source" "" "$(held_source)"
driver_answers
