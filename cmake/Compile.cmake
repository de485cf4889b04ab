# One interface target with the flags that every target of the project shares.
add_library(quillo_flags INTERFACE)
target_include_directories(quillo_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(quillo_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
# Where GCC 12 optimises std::string, std::variant and std::optional it sees accesses that are not there (its bugs
# 105651, 105329, 80635).
set(QUILLO_FALSE_ALARMS "")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(QUILLO_FALSE_ALARMS
    -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread -Wno-maybe-uninitialized)
endif()
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" OR QUILLO_SANITIZE)
  target_compile_options(quillo_flags INTERFACE ${QUILLO_FALSE_ALARMS})
endif()
if(QUILLO_TOGETHER)
  # A name of one file's own is none that a neighbour shadows.
  target_compile_options(quillo_flags INTERFACE -Wno-shadow)
endif()
if(QUILLO_WERROR)
  target_compile_options(quillo_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(quillo_flags INTERFACE -Wthread-safety)
endif()
if(QUILLO_SANITIZE)
  target_compile_options(quillo_flags INTERFACE
    -fsanitize=${QUILLO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(quillo_flags INTERFACE -fsanitize=${QUILLO_SANITIZE})
endif()
# The preset that only has clang read the sources links programs of the build, which have no fuzzer in them.
if(QUILLO_FUZZ AND QUILLO_SANITIZE)
  target_compile_options(quillo_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(QUILLO_COVERAGE)
  # The helper of such a build is of no use: its filter of system calls ends whoever writes counts to a file.
  target_compile_options(quillo_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(quillo_flags INTERFACE --coverage)
endif()

find_package(Threads REQUIRED)
target_link_libraries(quillo_flags INTERFACE Threads::Threads)

include(cmake/Harden.cmake)
