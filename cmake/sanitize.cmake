# SPDX-License-Identifier: Apache-2.0
# AddressSanitizer and UndefinedBehaviorSanitizer for one target; any finding ends the program. Of what a debugger reads
# there are lines alone, which is what a finding names: the rest takes a fifth of the time to compile.
function(aerolink_sanitize target)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all
                           -fno-omit-frame-pointer -O1 -g1 -U_FORTIFY_SOURCE
                           $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>) # needs the C++ runtime
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
endfunction()
