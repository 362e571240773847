# The installation and the packages are tested as somebody else uses them.
set(checks ${CMAKE_CURRENT_SOURCE_DIR}/checks)
set(prefix ${CMAKE_BINARY_DIR}/install-test)
set(installed ${checks}/with-installation ${prefix})
add_test(NAME package/remove-old COMMAND ${CMAKE_COMMAND} -E rm -rf ${prefix})
add_test(NAME package/install
  COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --prefix ${prefix})
set_tests_properties(package/install PROPERTIES FIXTURES_SETUP installation
  DEPENDS package/remove-old FIXTURES_REQUIRED clean)
set_tests_properties(package/remove-old PROPERTIES FIXTURES_SETUP clean)
add_test(NAME package/consumer
  COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${CMAKE_CURRENT_SOURCE_DIR}/consumer
          ${CMAKE_BINARY_DIR}/consumer-test --build-generator ${CMAKE_GENERATOR}
          --build-options -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
          --test-command ${CMAKE_BINARY_DIR}/consumer-test/consumer)
add_test(NAME package/pkg-config
  COMMAND ${installed} ${CMAKE_BINARY_DIR}/package-test/pkg-config
          ${checks}/pkg-config-consumer ${CMAKE_CURRENT_SOURCE_DIR}/consumer/main.cpp)
add_test(NAME package/program
  COMMAND ${installed} ${CMAKE_BINARY_DIR}/package-test/program lumivane attributes --json)
set_tests_properties(package/program PROPERTIES
  PASS_REGULAR_EXPRESSION "\"CIAttributeDefault\": 0.5")
# A camera component of somebody else's, from the installed header alone.
add_test(NAME package/component-guide
  COMMAND ${installed} ${CMAKE_BINARY_DIR}/package-test/component
          ${checks}/follow-guide ${PROJECT_SOURCE_DIR}/docs/writing-a-component.md)
add_test(NAME package/desktop COMMAND ${checks}/desktop-files ${prefix})
set_tests_properties(package/consumer package/pkg-config package/program package/component-guide
  package/desktop PROPERTIES FIXTURES_REQUIRED installation TIMEOUT 300)

find_program(LUMIVANE_DPKG_DEB dpkg-deb)
if(LUMIVANE_DPKG_DEB)
  add_test(NAME package/packages-made
    COMMAND ${CMAKE_CPACK_COMMAND} --config ${CMAKE_BINARY_DIR}/CPackConfig.cmake
            -B ${CMAKE_BINARY_DIR}/package-test/packages)
  set_tests_properties(package/packages-made PROPERTIES FIXTURES_SETUP packages)
  add_test(NAME package/packages
    COMMAND ${checks}/packages ${CMAKE_BINARY_DIR}/package-test/packages
            ${CMAKE_BINARY_DIR}/package-test/root)
  add_test(NAME package/lintian
    COMMAND ${checks}/lintian ${CMAKE_BINARY_DIR}/package-test/packages)
  set_tests_properties(package/packages-made package/packages package/lintian PROPERTIES TIMEOUT 600)
  set_tests_properties(package/packages package/lintian PROPERTIES FIXTURES_REQUIRED packages)
  # Both lay the build's files out anew.
  set_tests_properties(package/packages-made package/install PROPERTIES RESOURCE_LOCK installing)
endif()
set_tests_properties(package/pkg-config package/component-guide package/desktop
  PROPERTIES SKIP_RETURN_CODE 77)
if(LUMIVANE_DPKG_DEB)
  set_tests_properties(package/packages package/lintian PROPERTIES SKIP_RETURN_CODE 77)
endif()
