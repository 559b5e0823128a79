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

# jsondevice_add_library(NAME [SOURCES...] [PUBLIC targets...] [PRIVATE targets...]):
# a shared library lib<Name>.so with the alias JsonDevice::<NAME>.
function(jsondevice_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
  set(target JsonDevice${name})
  add_library(${target} SHARED ${arg_SOURCES})
  add_library(JsonDevice::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  jsondevice_common_settings(${target})
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
