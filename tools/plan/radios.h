// SPDX-License-Identifier: Apache-2.0
// Radios of a configuration.
#pragma once

namespace uci {
struct package;
}

namespace plan {

// How many radios of the package "wireless" are on and carry a network that is on; null has none.
int radios_on(const uci::package *wireless);

} // namespace plan
