# One way to add a fuzz target: a source that defines LLVMFuzzerTestOneInput, and a seed corpus in
# tests/fuzz/corpus/<name>, a folder of files. The preset `fuzz` builds it as bin/fuzz-<name>, which
# searches; every test build has a program that replays the corpus, as the test fuzz.<name>.

function(kivo_add_fuzz_target name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    set(corpus "${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name}")
    if(KIVO_BUILD_FUZZ)
        add_executable(fuzz-${name} ${ARG_SOURCES})
        target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
        target_link_libraries(fuzz-${name} PRIVATE ${ARG_LIBRARIES} KivoWarnings)
    endif()
    if(KIVO_BUILD_TESTS)
        add_executable(replay-${name} ${ARG_SOURCES} "${PROJECT_SOURCE_DIR}/tests/fuzz/Replay.cpp")
        target_link_libraries(replay-${name} PRIVATE ${ARG_LIBRARIES} KivoWarnings)
        add_test(NAME fuzz.${name} COMMAND replay-${name} "${corpus}")
        set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 120)
    endif()
endfunction()
