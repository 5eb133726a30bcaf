# SPDX-License-Identifier: Apache-2.0
# The maker's libraries that the plug-in names: libzuutil and libzuwificore.

# aerolink_add_placeholder(TARGET NAME FOLDER): an empty libNAME.so in FOLDER, enough for a linker to record its name.
function(aerolink_add_placeholder target name folder)
    add_library(${target} SHARED ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/placeholder.c)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${folder})
endfunction()

# Without the kit, which builds them, they come from the maker's SDK, and where that has none either, the plug-in is
# linked against empty ones: it takes nothing but their names from them.
if(NOT AEROLINK_DEVKIT)
    foreach(library zuutil zuwificore)
        find_library(AEROLINK_LIB_${library} ${library})
        if(AEROLINK_LIB_${library})
            add_library(${library} SHARED IMPORTED GLOBAL)
            set_target_properties(${library} PROPERTIES
                IMPORTED_LOCATION ${AEROLINK_LIB_${library}} IMPORTED_NO_SONAME TRUE)
        else()
            message(STATUS "lib${library}.so is in no folder of this toolchain: linking by its name alone")
            aerolink_add_placeholder(${library} ${library} ${PROJECT_BINARY_DIR}/placeholder)
        endif()
    endforeach()
endif()
