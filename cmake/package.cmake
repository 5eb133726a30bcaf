# SPDX-License-Identifier: Apache-2.0
# The kit's tools as a Debian package: cpack -G DEB in the build folder. The component "kit" alone goes in.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL kit)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME aerolink)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_KIT_PACKAGE_NAME aerolink-kit)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The aerolink developers <maintainers@aerolink.example>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://aerolink.example/)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_KIT_DESCRIPTION "Says what a push of settings to aerolink routers would do
 The command aerolink rehearses requests to the management API of aerolink
 routers, without a router: on every model, on one device, or on a fleet.")
# The libraries are found out, those that the package brings itself left aside. What runs in Python, and in what of it,
# cannot be.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/devkit/rehearsal/placeholder)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3 (>= 3.11), python3-yaml")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "man-db, bash-completion, zstd")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS python3-distributed)
include(CPack)
