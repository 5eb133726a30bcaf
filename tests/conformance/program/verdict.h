// SPDX-License-Identifier: Apache-2.0
// How the process of a check tells the program what came of it: by its exit status, and by a text in a pipe.
#pragma once

enum verdict { KEPT, BROKEN, SKIPPED };

// A report is never longer, so that it fits any pipe.
enum { REPORT_SIZE = 512 };

// Where this process writes its report.
void set_report(int descriptor);
