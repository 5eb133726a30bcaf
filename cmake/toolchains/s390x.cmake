# SPDX-License-Identifier: Apache-2.0
# Stands for big-endian MIPS, which Debian has no libraries for.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(AEROLINK_TRIPLET s390x-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
