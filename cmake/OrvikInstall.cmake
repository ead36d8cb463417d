# Headers, udev rules, examples, documents, pkg-config files and the CMake package. The libraries install themselves.

include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/orvik DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# Below the prefixes /usr and /usr/local udev finds the rules by itself.
set(ORVIK_UDEV_RULES_DIR lib/udev/rules.d CACHE STRING "Where the udev rules are installed")
install(FILES ${PROJECT_SOURCE_DIR}/udev/70-orvik.rules DESTINATION ${ORVIK_UDEV_RULES_DIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
        FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp" PATTERN "*.h" PATTERN "*.py" PATTERN "README.md")

# With the folders that they have in the sources, so that their links lead somewhere. What the
# headers refer to is among them.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md
              ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR}
        FILES_MATCHING PATTERN "*.md" PATTERN "*.png")

# The prefix can be chosen as late as at the installation, so the files are made then.
foreach(package orvik orvik_sim)
  set(template ${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in)
  set(made ${PROJECT_BINARY_DIR}/${package}.pc)
  install(CODE "
    set(PROJECT_DESCRIPTION \"${PROJECT_DESCRIPTION}\")
    set(PROJECT_VERSION \"${PROJECT_VERSION}\")
    set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
    set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
    configure_file(\"${template}\" \"${made}\" @ONLY)")
  install(FILES ${made} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Orvik)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrvikConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/OrvikConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvikConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(EXPORT OrvikTargets NAMESPACE Orvik:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/OrvikConfig.cmake ${PROJECT_BINARY_DIR}/OrvikConfigVersion.cmake
        DESTINATION ${package_dir})
