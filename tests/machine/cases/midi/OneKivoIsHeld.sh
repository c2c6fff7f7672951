# The kernel calls the port "Kivo MIDI 1".
load_midi
make_device kivo Kivo
plug kivo
expect_told 'device "Kivo": the daemon would hold this one'
start_driver audio
expect_equal "source" "$(clients Kivo):0" "$(held_source)"
send kivo 90 3C 40 F0 7D 01 02 F7
driver_answers
stop_driver
expect_equal "source after the end" "" "$(held_source)"
