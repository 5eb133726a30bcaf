# SPDX-License-Identifier: Apache-2.0
# 32-bit ARM with hardware floating point: armv7.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(AEROLINK_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
