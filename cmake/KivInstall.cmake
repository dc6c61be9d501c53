# What a user of the library installs: headers, both shared libraries, package files, the tool and its manual page.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KivFile)

install(TARGETS Kiv KivFile EXPORT KivFileTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY framework/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN *.h PATTERN CaseTable.h EXCLUDE PATTERN Wait.h EXCLUDE)
install(DIRECTORY include/KivFile DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_BINARY_DIR}/generated/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT KivFileTargets NAMESPACE KivFile:: DESTINATION ${package_dir})
configure_package_config_file(cmake/KivFileConfig.cmake.in ${PROJECT_BINARY_DIR}/KivFileConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KivFileConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KivFileConfig.cmake ${PROJECT_BINARY_DIR}/KivFileConfigVersion.cmake
    DESTINATION ${package_dir})

# The prefix is found from the file's own place, so that an installed tree can be moved.
file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/kivfile.pc.in ${PROJECT_BINARY_DIR}/kivfile.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kivfile.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(KIVFILE_TOOL)
    file(RELATIVE_PATH lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(kivfile PROPERTIES INSTALL_RPATH $ORIGIN/${lib_from_bin})
    install(TARGETS kivfile RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES docs/kivfile.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
set_target_properties(KivFile Kiv PROPERTIES INSTALL_RPATH $ORIGIN)
