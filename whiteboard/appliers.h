// The white-label appliers of models without a family of their own.
#pragma once

#include "batch/rows.h"

extern const applier provisioning_one_radio;
extern const applier provisioning_two_radios;
