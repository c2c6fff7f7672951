# One way to add a test program: GoogleTest, every test case a process of its own with a limit,
# and a skipped case reported as skipped.

include(GoogleTest)
find_package(GTest REQUIRED)

function(kivo_add_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES;PROPERTIES" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE KivoTestSupport ${ARG_LIBRARIES} KivoWarnings)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}."
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} ${ARG_PROPERTIES} SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
endfunction()
