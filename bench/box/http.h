// SPDX-License-Identifier: Apache-2.0
// Requests to a daemon on this machine, over one connection that is kept.
#pragma once

#include <string>
#include <vector>

// Sends `batch` GETs to each path in turn, so many rounds; prints samples of the case "http" with the path as
// contender. Throws when an answer is not 200.
void measure_http(int port, int rounds, int batch, const std::vector<std::string> &paths);
