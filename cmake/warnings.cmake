# The warnings that every target is built with; any of them stops the build.
add_library(aerolink_warnings INTERFACE)
target_compile_options(aerolink_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
target_include_directories(aerolink_warnings INTERFACE ${PROJECT_SOURCE_DIR})
