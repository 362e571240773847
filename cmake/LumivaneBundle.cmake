# lumivane_add_bundle(TARGET NAME "X.ext" DIRECTORY D SOURCES ... [PLIST F] [RESOURCES F...])
#
# Builds a loadable bundle D/X.ext/Contents/{Info.plist,Linux/X,Resources/...} as module TARGET.
# PLIST is a template configured with @LUMIVANE_BUNDLE_EXECUTABLE@ and @PROJECT_VERSION@. The bundle
# is complete when TARGET is built. Its folder is the target property LUMIVANE_BUNDLE.
function(lumivane_add_bundle target)
  cmake_parse_arguments(B "" "NAME;DIRECTORY;PLIST" "SOURCES;RESOURCES" ${ARGN})
  get_filename_component(LUMIVANE_BUNDLE_EXECUTABLE ${B_NAME} NAME_WLE)
  set(contents ${B_DIRECTORY}/${B_NAME}/Contents)
  add_library(${target} MODULE ${B_SOURCES})
  lumivane_target(${target})
  set_target_properties(${target} PROPERTIES
    PREFIX "" SUFFIX ""
    OUTPUT_NAME ${LUMIVANE_BUNDLE_EXECUTABLE}
    LIBRARY_OUTPUT_DIRECTORY ${contents}/Linux
    # A bundle is copied as it is, and runs in a process that has the platform library: no path of
    # the build folder goes along.
    BUILD_WITH_INSTALL_RPATH ON
    LUMIVANE_BUNDLE ${B_DIRECTORY}/${B_NAME})
  if(B_PLIST)
    configure_file(${B_PLIST} ${contents}/Info.plist @ONLY)
  endif()
  foreach(resource IN LISTS B_RESOURCES)
    get_filename_component(name ${resource} NAME)
    configure_file(${resource} ${contents}/Resources/${name} COPYONLY)
  endforeach()
endfunction()

# lumivane_link_whole(TARGET LIBRARY): links every object of a static library of this build into a
# module, used or not, so that the module exports all of it.
function(lumivane_link_whole target library)
  target_link_libraries(${target} PRIVATE ${library})
  target_link_options(${target} PRIVATE
    LINKER:--whole-archive $<TARGET_FILE:${library}> LINKER:--no-whole-archive)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS $<TARGET_FILE:${library}>)
endfunction()
