// SPDX-License-Identifier: Apache-2.0
// Content of the empty platform libraries: a translation unit needs one declaration.
typedef int placeholder;
