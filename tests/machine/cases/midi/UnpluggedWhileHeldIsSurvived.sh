# Plugged in again it stays alone: the daemon looks for the controller once.
load_midi
make_device kivo Kivo
plug kivo
start_driver audio
expect_equal "source" "$(clients Kivo):0" "$(held_source)"
unplug kivo
expect_equal "source after unplugging" "" "$(held_source)"
driver_answers
plug kivo
expect_equal "source after plugging in again" "" "$(held_source)"
driver_answers
stop_driver
