# SPDX-License-Identifier: Apache-2.0
# The warnings that every target is built with; any of them stops the build.
add_library(aerolink_warnings INTERFACE)
target_compile_options(aerolink_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
# json-c's loops over members are macros with statement expressions.
target_compile_options(aerolink_warnings INTERFACE $<$<COMPILE_LANG_AND_ID:C,Clang>:-Wno-gnu-statement-expression>)
target_include_directories(aerolink_warnings INTERFACE ${PROJECT_SOURCE_DIR})
