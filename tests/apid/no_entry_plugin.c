// SPDX-License-Identifier: Apache-2.0
// A library that is no plug-in: it has no get_api_entity.
int no_entry_answer(void);

int no_entry_answer(void) { return 0; }
