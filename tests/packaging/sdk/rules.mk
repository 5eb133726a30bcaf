# SPDX-License-Identifier: Apache-2.0
# Stands in for an SDK's rules.mk: names of folders and tools, and the user's configuration. Set on the command line:
# TOPDIR (the folder of this file), SOURCE_TREE (the package's unpacked source), OUT (what is made goes there),
# CONFIG (the .config).
include $(CONFIG)

INCLUDE_DIR:=$(TOPDIR)/include
STAGING_DIR:=$(OUT)/staging
BUILD_DIR:=$(OUT)/build
PACKAGE_DIR:=$(OUT)/package

INSTALL_DIR:=install -d -m0755
INSTALL_BIN:=install -m0755
INSTALL_DATA:=install -m0644
CP:=cp -fpR

TARGET_CFLAGS:=-Os -pipe -fno-caller-saves -D_FORTIFY_SOURCE=1 -Wl,-z,now -Wl,-z,relro -ffile-prefix-map=$(OUT)=out
TARGET_CXXFLAGS:=$(TARGET_CFLAGS)
TARGET_LDFLAGS:=-znow -zrelro
