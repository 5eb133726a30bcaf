# SPDX-License-Identifier: Apache-2.0
# AddressSanitizer and UndefinedBehaviorSanitizer for one target; any finding ends the program.
function(aerolink_sanitize target)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all
                           -fno-omit-frame-pointer -O1 -U_FORTIFY_SOURCE
                           $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>) # needs the C++ runtime
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
endfunction()
