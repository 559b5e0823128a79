# What makes an installed tree a package for CMake and for pkg-config, and Debian packages of it.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/JsonDevice)
install(EXPORT JsonDeviceTargets NAMESPACE JsonDevice:: DESTINATION ${packageFolder} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/JsonDeviceConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/JsonDeviceConfig.cmake INSTALL_DESTINATION ${packageFolder})
# Before 1.0 a new minor version may change interfaces.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/JsonDeviceConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/JsonDeviceConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/JsonDeviceConfigVersion.cmake
        DESTINATION ${packageFolder} COMPONENT development)

# Relative to the file itself, so that an installed tree may be moved.
file(RELATIVE_PATH pkgConfigToPrefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pkgConfigToPrefix "${pkgConfigToPrefix}")
foreach(file jsondevice jsondevice-simulator)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${file}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${file}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${file}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The JsonDevice developers <jsondevice@localhost>")
set(CPACK_PACKAGE_HOMEPAGE_URL "")
set(CPACK_COMPONENTS_ALL library development tools simulator)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/FinishPackages.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# jsondevice_package(COMPONENT NAME SECTION DEPENDS DESCRIPTION); the project's description is the summary of all.
macro(jsondevice_package component name section depends description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
endmacro()

# The packages of one build belong together.
set(library libjsondevice${PROJECT_VERSION_MAJOR})
set(same "(= ${PROJECT_VERSION})")
jsondevice_package(library ${library} libs ""
"Adapters for the device interfaces of a warping, blending and calibration
application, with a TCP transport. This package has the shared library.")
jsondevice_package(development libjsondevice-dev libdevel
  "${library} ${same}, jsondevice-simulator ${same}, libjsoncpp-dev"
"This package has the headers, and what CMake and pkg-config need to find the
library and the simulated projector.")
jsondevice_package(tools jsondevice-tools utils "${library} ${same}"
"This package has jsondevice, which calls any operation of a projector, and
shows its status, from a terminal or a script.")
jsondevice_package(simulator jsondevice-simulator utils "${library} ${same}"
"This package has a simulated projector, as a program and as a library that
runs it inside another. It behaves as a projector does, and can be told to
misbehave.")
include(CPack)
