load_midi 2
make_device one Kivo
make_device two Kivo
plug one 0
first=$(clients Kivo)
plug two 1
expect_told 'another device of this name comes first'
start_driver audio
expect_equal "source" "$first:0" "$(held_source)"
