# What `cmake --install` puts in place: the programs, their man pages, the documents, the headers and a CMake package that
# offers each library as Selvane::NAME. The libraries themselves are installed where they are defined.

include(CMakePackageConfigHelpers)

set(SELVANE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Selvane)

foreach(program selvane selvane-fit)
    if(TARGET ${program})
        install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/docs/selvane.1 ${PROJECT_SOURCE_DIR}/docs/selvane-fit.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} # where README's links expect it
    FILES_MATCHING PATTERN "*.md" PATTERN "*.json" PATTERN "*.png" PATTERN "*.svg")

install(DIRECTORY ${PROJECT_SOURCE_DIR}/Libraries/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/selvane
    FILES_MATCHING PATTERN "*.h" PATTERN "tests" EXCLUDE)

install(EXPORT SelvaneTargets NAMESPACE Selvane:: DESTINATION ${SELVANE_PACKAGE_DIR})
# With the bin of a build folder in PATH, find_package looks into that folder. What lies at its top would be found there,
# without targets, before an installation.
set(SELVANE_CONFIG_DIR ${PROJECT_BINARY_DIR}/package)
file(REMOVE ${PROJECT_BINARY_DIR}/SelvaneConfig.cmake ${PROJECT_BINARY_DIR}/SelvaneConfigVersion.cmake)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/SelvaneConfig.cmake.in
    ${SELVANE_CONFIG_DIR}/SelvaneConfig.cmake INSTALL_DESTINATION ${SELVANE_PACKAGE_DIR})
write_basic_package_version_file(${SELVANE_CONFIG_DIR}/SelvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${SELVANE_CONFIG_DIR}/SelvaneConfig.cmake ${SELVANE_CONFIG_DIR}/SelvaneConfigVersion.cmake
    DESTINATION ${SELVANE_PACKAGE_DIR})
