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
  add_compile_options(-fsanitize=${ORVIK_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${ORVIK_SANITIZE})
endif()

if(ORVIK_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# orvik_room(NAME SOURCES... [USES targets...]): one folder of the library as a static library,
# linked into liborvik.so and into the tests.
function(orvik_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE orvik_flags)
endfunction()

# orvik_public_library(NAME MAP): what a shared library for users needs: its soname, the list of
# names that it exports, its headers, and its place in the installation.
function(orvik_public_library name map)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
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
