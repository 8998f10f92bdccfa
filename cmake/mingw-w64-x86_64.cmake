# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (POSIX thread model, so that
# std::thread and std::mutex exist). Libraries are looked up only in the mingw sysroot and in the
# Windows dependency prefix built by scripts/windows-deps.sh (VORLA_WINDOWS_DEPS, default
# build/windows-deps), never on the build machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

if(NOT VORLA_WINDOWS_DEPS)
  if(DEFINED ENV{VORLA_WINDOWS_DEPS})
    set(VORLA_WINDOWS_DEPS $ENV{VORLA_WINDOWS_DEPS})
  else()
    get_filename_component(VORLA_WINDOWS_DEPS "${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps" ABSOLUTE)
  endif()
endif()
# try_compile projects see the same toolchain and prefix.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VORLA_WINDOWS_DEPS)

set(CMAKE_FIND_ROOT_PATH /usr/${triple} ${VORLA_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config answers for the prefix only.
set(ENV{PKG_CONFIG_LIBDIR} ${VORLA_WINDOWS_DEPS}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")

# Tests run under Wine when the build machine is not Windows.
if(NOT CMAKE_HOST_WIN32)
  find_program(VORLA_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
  if(VORLA_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${VORLA_WINE})
  endif()
endif()
