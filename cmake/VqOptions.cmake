# Settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release)
endif()

option(VQ_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(VQ_BUILD_BENCH "Build the benchmarks (needs Google Benchmark and the peer libraries)" OFF)
option(VQ_FUZZ "Build the fuzzing by coverage (needs clang)" OFF)
set(VQ_SANITIZE "" CACHE STRING "Sanitizers for every target, for instance 'address,undefined' or 'thread'")

# With paths relative to the sources, so that one clone can use the objects that another clone has compiled.
find_program(VQ_CCACHE ccache)
if(VQ_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1 "${VQ_CCACHE}")
endif()

if(NOT MSVC)
  add_compile_options(-Wall -Wextra -Wpedantic $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
  if(VQ_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
  endif()
endif()
if(VQ_SANITIZE)
  add_compile_options(-fsanitize=${VQ_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${VQ_SANITIZE})
endif()
if(VQ_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(WIN32)
  # Without UNICODE, since it would switch log4cplus to wide texts, and its texts are narrow here. Our code calls the W functions
  # of the system by name.
  add_compile_definitions(_WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN)
  set(VQ_PLATFORM_DIR Windows)
else()
  set(VQ_PLATFORM_DIR Posix)
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
                        QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
