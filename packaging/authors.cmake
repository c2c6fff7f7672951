# For authors of control centers: the headers, the libraries and the CMake package `Kivo`. The
# platform's names lie in an include folder of their own, so that a project that has them from
# elsewhere can leave it out; on macOS, where they are the system's, only CFRef.h does.

include(CMakePackageConfigHelpers)

set(authorHeaders "${CMAKE_INSTALL_INCLUDEDIR}/kivo")
set(platformHeaders "${CMAKE_INSTALL_INCLUDEDIR}/kivo-platform")
set(packageFolder "${CMAKE_INSTALL_LIBDIR}/cmake/Kivo")

# What no author needs: the object base class and the seams between the rooms of the layer, the
# helpers of the payload classes, and the controller's MIDI names.
set(internalHeaders
    "^(CFRuntime|CF.*Seams|ControllerNames|DesignedRetention|Truncation)\.h$")

# Installs the headers of a folder of the source tree whose names match, but no internal ones.
function(kivo_install_headers folder names destination)
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/${folder}"
         "${PROJECT_SOURCE_DIR}/${folder}/*.h")
    list(FILTER headers INCLUDE REGEX "${names}")
    list(FILTER headers EXCLUDE REGEX "${internalHeaders}")
    list(TRANSFORM headers PREPEND "${PROJECT_SOURCE_DIR}/${folder}/")
    install(FILES ${headers} DESTINATION "${destination}")
endfunction()

kivo_install_headers(ZYNCommon "." "${authorHeaders}/ZYNCommon")
kivo_install_headers(PublicUtility "." "${authorHeaders}/PublicUtility")
install(FILES "${PROJECT_SOURCE_DIR}/platform/CFRef.h" DESTINATION "${platformHeaders}")
if(NOT APPLE)
    kivo_install_headers(platform/linux/CoreFoundation "^(CF|CoreFoundation)" "${platformHeaders}/CoreFoundation")
    kivo_install_headers(platform/linux/CoreServices "^CoreServices" "${platformHeaders}/CoreServices")
endif()

set_target_properties(KivoCoreFoundation PROPERTIES EXPORT_NAME CoreFoundation)
set_target_properties(KivoCoreServices PROPERTIES EXPORT_NAME CoreServices)
set_target_properties(KivoPlatformNames PROPERTIES EXPORT_NAME PlatformNames)
set_target_properties(KivoWarnings PROPERTIES EXPORT_NAME Warnings)
install(TARGETS ZYNCommon PublicUtility KivoCoreFoundation KivoCoreServices KivoPlatformNames
                KivoWarnings
        EXPORT KivoTargets ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT KivoTargets NAMESPACE Kivo:: DESTINATION "${packageFolder}")

configure_package_config_file(
    "${CMAKE_CURRENT_LIST_DIR}/KivoConfig.cmake.in" "${CMAKE_CURRENT_BINARY_DIR}/KivoConfig.cmake"
    INSTALL_DESTINATION "${packageFolder}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/KivoConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/KivoConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/KivoConfigVersion.cmake"
        DESTINATION "${packageFolder}")
