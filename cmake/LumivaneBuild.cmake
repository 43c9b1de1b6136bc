# Flags, caching and the two helpers by which every target of the tree is declared.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# The toolkit's lower-case macros would take "signals" and "slots" from the field's own words.
add_compile_definitions(QT_NO_KEYWORDS)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

set(LUMIVANE_SANITIZERS "" CACHE STRING "Value of -fsanitize=, e.g. address,undefined")

find_program(LUMIVANE_CCACHE ccache)
if(LUMIVANE_CCACHE)
  # Relative paths let clones of the tree in different folders share one cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      "${CMAKE_COMMAND};-E;env;CCACHE_BASEDIR=${CMAKE_SOURCE_DIR};CCACHE_NOHASHDIR=1;${LUMIVANE_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER "${CMAKE_CXX_COMPILER_LAUNCHER}")
endif()

add_library(lumivane_flags INTERFACE)
target_compile_options(lumivane_flags INTERFACE -Wall -Wextra -Wpedantic -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlaps in the library's own text concatenation once it optimises hard (bug 105651).
  target_compile_options(lumivane_flags INTERFACE -Wno-restrict)
endif()
if(LUMIVANE_SANITIZERS)
  target_compile_options(lumivane_flags INTERFACE
    -fsanitize=${LUMIVANE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(lumivane_flags INTERFACE -fsanitize=${LUMIVANE_SANITIZERS})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports false positives in library headers once sanitizer code is in between.
    target_compile_options(lumivane_flags INTERFACE -Wno-maybe-uninitialized)
  else()
    # Clang 14 cannot assemble coroutines with this check in front of each function.
    target_compile_options(lumivane_flags INTERFACE -fno-sanitize=function)
  endif()
endif()

# lumivane_library(<folder> SOURCES ... [LINKS ...] [PRIVATE_LINKS ...])
# One static library per folder of src/ or server/. Includes are written from src/ or the root.
function(lumivane_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(lumivane_${name} STATIC ${ARG_SOURCES})
  target_include_directories(lumivane_${name} PUBLIC "${CMAKE_SOURCE_DIR}/src")
  target_link_libraries(lumivane_${name} PUBLIC ${ARG_LINKS} PRIVATE lumivane_flags ${ARG_PRIVATE_LINKS})
endfunction()

# lumivane_test(<name> SOURCES ... LINKS ... [LABEL unit|integration] [MAIN core|gui|plain|x|x_bus|x_accessible]
#               [TIMEOUT seconds] [FILTER gtest-filter]
#               [PROPERTIES of-its-tests...])
# One executable, one ctest entry per test case that FILTER lets pass; the parameters of a case stand
# in its name by their own name or number, never by their bytes, which are others in each run. MAIN chooses the application object behind it; with
# x it stands on an X server of its own, see support/PanelDesktop.h, with x_bus on a session bus as
# well, and with x_accessible on an accessibility bus besides.
# The target unit_tests builds what carries the label unit, and no more.
add_custom_target(unit_tests)
function(lumivane_test name)
  cmake_parse_arguments(ARG "" "LABEL;MAIN;TIMEOUT;FILTER" "SOURCES;LINKS;PROPERTIES" ${ARGN})
  if(NOT ARG_LABEL)
    set(ARG_LABEL unit)
  endif()
  if(NOT ARG_MAIN)
    set(ARG_MAIN core)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  set(selection "")
  if(ARG_FILTER)
    set(selection TEST_FILTER "${ARG_FILTER}")
  endif()
  add_executable(${name} ${ARG_SOURCES})
  if(ARG_LABEL STREQUAL "unit")
    add_dependencies(unit_tests ${name})
  endif()
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/src" "${CMAKE_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE lumivane_flags ${ARG_LINKS} GTest::gmock)
  if(ARG_MAIN STREQUAL "plain")
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  else()
    target_link_libraries(${name} PRIVATE lumivane_test_main_${ARG_MAIN})
  endif()
  target_compile_definitions(${name} PRIVATE LUMIVANE_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES ${selection}
    PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT} ${ARG_PROPERTIES}
               ENVIRONMENT QT_QPA_PLATFORM=offscreen)
endfunction()
