# SPDX-License-Identifier: Apache-2.0
# Little-endian 32-bit MIPS with musl: the MT7628 and MT7621 class as it ships.
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(AEROLINK_TRIPLET mipsel-linux-gnu)
set(AEROLINK_MUSL musl-mipsel)
set(AEROLINK_CXX_HEADERS /usr/mipsel-linux-gnu/include/c++/12 /usr/mipsel-linux-gnu/include/c++/12/mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
