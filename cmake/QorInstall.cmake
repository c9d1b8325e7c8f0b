# Installation in three components: "runtime" (the shared libraries), "dev" (headers, static
# libraries, CMake package, pkg-config files, documentation, examples) and "tool" (qorldp).
# QorPackage.cmake makes one Debian package of each.

set(qor_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
# The way from the pkg-config files up to the prefix: the installed tree may be moved as a whole.
file(RELATIVE_PATH qor_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

# qor_install(COMPONENT PKG_CONFIG_FILE): one component of find_package(qor)
function(qor_install component pc_file)
  get_property(targets GLOBAL PROPERTY qor_install_${component})
  install(TARGETS ${targets} EXPORT qor-${component}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  install(EXPORT qor-${component} NAMESPACE qor:: DESTINATION ${qor_package_dir} COMPONENT dev)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc_file}.in ${PROJECT_BINARY_DIR}/${pc_file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc_file}
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()

qor_install(qor qor.pc)
qor_install(host qor-host.pc)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorConfig.cmake INSTALL_DESTINATION ${qor_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorConfig.cmake ${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${qor_package_dir} COMPONENT dev)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qor COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/docs/libqor.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3
  COMPONENT dev)

if(QOR_BUILD_TOOLS)
  install(TARGETS qorldp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/qorldp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT tool)
endif()
