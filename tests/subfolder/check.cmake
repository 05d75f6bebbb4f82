# Configures the project beside this file and looks at how its sources would be compiled:
# cmake -D VORN_FOLDER=... -D WORK=... -D GENERATOR=... -D COMPILER=... -P check.cmake
file(REMOVE_RECURSE "${WORK}")

function(configure)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}" -B "${WORK}" -G "${GENERATOR}"
            -D "CMAKE_CXX_COMPILER=${COMPILER}" -D "VORN_FOLDER=${VORN_FOLDER}" ${ARGN}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# expect_no_warning_flags(PATTERN): no source that matches is compiled with one.
function(expect_no_warning_flags pattern)
  file(READ "${WORK}/compile_commands.json" commands)
  string(JSON count LENGTH "${commands}")
  math(EXPR last "${count} - 1")
  set(seen 0)
  foreach(i RANGE ${last})
    string(JSON source GET "${commands}" ${i} file)
    if(NOT source MATCHES "${pattern}")
      continue()
    endif()
    math(EXPR seen "${seen} + 1")
    string(JSON command GET "${commands}" ${i} command)
    if(command MATCHES " -W")
      message(SEND_ERROR "${source} gets warning flags: ${command}")
    endif()
  endforeach()
  if(seen EQUAL 0)
    message(SEND_ERROR "no source matches ${pattern}")
  endif()
endfunction()

configure()
expect_no_warning_flags("/Consumer\\.cpp$")
expect_no_warning_flags("/assetdata/")
file(READ "${WORK}/compile_commands.json" commands)
if(commands MATCHES "Test\\.cpp" OR EXISTS "${WORK}/CTestTestfile.cmake")
  message(SEND_ERROR "the tests came along")
endif()

# Whoever asks for them gets them on our sources only.
configure(-D VORN_WARNINGS=ON)
expect_no_warning_flags("/Consumer\\.cpp$")
file(READ "${WORK}/compile_commands.json" commands)
if(NOT commands MATCHES "-Werror")
  message(SEND_ERROR "VORN_WARNINGS does nothing")
endif()
