// SPDX-License-Identifier: Apache-2.0
// System calls of this process that fail on demand: linked with --wrap, the calls of the code under test come
// here.
#pragma once

#include <cstddef>

namespace fuzz {

enum class failure {
    error, // this call fails, or writes a part and then fails
    death, // from this call on nothing reaches the disk: as if the process had been killed
};

// The call of that number from now on, from 0, fails. A call that is only interrupted does not count.
void fail_call(size_t number, failure kind);

// The same with an error, and death so many calls later.
void fail_and_die(size_t number, size_t later);

// Whether nothing reaches the disk any more.
bool is_dead();

// No call fails any more. Whether one did.
bool stop_failing();

} // namespace fuzz
