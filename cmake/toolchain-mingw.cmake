# Cross build for Windows x64 with MinGW-w64 and the dependencies that tools/windows/sysroot built.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_AR x86_64-w64-mingw32-gcc-ar-posix)
set(CMAKE_RANLIB x86_64-w64-mingw32-gcc-ranlib-posix)

# CMake's trial compilations read this file again, without the cache. The environment passes the path to them.
if(NOT VQ_WINDOWS_SYSROOT AND DEFINED ENV{VQ_WINDOWS_SYSROOT})
  set(VQ_WINDOWS_SYSROOT "$ENV{VQ_WINDOWS_SYSROOT}")
endif()
if(NOT VQ_WINDOWS_SYSROOT)
  execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../tools/windows/sysroot" --path
    OUTPUT_VARIABLE VQ_WINDOWS_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status ERROR_QUIET)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "The Windows dependencies are not built yet: run tools/windows/sysroot first.")
  endif()
endif()
set(ENV{VQ_WINDOWS_SYSROOT} "${VQ_WINDOWS_SYSROOT}")

set(CMAKE_FIND_ROOT_PATH "${VQ_WINDOWS_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run under Wine.
get_filename_component(vq_run "${CMAKE_CURRENT_LIST_DIR}/../tools/windows/run" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${vq_run}" --fresh --sysroot "${VQ_WINDOWS_SYSROOT}")
