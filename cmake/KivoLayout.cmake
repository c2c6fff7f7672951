# Where the programs and the daemon's bundle lie, below the build folder as below an installed
# prefix, because a program finds its bundle from its own place.
#
# On macOS the bundle is an application that shows nothing and holds both programs; elsewhere the
# main bundle of <prefix>/bin/NAME is <prefix>/share/NAME.resources.

if(APPLE)
    set(contents "Applications/Kivo Driver.app/Contents")
    set(KIVO_DAEMON_FOLDER "${contents}/MacOS")
    set(KIVO_KIVOCTL_FOLDER "${contents}/Helpers")
    set(KIVO_BUNDLE_FOLDER "${contents}")
    set(KIVO_LANGUAGES_FOLDER "${contents}/Resources")
else()
    set(KIVO_DAEMON_FOLDER "${CMAKE_INSTALL_BINDIR}")
    set(KIVO_KIVOCTL_FOLDER "${CMAKE_INSTALL_BINDIR}")
    set(KIVO_BUNDLE_FOLDER "${CMAKE_INSTALL_DATADIR}/kivo-driver.resources")
    set(KIVO_LANGUAGES_FOLDER "${KIVO_BUNDLE_FOLDER}")
endif()

# Puts a program into its folder, in the build tree and when installed.
function(kivo_place_program target folder)
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${folder}")
    install(TARGETS ${target} RUNTIME DESTINATION "${folder}")
endfunction()
