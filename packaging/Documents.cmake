# The manual and the completions, written by the program that was just built, and the desktop's files.
find_program(LUMIVANE_GZIP gzip REQUIRED)
set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
add_custom_command(OUTPUT ${documents}/stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${documents}
  # The program makes a folder for its log when it starts: not in the home of whoever builds.
  COMMAND ${CMAKE_COMMAND} -E env HOME=${documents}/home --unset=XDG_STATE_HOME
          ${CMAKE_CURRENT_SOURCE_DIR}/write-documents $<TARGET_FILE:lumivane> ${documents}
  COMMAND ${CMAKE_COMMAND} -E touch ${documents}/stamp
  DEPENDS lumivane lumivane_app ${CMAKE_CURRENT_SOURCE_DIR}/write-documents
  VERBATIM)
add_custom_target(lumivane_documents ALL DEPENDS ${documents}/stamp)

install(DIRECTORY ${documents}/man1 DESTINATION share/man COMPONENT program)
install(FILES ${documents}/bash/lumivane
  DESTINATION share/bash-completion/completions COMPONENT program)
install(FILES ${documents}/zsh/_lumivane DESTINATION share/zsh/vendor-completions COMPONENT program)
install(FILES ${documents}/fish/lumivane.fish
  DESTINATION share/fish/vendor_completions.d COMPONENT program)

configure_file(desktop/org.lumivane.Lumivane.metainfo.xml.in org.lumivane.Lumivane.metainfo.xml @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/org.lumivane.Lumivane.metainfo.xml
  DESTINATION share/metainfo COMPONENT program)
install(FILES desktop/org.lumivane.Lumivane.desktop
  DESTINATION share/applications COMPONENT program)
install(FILES desktop/lumivane.svg DESTINATION share/icons/hicolor/scalable/apps COMPONENT program)
foreach(size 16 22 24 32 48 64 128 256 512)
  install(FILES desktop/icons/${size}.png RENAME lumivane.png
    DESTINATION share/icons/hicolor/${size}x${size}/apps COMPONENT program)
endforeach()
