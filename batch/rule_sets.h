// SPDX-License-Identifier: Apache-2.0
// How requests are written, by kind of request and of device.
#pragma once

#include "batch/rows.h"

// "/cloud/aerolink/batch_set": cloud_rules.cpp.
extern const rule_set cloud_finch;
extern const rule_set cloud_ardea;
extern const rule_set cloud_mt76x8;
extern const rule_set cloud_mt7615;
extern const rule_set cloud_one_radio;
extern const rule_set cloud_two_radios;

// "/whiteboard/set_config": white_label_rules.cpp.
extern const rule_set white_label_ardea;
extern const rule_set white_label_mt76x8;
extern const rule_set white_label_one_radio;
extern const rule_set white_label_two_radios;
