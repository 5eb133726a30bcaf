// SPDX-License-Identifier: Apache-2.0
// crypt(3), which takes a good part of a millisecond, so that playing a request again costs nothing.
#pragma once

// As crypt(3): valid until the next call.
char *crypt_remembered(const char *password, const char *setting);
