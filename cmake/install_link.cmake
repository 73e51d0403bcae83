# vestra_install_link(DIR NAME TARGET): installs the symbolic link DIR/NAME
# pointing to TARGET. DIR is relative to the installation prefix (or
# absolute); DESTDIR is honoured and the link is recorded in the install
# manifest.
function(vestra_install_link dir name target)
  if(IS_ABSOLUTE "${dir}")
    set(base "${dir}")
  else()
    set(base "\${CMAKE_INSTALL_PREFIX}/${dir}")
  endif()
  install(CODE "
    set(vestra_link \"\$ENV{DESTDIR}${base}/${name}\")
    message(STATUS \"Installing: \${vestra_link} -> ${target}\")
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}${base}\")
    file(CREATE_LINK \"${target}\" \"\${vestra_link}\" SYMBOLIC)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${vestra_link}\")
  ")
endfunction()
