load_midi
plug_program Kivo DAW MIDI
grep -q '"Kivo MIDI" ' /proc/asound/seq/clients
start_driver audio
expect_equal "source" "$(clients Kivo):1" "$(held_source)"
