# SPDX-License-Identifier: Apache-2.0
# The plug-in. Its code is C++, but it is linked with the C driver and needs no C++ runtime.

# The load balancers of the six server zones: a property of the deployment, 1 to 63 characters each.
set(AEROLINK_HOST_EUROPE "europe.lb.aerolink.example" CACHE STRING "Load balancer of the Europe zone")
set(AEROLINK_HOST_AMERICA "america.lb.aerolink.example" CACHE STRING "Load balancer of the America zone")
set(AEROLINK_HOST_ASIA_PACIFIC "asia-pacific.lb.aerolink.example" CACHE STRING "Load balancer of the Asia Pacific zone")
set(AEROLINK_HOST_CHINA "china.lb.aerolink.example" CACHE STRING "Load balancer of the China zone")
set(AEROLINK_HOST_TEST "test.lb.aerolink.example" CACHE STRING "Load balancer for tests")
set(AEROLINK_HOST_DEVELOPMENT "development.lb.aerolink.example" CACHE STRING "Load balancer for development")

set(AEROLINK_HOSTS "")
foreach(zone EUROPE AMERICA ASIA_PACIFIC CHINA TEST DEVELOPMENT)
    string(LENGTH "${AEROLINK_HOST_${zone}}" length)
    if(length LESS 1 OR length GREATER 63)
        message(FATAL_ERROR "AEROLINK_HOST_${zone} must have 1 to 63 characters, it has ${length}")
    endif()
    list(APPEND AEROLINK_HOSTS "AEROLINK_HOST_${zone}=\"${AEROLINK_HOST_${zone}}\"")
endforeach()

file(GLOB AEROLINK_SOURCES CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/plugin/*.cpp ${PROJECT_SOURCE_DIR}/cloud/*.cpp ${PROJECT_SOURCE_DIR}/wifi/*.cpp
     ${PROJECT_SOURCE_DIR}/batch/*.cpp ${PROJECT_SOURCE_DIR}/whiteboard/*.cpp)

# A table row holds three addresses, and a relocation takes 24 bytes for each where addresses have 64 bits. Packed, they
# take a bit; the device's loader must know that form: glibc from 2.36, musl from 1.2.4.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LINK_OPTIONS -Wl,--fatal-warnings -Wl,-z,pack-relative-relocs)
check_cxx_source_compiles([[
#include <climits>
#if !__GLIBC_PREREQ(2, 36)
#error "the loader is too old"
#endif
int main() {}
]] AEROLINK_CAN_PACK_RELOCATIONS)
unset(CMAKE_REQUIRED_LINK_OPTIONS)
option(AEROLINK_PACKED_RELOCATIONS "Pack the plug-in's relocations" ${AEROLINK_CAN_PACK_RELOCATIONS})

# What it refuses: plugin/hardened.h.
option(AEROLINK_HARDENED "Refuse values that a shell would interpret, and keep secrets out of the log" OFF)

# aerolink_add_plugin(TARGET): one build of the plug-in as aerolink.so, against the platform libraries that the
# targets named zuutil and zuwificore give.
function(aerolink_add_plugin target)
    add_library(${target} MODULE ${AEROLINK_SOURCES})
    set_target_properties(${target} PROPERTIES
        PREFIX "" OUTPUT_NAME aerolink LINKER_LANGUAGE C
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target} PRIVATE ${AEROLINK_HOSTS} $<$<BOOL:${AEROLINK_HARDENED}>:AEROLINK_HARDENED>)
    target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics
                           -ffunction-sections -fdata-sections -fstack-protector-strong)
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic -Wl,--gc-sections -Wl,-z,relro,-z,now
                        -Wl,-z,noexecstack)
    target_link_libraries(${target} PRIVATE aerolink_warnings PkgConfig::JSONC crypt
                          -Wl,--no-as-needed zuutil zuwificore -Wl,--as-needed)
endfunction()

set(AEROLINK_PAGE_SIZE 4096 CACHE STRING "Largest page size of the kernels that the plug-in runs on, in bytes")

# The plug-in that ships: small, without unwind tables, which nothing on a device reads, and without the C library's
# start files, as nothing in it runs at load or unload.
aerolink_add_plugin(aerolink)
set_target_properties(aerolink PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
target_compile_options(aerolink PRIVATE -Os -fno-asynchronous-unwind-tables -fno-unwind-tables
                       -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
target_link_options(aerolink PRIVATE -nostartfiles -Wl,-z,noseparate-code -Wl,-z,max-page-size=${AEROLINK_PAGE_SIZE}
                    $<$<BOOL:${AEROLINK_PACKED_RELOCATIONS}>:-Wl,-z,pack-relative-relocs>)

set(AEROLINK_PLUGIN_DIR lib/api CACHE STRING "Folder that the daemon loads its plug-ins from")
install(TARGETS aerolink LIBRARY DESTINATION ${AEROLINK_PLUGIN_DIR} COMPONENT plugin)
install(FILES plugin/aerolink.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/aerolink/plugin COMPONENT headers)
install(FILES platform/host.h platform/zuutil.h platform/zuwificore.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/aerolink/platform COMPONENT headers)
