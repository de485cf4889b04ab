# One interface target with the flags that every target of the project shares.
add_library(quillo_flags INTERFACE)
target_include_directories(quillo_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(quillo_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND (CMAKE_BUILD_TYPE STREQUAL "Release" OR QUILLO_SANITIZE))
  # Where GCC 12 optimises std::string it sees accesses that are not there (its bugs 105651, 105329).
  target_compile_options(quillo_flags INTERFACE
    -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
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

find_package(Threads REQUIRED)
target_link_libraries(quillo_flags INTERFACE Threads::Threads)

# A program that runs with a user's rights or more is built hardened.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT QUILLO_SANITIZE)
  target_compile_options(quillo_flags INTERFACE -fstack-protector-strong -D_FORTIFY_SOURCE=2)
  target_link_options(quillo_flags INTERFACE -Wl,-z,relro,-z,now)
endif()
