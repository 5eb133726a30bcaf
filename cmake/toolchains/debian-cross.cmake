# SPDX-License-Identifier: Apache-2.0
# A Debian cross compiler with multi-arch libraries. The including file sets AEROLINK_TRIPLET and
# CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${AEROLINK_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${AEROLINK_TRIPLET}-g++)
set(CMAKE_STRIP ${AEROLINK_TRIPLET}-strip)
set(CMAKE_READELF ${AEROLINK_TRIPLET}-readelf)
set(CMAKE_LIBRARY_ARCHITECTURE ${AEROLINK_TRIPLET})
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${AEROLINK_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
