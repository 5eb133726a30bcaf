// SPDX-License-Identifier: Apache-2.0
// Commands: recorded, and answered by what was scripted or, when the stage acts, by the world.
#pragma once

#include "devkit/rehearsal/effects.h"
#include "devkit/rehearsal/world_state.h"

// Records the command, lets it change the world, and gives its answer.
struct world_answer command_run(enum stage_kind kind, const char *command);
