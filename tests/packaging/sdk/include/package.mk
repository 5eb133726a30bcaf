# SPDX-License-Identifier: Apache-2.0
# Stands in for an SDK's package.mk: takes the package's source as unpacked, builds it and makes the package's folder.
ifneq ($(words $(PKG_NAME) $(PKG_VERSION) $(PKG_RELEASE)),3)
  $(error PKG_NAME, PKG_VERSION and PKG_RELEASE belong before package.mk)
endif

PKG_BUILD_DIR:=$(BUILD_DIR)/$(PKG_NAME)-$(PKG_VERSION)
PKG_INSTALL_DIR:=$(PKG_BUILD_DIR)/ipkg-install

# Of what a recipe can state, all that this one might.
PKG_FIELDS:=PKG_NAME PKG_VERSION PKG_RELEASE PKG_SOURCE PKG_SOURCE_URL PKG_HASH PKG_MAINTAINER PKG_LICENSE \
	PKG_LICENSE_FILES PKG_BUILD_DEPENDS PKG_CONFIG_DEPENDS
PACKAGE_FIELDS:=SECTION CATEGORY SUBMENU TITLE URL DEPENDS
$(foreach field,$(PKG_FIELDS) $(PACKAGE_FIELDS),$(eval $(field)?=))

define BuildPackage
  $(eval $(Package/$(1)))
  fields:
	$$(foreach field,$(PKG_FIELDS) $(PACKAGE_FIELDS),$$(info $$(field)=$$(strip $$($$(field)))))
	@:

  description:
	$$(info $$(Package/$(1)/description))
	@:

  compile:
	$$(Build/Configure)
	$$(Build/Compile)
	$$(Build/Install)
	$$(call Build/InstallDev,$$(STAGING_DIR))
	$$(call Package/$(1)/install,$$(PACKAGE_DIR))
endef
