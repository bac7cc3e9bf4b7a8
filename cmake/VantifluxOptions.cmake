# Compiler settings shared by every target of the project.
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# Warnings and sanitizers, linked by the project's own targets only: a user of the installed package does not inherit them.
add_library(vantiflux_options INTERFACE)
target_compile_options(vantiflux_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${VANTIFLUX_WERROR}>:-Werror>
  # g++ 12 sees overlapping copies in "text" + std::string, falsely (its bug 105651).
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
if(VANTIFLUX_SANITIZE)
  target_compile_options(vantiflux_options INTERFACE
    -fsanitize=${VANTIFLUX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    # g++ warns falsely inside std::regex when it instruments; the builds without a sanitizer keep the warning.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(vantiflux_options INTERFACE -fsanitize=${VANTIFLUX_SANITIZE})
endif()
if(VANTIFLUX_FUZZ)
  # Coverage in the library as well, or the fuzzer is blind.
  target_compile_options(vantiflux_options INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(vantiflux_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
