// SPDX-License-Identifier: Apache-2.0
// How the record of a call stands in a case file.
#pragma once

#include "tests/recorded/player/text.h"

// Append the effects and the violations of the last call, a line each.
void effects_show(struct text *out);
void violations_show(struct text *out);
