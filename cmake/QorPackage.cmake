# Debian packages by CPack, one for each component of the installation; scripts/package.sh makes
# them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "the libqor developers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime dev tool)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is linked with one version runs with that and later ones.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqor${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "The shared libraries: libqor, and libqor-host with its default platform.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqor-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libqor${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "Headers for C and C++, static libraries, CMake package, pkg-config files, examples.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME qorldp)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION net)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
  "The qorldp tool: shows the pseudowire signalling in packet captures, as text or as JSON.")

include(CPack)
