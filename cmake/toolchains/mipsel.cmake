# SPDX-License-Identifier: Apache-2.0
# Little-endian 32-bit MIPS: the MT7628 and MT7621 class.
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(AEROLINK_TRIPLET mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
