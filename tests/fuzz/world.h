// SPDX-License-Identifier: Apache-2.0
// A world for the plug-in that an input describes: device, files, faults, and a configuration in which every
// option has some value or none.
#pragma once

#include "tests/fuzz/bytes.h"

namespace fuzz {

// Takes the place of the world that was there.
void set_world(bytes &input);

// Gives the commands that the last call asked something an answer for the calls that follow.
void answer_commands(bytes &input);

} // namespace fuzz
