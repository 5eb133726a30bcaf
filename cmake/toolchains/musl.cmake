# SPDX-License-Identifier: Apache-2.0
# musl and json-c, built by devkit/targets with Debian's compiler. The including file sets AEROLINK_TRIPLET,
# AEROLINK_MUSL (the folder of its C library), AEROLINK_CXX_HEADERS and CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Linux)
cmake_path(SET AEROLINK_SYSROOT NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../../build/targets/sysroot/${AEROLINK_MUSL})
if(NOT EXISTS ${AEROLINK_SYSROOT}/lib/musl-gcc.specs)
    message(FATAL_ERROR "There is no C library in ${AEROLINK_SYSROOT}: devkit/targets ${AEROLINK_MUSL} builds it")
endif()

# C++ with the C driver: what g++ adds at link time belongs to another C library.
set(CMAKE_C_COMPILER ${AEROLINK_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${AEROLINK_TRIPLET}-gcc)
set(CMAKE_C_FLAGS_INIT "-specs=${AEROLINK_SYSROOT}/lib/musl-gcc.specs")
# The specs hide the compiler's own headers, C++ ones included, and those ask for glibc's version and a type of its own.
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} '-D__GLIBC_PREREQ(major,minor)=0' -D__locale_t=locale_t")
foreach(folder ${AEROLINK_CXX_HEADERS})
    string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${folder}")
endforeach()
# Programs find json-c where it lies.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath,${AEROLINK_SYSROOT}/lib")

set(CMAKE_STRIP ${AEROLINK_TRIPLET}-strip)
set(CMAKE_READELF ${AEROLINK_TRIPLET}-readelf)
set(CMAKE_FIND_ROOT_PATH ${AEROLINK_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${AEROLINK_SYSROOT}/lib/pkgconfig)
