# The Debian packages: `./dev package`, or cpack in the build folder. One for each component.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumivane)
# Each package's description has its own first line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "The Lumivane developers")
set(CPACK_PACKAGE_CONTACT "The Lumivane developers <maintainers@lumivane.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Not a revision of Debian's own: a later one of theirs counts as newer.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0lumivane1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where the packages' own library lies while they are made; that they depend on its package is said
# below, with the version.
get_target_property(platform_folder lumivane_platform BINARY_DIR)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${platform_folder})
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/WithoutScripts.cmake)
set(CPACK_COMPONENTS_ALL)

# lumivane_package(COMPONENT NAME [SECTION S] [DEPENDS D] [RECOMMENDS R] [SUGGESTS S]
#                  DESCRIPTION "one line" "paragraph"...)
# D names packages of this project, which are wanted in this very version, or others in full.
function(lumivane_package component name)
  cmake_parse_arguments(P "" "SECTION" "DEPENDS;RECOMMENDS;SUGGESTS;DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} upper)
  list(JOIN P_DESCRIPTION "\n" description)
  set(depends)
  foreach(dependency IN LISTS P_DEPENDS)
    if(dependency MATCHES "lumivane" AND NOT dependency MATCHES " ")
      string(APPEND dependency " (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
    endif()
    list(APPEND depends ${dependency})
  endforeach()
  foreach(field DEPENDS RECOMMENDS SUGGESTS)
    set(value "${P_${field}}")
    if(field STREQUAL "DEPENDS")
      set(value "${depends}")
    endif()
    list(JOIN value ", " value)
    set(CPACK_DEBIAN_${upper}_PACKAGE_${field} "${value}" PARENT_SCOPE)
  endforeach()
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  if(P_SECTION)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${P_SECTION} PARENT_SCOPE)
  endif()
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)

  # Each package says for itself what it is under and what has changed.
  set(folder share/doc/${name})
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/debian/copyright DESTINATION ${folder}
    COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
                ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    DESTINATION ${folder} COMPONENT ${component})
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/${name}.overrides)
    install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/debian/${name}.overrides RENAME ${name}
      DESTINATION share/lintian/overrides COMPONENT ${component})
  endif()
endfunction()

find_program(LUMIVANE_GZIP gzip REQUIRED)
foreach(pair "debian/changelog|changelog.Debian" "../CHANGELOG.md|changelog")
  string(REPLACE "|" ";" pair ${pair})
  list(GET pair 0 from)
  list(GET pair 1 to)
  configure_file(${from} ${to} COPYONLY)
  execute_process(COMMAND ${LUMIVANE_GZIP} -9nfk ${CMAKE_CURRENT_BINARY_DIR}/${to}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()

set(about
  "Lumivane brings a live camera, as a picture generator, into programs that"
  "render image filters."
  ".")
lumivane_package(library liblumivane-platform0 SECTION libs
  DESCRIPTION "live camera as a picture generator - platform library" ${about}
  "This package contains the shared library that host programs, the plug-in"
  "and camera components meet in: values, bundles, files, pictures and"
  "filters.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_MULTI_ARCH same)
# The loader's cache is renewed by a trigger, and who links the library depends on this version.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/shlibs
  "liblumivane-platform ${PROJECT_VERSION_MAJOR} liblumivane-platform0 "
  "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/triggers ${CMAKE_CURRENT_BINARY_DIR}/shlibs)
lumivane_package(runtime lumivane-runtime DEPENDS liblumivane-platform0
  RECOMMENDS lumivane-camera-gstreamer
  DESCRIPTION "live camera as a picture generator - filter plug-in" ${about}
  "This package contains the plug-in with the filter CILumivaneInput, and"
  "what programs need to load it. The picture comes from a camera component:"
  "lumivane-camera-gstreamer, or one of your own. Without one, a no-camera"
  "picture is shown.")
lumivane_package(program lumivane DEPENDS liblumivane-platform0 lumivane-runtime
  RECOMMENDS lumivane-camera-gstreamer SUGGESTS lumivane-frei0r gstreamer1.0-lumivane ffmpeg
  DESCRIPTION "live camera as a picture generator - viewer and tools" ${about}
  "This package contains the program: it shows the live picture in a window,"
  "takes snapshots, records, sends the picture on as video or over http,"
  "looks after cameras and their settings, says what does not work and what"
  "to do about it, and runs the toolkit's operations on pictures, video"
  "streams and files. A test pattern comes along for machines without a"
  "camera.")
lumivane_package(camera lumivane-camera-gstreamer DEPENDS lumivane-runtime
  RECOMMENDS gstreamer1.0-plugins-base gstreamer1.0-plugins-good
  SUGGESTS gstreamer1.0-plugins-bad gstreamer1.0-libav lumivane
  DESCRIPTION "live camera as a picture generator - cameras through GStreamer" ${about}
  "This package contains the camera component for real cameras, network"
  "addresses and files: whatever GStreamer has a live source for. A camera"
  "that is unplugged comes back by itself when it is plugged in again.")
if(TARGET lumivane_frei0r)
  lumivane_package(frei0r lumivane-frei0r DEPENDS lumivane-runtime SUGGESTS ffmpeg melt
    DESCRIPTION "live camera as a picture generator - frei0r source" ${about}
  "This package contains the frei0r source 'lumivane' for programs that load"
  "such modules: ffmpeg, melt and the editors that are built on it, and"
  "GStreamer's bridge.")
endif()
if(TARGET lumivane_gstreamer)
  lumivane_package(gstreamer gstreamer1.0-lumivane DEPENDS lumivane-runtime
    DESCRIPTION "live camera as a picture generator - GStreamer element" ${about}
  "This package contains the GStreamer element lumivanesrc.")
endif()
lumivane_package(dev liblumivane-dev SECTION libdevel
  DEPENDS liblumivane-platform0 "libhwy-dev" SUGGESTS lumivane pkg-config cmake
  DESCRIPTION "live camera as a picture generator - development files" ${about}
  "This package contains the headers and libraries for host programs of your"
  "own, the C header that camera components are written with, an example and"
  "the guide.")

# Bundles are copied as folders, so CMake strips nothing in them; and what lies where the loader looks
# anyway needs no search path of its own.
set(program ${LUMIVANE_HOME}/Lumivane.app/Contents)
set(modules
  ${LUMIVANE_HOME}/ImageUnits/CILumivaneInput.plugin/Contents/Linux/CILumivaneInput
  ${LUMIVANE_HOME}/Frameworks/System.framework/Contents/Linux/System
  ${LUMIVANE_HOME}/Frameworks/QuickTime.framework/Contents/Linux/QuickTime
  ${program}/Resources/LumivaneXXX.component/Contents/Linux/LumivaneXXX
  ${program}/Resources/gstreamer/LumivaneXXX.component/Contents/Linux/LumivaneXXX
  ${program}/Resources/gstreamer/LumivaneXXX.component/Contents/Linux/camera-tool)
install(CODE "
  set(root \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  if(CMAKE_INSTALL_DO_STRIP)
    foreach(file ${modules})
      if(EXISTS \"\${root}/\${file}\")
        execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-unneeded \"\${root}/\${file}\"
          COMMAND_ERROR_IS_FATAL ANY)
      endif()
    endforeach()
  endif()
  if(CMAKE_INSTALL_PREFIX MATCHES \"/usr\$\")
    foreach(file ${program}/Linux/lumivane ${LUMIVANE_HOME}/liblumivane-source.so)
      if(EXISTS \"\${root}/\${file}\")
        file(RPATH_REMOVE FILE \"\${root}/\${file}\")
      endif()
    endforeach()
  endif()" ALL_COMPONENTS)

# Everything an installation consists of, without the tests and benchmarks of the same build.
add_custom_target(lumivane_installation)
foreach(target lumivane_platform lumivane_toolkit lumivane_plugin lumivane_system_framework
    lumivane_quicktime_framework lumivane_app lumivane_documents lumivane_gstcamera lumivane_source
    lumivane_frei0r lumivane_gstreamer)
  if(TARGET ${target})
    add_dependencies(lumivane_installation ${target})
  endif()
endforeach()
include(CPack)
