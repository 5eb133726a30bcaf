// SPDX-License-Identifier: Apache-2.0
// The C library's own functions, behind those that the program puts in front of them.
#pragma once

// Stores the address of the C library's function of that name in *function, a pointer to function: ISO C has
// no cast for it.
void library_function(const char *name, void *function);

// Ends the program: a command was to be started outside of a call.
__attribute__((noreturn)) void library_refuse_command(const char *command);
