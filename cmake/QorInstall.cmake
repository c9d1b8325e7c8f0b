# Installation: libraries, headers, CMake package, pkg-config files, the tool and its manual page.

get_property(qor_install_targets GLOBAL PROPERTY qor_install_targets)
install(TARGETS ${qor_install_targets} EXPORT qorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

set(qor_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
install(EXPORT qorTargets NAMESPACE qor:: DESTINATION ${qor_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorConfig.cmake INSTALL_DESTINATION ${qor_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorConfig.cmake ${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${qor_package_dir})

# The way from the pkg-config files up to the prefix: the installed tree may be moved as a whole.
file(RELATIVE_PATH qor_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(name qor qor-host)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(QOR_BUILD_TOOLS)
  install(TARGETS qorldp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/docs/qorldp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
