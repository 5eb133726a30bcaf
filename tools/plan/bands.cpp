// SPDX-License-Identifier: Apache-2.0
// Models whose keys change bands.
#include "tools/plan/bands.h"

#include "tools/plan/snapshot.h"

namespace plan {

std::string bands_note(const std::string &what, const snapshot &device) {
    return "the keys of this model change bands with the first full read after its start; " + what +
           " is for a device on which that read was " + (device.full_read_done ? "done" : "not yet done");
}

} // namespace plan
