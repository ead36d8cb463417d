# For scripts/abi.sh: libraries of the published interface alone, with debug information. All that is
# published is defined in a few files; what those call is left open. So this costs two dozen files
# instead of all.

# orvik_abi_library(NAME MAP PUBLIC_NAME OBJECTS_OR_SOURCES...)
function(orvik_abi_library name map public_name)
  add_library(${name} SHARED ${ARGN})
  set_target_properties(${name} PROPERTIES
    OUTPUT_NAME ${public_name}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/abi)
  target_include_directories(${name} PRIVATE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_options(${name} PRIVATE -Wl,--version-script=${map})
endfunction()

# Of a class whose members are defined in several files abidw describes those of one only.
set_target_properties(orvik_classes PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)

orvik_abi_library(orvik_abi ${PROJECT_SOURCE_DIR}/src/api/orvik.map orvik
  $<TARGET_OBJECTS:orvik_api> $<TARGET_OBJECTS:orvik_classes>)
orvik_abi_library(orvik_sim_abi ${PROJECT_SOURCE_DIR}/sim/liborvik_sim.map orvik_sim
  ${PROJECT_SOURCE_DIR}/sim/c_interface.cpp)
