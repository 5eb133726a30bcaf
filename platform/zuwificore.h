// SPDX-License-Identifier: Apache-2.0
// The maker's Wi-Fi library. Declarations only.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Non-zero while the repeater uplink is up.
int wifi_check_repeater_is_connected(void);

// Sets one private parameter ("SSID", "AuthMode", "EncrypType", "WPAPSK") of the MT76x8 driver on a running
// interface; 0 on success.
int mt76x8_private_iwpriv_set(const char *interface_name, const char *parameter, const char *value);

#ifdef __cplusplus
}
#endif
