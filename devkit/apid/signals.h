// SPDX-License-Identifier: Apache-2.0
// The daemon's signals. None is blocked or ignored while handlers run: the commands that they start would
// inherit it.
#pragma once

namespace apid {

// From now on SIGTERM and SIGINT ask the daemon to stop, and SIGPIPE does nothing. Throws startup_error.
void install_signals();

bool stop_requested();

// A descriptor that becomes readable when a request to stop arrives, until clear_wakeup().
int wakeup_descriptor();
void clear_wakeup();

} // namespace apid
