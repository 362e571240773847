# Run by cpack when the packages are made. It gives each that has a library scripts that call ldconfig,
# which a trigger does where there is need, and has no switch for that: they are taken out again.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
  file(REMOVE_RECURSE ${unpacked})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${unpacked} COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS ${unpacked}/DEBIAN/postinst)
    continue()
  endif()
  file(REMOVE ${unpacked}/DEBIAN/postinst ${unpacked}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${unpacked} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
