# The daemon's bundle: the Info dictionary, and the languages that it can say it runs in.

set(sources "${PROJECT_SOURCE_DIR}/driver/resources")

# Installs a file of the build tree to the same place below the prefix.
function(kivo_place_file file)
    cmake_path(GET file PARENT_PATH folder)
    install(FILES "${PROJECT_BINARY_DIR}/${file}" DESTINATION "${folder}")
endfunction()

set(information "${KIVO_BUNDLE_FOLDER}/Info.plist")
configure_file("${sources}/Info.plist.in" "${PROJECT_BINARY_DIR}/${information}" @ONLY)
kivo_place_file("${information}")

foreach(language IN ITEMS en de fr es it ja)
    set(strings "${language}.lproj/Localizable.strings")
    set(placed "${KIVO_LANGUAGES_FOLDER}/${strings}")
    configure_file("${sources}/${strings}" "${PROJECT_BINARY_DIR}/${placed}" COPYONLY)
    kivo_place_file("${placed}")
endforeach()
