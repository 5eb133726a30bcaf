# SPDX-License-Identifier: Apache-2.0
# Stands in for an SDK's cmake.mk: the steps of a package that is built with CMake.
CMAKE_OPTIONS:=

define Build/Configure
	CFLAGS="$(TARGET_CFLAGS)" CXXFLAGS="$(TARGET_CXXFLAGS)" LDFLAGS="$(TARGET_LDFLAGS)" \
	cmake -S $(SOURCE_TREE) -B $(PKG_BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
		$(CMAKE_OPTIONS)
endef

define Build/Compile
	cmake --build $(PKG_BUILD_DIR)
endef

define Build/Install
	$(if $(CMAKE_INSTALL),,$(error the recipe does not ask for the install rules with CMAKE_INSTALL))
	DESTDIR=$(PKG_INSTALL_DIR) cmake --install $(PKG_BUILD_DIR)
endef
