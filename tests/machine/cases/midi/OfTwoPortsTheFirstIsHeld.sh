# "Kivo MIDI 1" and "Kivo MIDI 2" are one entity.
load_midi
make_device kivo Kivo 2 2
plug kivo
expect_told 'destination "Kivo MIDI 2"'
grep -q '"Kivo MIDI 2" ' /proc/asound/seq/clients
start_driver audio
expect_equal "source" "$(clients Kivo):0" "$(held_source)"
