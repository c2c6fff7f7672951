# The daemon's bundle: the Info dictionary and the languages that it can say it runs in. The main
# bundle of <prefix>/bin/NAME is <prefix>/share/NAME.resources, in the build tree as when installed.

set(resources "${PROJECT_SOURCE_DIR}/driver/resources")
set(bundle "${PROJECT_BINARY_DIR}/share/kivo-driver.resources")

configure_file("${resources}/Info.plist.in" "${bundle}/Info.plist" @ONLY)
foreach(language IN ITEMS en de fr es it ja)
    set(strings "${language}.lproj/Localizable.strings")
    configure_file("${resources}/${strings}" "${bundle}/${strings}" COPYONLY)
endforeach()

install(DIRECTORY "${bundle}" DESTINATION "${CMAKE_INSTALL_DATADIR}")
