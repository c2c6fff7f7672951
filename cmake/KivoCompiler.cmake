# What every target of the project is compiled with: C++20 without extensions, all warnings as
# errors, the sanitizers that a preset asks for, and a compiler cache where there is one.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "AppleClang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15)
    message(FATAL_ERROR "The sources need Xcode 15 or newer, or its command line tools; this is "
                        "the compiler of version ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

# Not on macOS, whose compilers come and go with Xcode: a new warning is no reason not to build.
set(werror ON)
if(APPLE)
    set(werror OFF)
endif()
option(KIVO_WERROR "Treat compiler warnings as errors" ${werror})
set(KIVO_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them")

# Ours alone: nothing of it reaches who links an installed library.
set(warnings
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
    -Wcast-qual -Wformat=2
    $<$<BOOL:${KIVO_WERROR}>:-Werror>
    # g++ 12 sees overlapping copies in optimised std::string operators where there are none
    # (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Message codes are four-character constants, whose value both compilers define alike.
    -Wno-multichar $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-four-char-constants>)
add_library(KivoWarnings INTERFACE)
target_compile_options(KivoWarnings INTERFACE "$<BUILD_INTERFACE:${warnings}>")

if(KIVO_SANITIZE)
    add_compile_options(-fsanitize=${KIVO_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KIVO_SANITIZE})
endif()

find_program(KIVO_CCACHE ccache)
if(KIVO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KIVO_CCACHE}")
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${KIVO_CCACHE}")
endif()
