# The settings that every target of the project shares, said once.

# jsondevice_common_settings(TARGET): language, include root, sanitizers.
function(jsondevice_common_settings target)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/JsonDevice>)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # Unique symbols would keep the library in memory after it was unloaded.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  # Marshallers have no virtual destructor, and the registry deletes each by its own type.
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:Clang>:-Wno-delete-non-abstract-non-virtual-dtor>)
  # What is defined in single precision is computed so: no product is fused with a
  # sum, whichever instruction set a part is compiled for.
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  # GCC 12 sees overlapping memory in `"literal" + std::string()` where there is none (GCC bug 105651).
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(JSONDEVICE_SANITIZE)
    target_compile_options(${target} PUBLIC $<BUILD_INTERFACE:-fsanitize=${JSONDEVICE_SANITIZE}>
                           PRIVATE -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC $<BUILD_INTERFACE:-fsanitize=${JSONDEVICE_SANITIZE}>)
  endif()
endfunction()

# jsondevice_install_headers([INTERNAL names...]): installs the folder's headers
# under the path by which they are included, except those named and those of
# no use outside (*-inl.h).
function(jsondevice_install_headers)
  if(NOT JSONDEVICE_INSTALL)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "INTERNAL")
  file(GLOB headers CONFIGURE_DEPENDS *.h *.def *.inc)
  list(FILTER headers EXCLUDE REGEX "-inl\\.h$")
  list(TRANSFORM arg_INTERNAL PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(REMOVE_ITEM headers ${arg_INTERNAL})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/JsonDevice/${folder} COMPONENT development)
endfunction()

# jsondevice_shared_library(TARGET COMPONENT): what every shared library of the
# project has: a version, only its own symbols, a place in the installed package.
function(jsondevice_shared_library target component)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/HiddenSymbols.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/HiddenSymbols.map)
  jsondevice_common_settings(${target})
  if(JSONDEVICE_INSTALL)
    install(TARGETS ${target} EXPORT JsonDeviceTargets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT development)
  endif()
endfunction()

# jsondevice_install_program(TARGET COMPONENT)
function(jsondevice_install_program target component)
  if(JSONDEVICE_INSTALL)
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
  endif()
endfunction()

# jsondevice_add_library(NAME [SOURCES...] [PUBLIC targets...] [PRIVATE targets...]
# [COMPONENT name]): a shared library libJsonDevice<Name>.so with the alias
# JsonDevice::<NAME>, installed with the component given or else "library".
function(jsondevice_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT" "SOURCES;PUBLIC;PRIVATE")
  if(NOT arg_COMPONENT)
    set(arg_COMPONENT library)
  endif()
  set(target JsonDevice${name})
  add_library(${target} SHARED ${arg_SOURCES})
  add_library(JsonDevice::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  jsondevice_shared_library(${target} ${arg_COMPONENT})
  target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
endfunction()

# jsondevice_add_test(NAME SOURCES... [LIBRARIES targets...]): a GoogleTest
# program; each of its tests is a test of its own for ctest, so that none
# depends on what another left behind in the process. ctest -L NAME runs those
# of one program.
function(jsondevice_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  jsondevice_common_settings(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock_main rapidcheck Threads::Threads)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 300 LABELS ${name})
endfunction()
