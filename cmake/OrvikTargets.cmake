# What every target of the project shares: language level, warnings, sanitizers.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Debian's Python, for which its packages of modules are made, even if PATH begins with another one.
find_program(Python3_EXECUTABLE python3 PATHS /usr/bin NO_DEFAULT_PATH
             DOC "The Python that the package is built for, and that runs tests")

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_library(orvik_flags INTERFACE)
target_link_libraries(orvik_flags INTERFACE Threads::Threads)
target_compile_options(orvik_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wformat=2
  -Wimplicit-fallthrough -Wundef
  -Werror=switch  # an enumerator that a switch leaves out: see the tables of things that grow
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor;-Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
  $<$<BOOL:${ORVIK_WERROR}>:-Werror>)

if(ORVIK_SANITIZE)
  # With the sanitizers' checks in between g++ does not see that values are set.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(orvik_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
  add_compile_options(-fsanitize=${ORVIK_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${ORVIK_SANITIZE})
endif()

if(ORVIK_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# orvik_headers(NAME HEADERS... [USES targets...] [OPTIONS options...]): headers of other libraries,
# precompiled once. Targets with the same options take them with
# target_precompile_headers(... REUSE_FROM NAME).
function(orvik_headers name)
  cmake_parse_arguments(ARG "" "" "HEADERS;USES;OPTIONS" ${ARGN})
  file(CONFIGURE OUTPUT empty.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/empty.cpp)
  target_link_libraries(${name} PRIVATE ${ARG_USES} orvik_flags)
  target_compile_options(${name} PRIVATE ${ARG_OPTIONS})
  list(TRANSFORM ARG_HEADERS REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
endfunction()

set(ORVIK_STANDARD_HEADERS
  algorithm array atomic chrono cmath condition_variable cstddef cstdint cstring functional limits
  map memory mutex optional span string string_view thread utility vector)
orvik_headers(orvik_standard_headers HEADERS ${ORVIK_STANDARD_HEADERS})

# What a Release build gives to code whose speed does not matter, for it to be compiled sooner.
set(ORVIK_LIGHT $<$<CONFIG:Release>:-O1>)

# orvik_unity(TARGET SOURCES...): compiles these sources of the target as one, which saves the
# reading of their headers and the code of inline functions that each would have for itself. Their
# names without linkage must differ. Builds that look at single files switch it off: ORVIK_UNITY.
function(orvik_unity target)
  if(NOT ORVIK_UNITY)
    return()
  endif()
  list(GET ARGN 0 group)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
endfunction()

# orvik_room(NAME SOURCES... [USES targets...]): one folder of the library as a static library,
# linked into liborvik.so and into the tests.
function(orvik_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE orvik_flags)
  target_precompile_headers(${name} REUSE_FROM orvik_standard_headers)
endfunction()

# orvik_finds_libraries(TARGET FOLDER): installed in that folder below the prefix, the target finds
# the project's libraries wherever the prefix is.
function(orvik_finds_libraries target folder)
  file(RELATIVE_PATH way /prefix/${folder} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
endfunction()

# orvik_public_library(NAME MAP): what a shared library for users needs: its soname, the list of
# names that it exports, its headers, and its place in the installation.
function(orvik_public_library name map)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH $ORIGIN
    LINK_DEPENDS ${map})
  target_link_options(${name} PRIVATE -Wl,--version-script=${map})
  # Threads of an open camera run in the library: dlclose() must not take it from under them.
  target_link_options(${name} PRIVATE -Wl,-z,nodelete)
  if(NOT ORVIK_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS ${name} EXPORT OrvikTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
