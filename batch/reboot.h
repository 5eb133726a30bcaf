// SPDX-License-Identifier: Apache-2.0
// The reboot that a batch asks for.
#pragma once

// Saves the tertf backup, if there is one, to persistent storage and starts a reboot that leaves the response
// a second to go out.
void reboot_with_backup();
