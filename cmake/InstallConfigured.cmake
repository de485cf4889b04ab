# quillo_install_configured(TEMPLATE NAME FOLDER [PROGRAM])
# Installs TEMPLATE as FOLDER/NAME. It is filled in at installation, for that is when the prefix is
# known: @QUILLO_BIN@ and @QUILLO_LIB@ are folders of the installation. FOLDER is relative to the
# prefix; SYSCONF in front stands for the configuration's folder, which is /etc where the prefix is
# /usr, as a distribution's package has it, and else lies within the prefix.
function(quillo_install_configured template name folder)
  set(permissions "OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ")
  if(ARGV3 STREQUAL "PROGRAM")
    string(APPEND permissions " OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE")
  endif()
  get_filename_component(source ${template} ABSOLUTE)
  install(CODE "
    get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
    set(QUILLO_BIN \"\${prefix}/bin\")
    set(QUILLO_LIB \"\${prefix}/lib/vantrel-quillo\")
    set(sysconf \"\${prefix}/etc\")
    if(prefix STREQUAL \"/usr\")
      set(sysconf /etc)
    endif()
    string(REGEX REPLACE \"^SYSCONF\" \"\${sysconf}\" target \"${folder}/${name}\")
    if(NOT IS_ABSOLUTE \"\${target}\")
      set(target \"\${prefix}/\${target}\")
    endif()
    message(STATUS \"Installing: \$ENV{DESTDIR}\${target}\")
    configure_file(\"${source}\" \"\$ENV{DESTDIR}\${target}\" @ONLY FILE_PERMISSIONS ${permissions})
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${target}\")")
endfunction()
