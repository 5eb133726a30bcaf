// SPDX-License-Identifier: Apache-2.0
// The router's configuration, put back after each measurement.
#pragma once

#include <map>
#include <string>

using configuration = std::map<std::string, std::string>; // text of each package

configuration read_configuration();

// Writes the packages that differ and drops all recorded changes. Then waits until the files look untouched
// for a while, as those of a router do when a push comes.
void put_back(const configuration &wanted);
