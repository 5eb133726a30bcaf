// SPDX-License-Identifier: Apache-2.0
// The platform interface as its own implementation sees it: visible outside, unlike everything else in the
// libraries.
#pragma once

#pragma GCC visibility push(default)
#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#pragma GCC visibility pop
