# SPDX-License-Identifier: Apache-2.0
# The desk's processor with musl.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(AEROLINK_TRIPLET x86_64-linux-gnu)
set(AEROLINK_MUSL musl-x86_64)
set(AEROLINK_CXX_HEADERS /usr/include/c++/12 /usr/include/x86_64-linux-gnu/c++/12)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
