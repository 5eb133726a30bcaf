// SPDX-License-Identifier: Apache-2.0
// The load balancers of the server zones, the one place where their host names stand. They are a property of
// the deployment and set at build time.
#pragma once

inline constexpr char host_europe[] = AEROLINK_HOST_EUROPE;
inline constexpr char host_america[] = AEROLINK_HOST_AMERICA;
inline constexpr char host_asia_pacific[] = AEROLINK_HOST_ASIA_PACIFIC;
inline constexpr char host_china[] = AEROLINK_HOST_CHINA;
inline constexpr char host_test[] = AEROLINK_HOST_TEST;
inline constexpr char host_development[] = AEROLINK_HOST_DEVELOPMENT;

// The shortest buffer that a stored host is read into has 64 bytes.
template <typename... Hosts>
constexpr bool all_fit(const Hosts &...hosts) {
    return ((sizeof hosts > 1 && sizeof hosts <= 64) && ...);
}
static_assert(all_fit(host_europe, host_america, host_asia_pacific, host_china, host_test, host_development),
              "a host name must have 1 to 63 characters");
