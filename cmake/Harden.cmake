# Programs that run with a user's rights or more are built hardened: all of them in every optimised
# build, the helper, which has root's, in all. What a compiler lacks is left out;
# packaging/check-hardening reads what came of it.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()

set(QUILLO_HARDEN_COMPILE -fstack-protector-strong)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(control_flow -mbranch-protection=standard)
else()
  set(control_flow -fcf-protection=full)
endif()
foreach(flag -fstack-clash-protection ${control_flow})
  string(MAKE_C_IDENTIFIER "QUILLO_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    list(APPEND QUILLO_HARDEN_COMPILE ${flag})
  endif()
endforeach()
set(QUILLO_HARDEN_DEFINE -D_GLIBCXX_ASSERTIONS)
set(QUILLO_HARDEN_LINK -Wl,-z,relro,-z,now,-z,noexecstack)

# _FORTIFY_SOURCE works on optimised code only, and gets in the way of sanitizers. A packager's own
# choice stands.
string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
set(flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}}")
set(QUILLO_OPTIMISED OFF)
if(flags MATCHES "-O([1-9sgz]|fast)")
  set(QUILLO_OPTIMISED ON)
endif()
set(QUILLO_HARDEN_FORTIFY "")
if(NOT QUILLO_SANITIZE AND NOT flags MATCHES "_FORTIFY_SOURCE")
  # glibc's headers know the third level since 2.34; both compilers need the same builtin for it.
  set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("
    #include <features.h>
    #if __USE_FORTIFY_LEVEL < 3
    #error no third level
    #endif
    int main(int, char** v) { return static_cast<int>(__builtin_dynamic_object_size(v, 0)); }"
    QUILLO_HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  if(QUILLO_HAS_FORTIFY_3)
    set(QUILLO_HARDEN_FORTIFY -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  else()
    set(QUILLO_HARDEN_FORTIFY -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
endif()

if(QUILLO_OPTIMISED AND NOT QUILLO_SANITIZE)
  target_compile_options(quillo_flags INTERFACE
    ${QUILLO_HARDEN_COMPILE} ${QUILLO_HARDEN_DEFINE} ${QUILLO_HARDEN_FORTIFY})
  target_link_options(quillo_flags INTERFACE ${QUILLO_HARDEN_LINK})
endif()

# quillo_harden(TARGET): whatever the build. Without optimisation nothing could be fortified.
function(quillo_harden target)
  target_compile_options(${target} PRIVATE ${QUILLO_HARDEN_COMPILE} ${QUILLO_HARDEN_DEFINE})
  if(NOT QUILLO_SANITIZE)
    if(NOT QUILLO_OPTIMISED)
      target_compile_options(${target} PRIVATE -O2 ${QUILLO_FALSE_ALARMS})
    endif()
    target_compile_options(${target} PRIVATE ${QUILLO_HARDEN_FORTIFY})
  endif()
  target_link_options(${target} PRIVATE ${QUILLO_HARDEN_LINK})
endfunction()

# The target check-hardening reads the programs that have to be hardened in this build, whose list is
# left in QUILLO_HARDENED for a test.
function(quillo_check_hardening)
  set(programs gfslogger)
  if(QUILLO_OPTIMISED)
    list(APPEND programs clamdscan newsyslog vantrel-engine-tree engine-launcher)
    if(QUILLO_DESKTOP)
      list(APPEND programs vantrel-quillo)
    endif()
  endif()
  set(files "")
  foreach(program IN LISTS programs)
    list(APPEND files $<TARGET_FILE:${program}>)
  endforeach()
  add_custom_target(check-hardening
    COMMAND ${PROJECT_SOURCE_DIR}/packaging/check-hardening ${files} VERBATIM)
  add_dependencies(check-hardening ${programs})
  set(QUILLO_HARDENED ${files} PARENT_SCOPE)
endfunction()
