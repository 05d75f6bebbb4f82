# Cross-compiles for 64-bit Windows with Debian's MinGW-w64. The libraries come from
# scripts/windows-deps; the runtime is linked statically, so that programs need only what Windows has.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Nothing of this machine's own system may be found.
get_filename_component(VORN_WINDOWS_DEPS
  "${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps/prefix" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 "${VORN_WINDOWS_DEPS}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Windows 10, its wide-character interfaces, and printf as the C++ standard has it.
set(CMAKE_CXX_FLAGS_INIT
  "-D_WIN32_WINNT=0x0A00 -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN -D__USE_MINGW_ANSI_STDIO=1 -isystem ${VORN_WINDOWS_DEPS}/include")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

find_program(VORN_WINE NAMES wine64 wine wine64-stable PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(VORN_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${VORN_WINE}")
endif()
