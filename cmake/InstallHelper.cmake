# Run by `cmake --install`, with QUILLO_HELPER_BUILT and QUILLO_INSTALL_HELPER set: puts the helper in
# its place. A helper that is set-user-ID root stays so, or the installation ends with the reason; a
# link in its place is never written through.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(place "${prefix}/lib/vantrel-quillo")
set(helper "${place}/gfslogger")
set(target "$ENV{DESTDIR}${helper}")

# stat(1) FORMAT of PATH, behind links; empty when nothing is there.
function(quillo_stat format path result)
  execute_process(COMMAND stat -L -c "${format}" "${path}"
    OUTPUT_VARIABLE facts OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  set(${result} "${facts}" PARENT_SCOPE)
endfunction()

execute_process(COMMAND id -u OUTPUT_VARIABLE user OUTPUT_STRIP_TRAILING_WHITESPACE)
quillo_stat("%u %a" "${target}" rights)
set(permissions OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
  WORLD_EXECUTE)
set(done FALSE)

if(NOT "$ENV{DESTDIR}" STREQUAL "")
  # A packager's: whoever installs the package gives the rights, unless the packager did already.
  if(rights MATCHES "^0 4[0-7][0-7][0-7]$")
    list(APPEND permissions SETUID)
  endif()
else()
  set(reason "only root can make it so")
  if(user EQUAL 0)
    file(SHA256 "${QUILLO_HELPER_BUILT}" digest)
    # Whoever built it could have put anything into these scripts, too, and is trusted by who runs
    # them; nobody else is.
    quillo_stat("%u" "${QUILLO_HELPER_BUILT}" builder)
    execute_process(
      COMMAND "${QUILLO_INSTALL_HELPER}" "${QUILLO_HELPER_BUILT}" ${digest} ${builder} "${helper}"
      RESULT_VARIABLE status ERROR_VARIABLE reason ERROR_STRIP_TRAILING_WHITESPACE)
    if(status EQUAL 0)
      message(STATUS "Installing: ${helper} (set-user-ID root)")
      list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${helper}")
      set(done TRUE)
    endif()
    string(REGEX REPLACE "^The helper is not installed: " "" reason "${reason}")
  endif()
  if(NOT done AND rights MATCHES "^0 4[0-7][0-7][0-7]$")
    file(SHA256 "${target}" there)
    file(SHA256 "${QUILLO_HELPER_BUILT}" digest)
    if(there STREQUAL digest)
      message(STATUS "Up-to-date: ${helper} (set-user-ID root)")
    elseif(IS_SYMLINK "${target}")
      message(WARNING "${helper} leads to a helper of another build, which is set-user-ID root and "
        "stays: ${reason}")
    else()
      message(FATAL_ERROR "${helper} is set-user-ID root and is left as it was: ${reason}")
    endif()
    set(done TRUE)
  endif()
endif()

if(NOT done)
  if(IS_SYMLINK "${target}")
    file(REMOVE "${target}")
  endif()
  file(INSTALL DESTINATION "${place}" TYPE FILE PERMISSIONS ${permissions}
    FILES "${QUILLO_HELPER_BUILT}")
  if("$ENV{DESTDIR}" STREQUAL "")
    message(STATUS "It is not set-user-ID root (${reason}): the agent will ask an administrator "
      "for that")
  endif()
endif()
