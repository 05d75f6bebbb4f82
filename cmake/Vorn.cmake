# What every target of the project shares: language, warnings, the staged tree.
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(VORN_WARNINGS "Compile with many warnings, as errors" ${PROJECT_IS_TOP_LEVEL})

find_program(VORN_CCACHE ccache)
if(VORN_CCACHE AND PROJECT_IS_TOP_LEVEL)
  # Without this a source that uses the tests' precompiled header is never cached.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros "${VORN_CCACHE}")
endif()

# The converter finds the diff program two folders above its own, so programs are staged in
# their final relative places, and installed the same way.
set(VORN_DIST_DIR "${PROJECT_BINARY_DIR}/dist")
set(VORN_PROGRAM_SUBDIR "VAConverter/bin")
set(VORN_DIFF_TOOL_SUBDIR "tools/NorvanePatch/bin")

# What a target that includes our headers needs.
add_library(vorn_headers INTERFACE)
target_include_directories(vorn_headers INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_features(vorn_headers INTERFACE cxx_std_20)

# What our own sources are compiled with: linked PRIVATE, so that it reaches nobody else.
add_library(vorn_flags INTERFACE)
target_link_libraries(vorn_flags INTERFACE vorn_headers)
if(VORN_WARNINGS)
  # GCC 12 gives false -Wrestrict warnings for the concatenation of std::strings.
  target_compile_options(vorn_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endif()

# vorn_library(name SOURCES a.cpp ... LINKS lower ...)
function(vorn_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC vorn_headers ${ARG_LINKS} PRIVATE vorn_flags)
endfunction()

# vorn_program(name SUBDIR place SOURCES a.cpp ... LINKS lower ...)
function(vorn_program name)
  cmake_parse_arguments(ARG "" "SUBDIR" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE vorn_flags ${ARG_LINKS})
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${VORN_DIST_DIR}/${ARG_SUBDIR}")
  install(TARGETS ${name} RUNTIME DESTINATION "${ARG_SUBDIR}")
endfunction()

# Tests are compiled lightly: they run once. GCC 12 takes some of what it inlines from std::string
# there for copies past the end.
add_library(vorn_test_flags INTERFACE)
target_link_libraries(vorn_test_flags INTERFACE vorn_flags)
target_compile_options(vorn_test_flags INTERFACE -O1
  $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread>)
# Under the sanitizers it also takes std::regex for a reader of variables without a value.
if(VORN_SANITIZED AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(vorn_test_flags INTERFACE -Wno-maybe-uninitialized)
endif()

# vorn_test(name SOURCES a.cpp ... LINKS lower ...): one GoogleTest program, its cases found by CTest.
function(vorn_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE
    vorn_test_flags ${ARG_LINKS} test_support GTest::gtest_main)
  # Reading the test framework's headers is most of what compiling a test costs.
  if(TARGET test_pch)
    target_precompile_headers(${name} REUSE_FROM test_pch)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
