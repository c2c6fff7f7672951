# The distribution's libraries that the Linux layer stands on, found once for all folders; their
# packages are listed in packaging/debian-packages.txt.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-res xcb-randr)
pkg_check_modules(ALSA REQUIRED IMPORTED_TARGET alsa)
# Keyboards
pkg_check_modules(EVDEV REQUIRED IMPORTED_TARGET libevdev)
pkg_check_modules(XCB_INPUT REQUIRED IMPORTED_TARGET xcb xcb-xinput xcb-xtest xcb-xkb)
