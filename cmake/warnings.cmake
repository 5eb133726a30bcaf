# SPDX-License-Identifier: Apache-2.0
# The warnings that every target is built with. They stop the project's own builds, which are made in build/main, and
# nobody else's: another compiler has other warnings.
set(is_own OFF)
if(PROJECT_BINARY_DIR STREQUAL "${PROJECT_SOURCE_DIR}/build/main")
    set(is_own ON)
endif()
option(AEROLINK_WERROR "Let a warning stop the build" ${is_own})
add_library(aerolink_warnings INTERFACE)
target_compile_options(aerolink_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                       $<$<BOOL:${AEROLINK_WERROR}>:-Werror>)
# Where it inlines more than the default build type lets it, GCC before 13 takes "text" + string for a copy onto itself.
set(old_gcc $<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>)
target_compile_options(aerolink_warnings INTERFACE
                       $<$<AND:${old_gcc},$<NOT:$<CONFIG:RelWithDebInfo>>>:-Wno-restrict>)
# json-c's loops over members are macros with statement expressions.
target_compile_options(aerolink_warnings INTERFACE $<$<COMPILE_LANG_AND_ID:C,Clang>:-Wno-gnu-statement-expression>)
target_include_directories(aerolink_warnings INTERFACE ${PROJECT_SOURCE_DIR})
