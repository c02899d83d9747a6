// SPDX-License-Identifier: Apache-2.0
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>

#include "host/network.h"

namespace nimbara {
namespace net {
namespace {

constexpr int kNoConnection = 0;
constexpr int kThisMachineOnly = 1;  // A service on this machine can still be reached.
constexpr int kNetworkPresent = 2;

int StatusOf(const ifaddrs& interface) {
  const bool has_address =
      interface.ifa_addr != nullptr &&
      (interface.ifa_addr->sa_family == AF_INET || interface.ifa_addr->sa_family == AF_INET6);
  if (!has_address || (interface.ifa_flags & IFF_UP) == 0 ||
      (interface.ifa_flags & IFF_RUNNING) == 0) {
    return kNoConnection;
  }
  return (interface.ifa_flags & IFF_LOOPBACK) != 0 ? kThisMachineOnly : kNetworkPresent;
}

}  // namespace

int GetInternetConnectionStatus() {
  ifaddrs* interfaces = nullptr;
  if (getifaddrs(&interfaces) != 0) {
    return kNetworkPresent;  // Nothing is known against it.
  }
  int status = kNoConnection;
  for (const ifaddrs* interface = interfaces; interface != nullptr;
       interface = interface->ifa_next) {
    status = std::max(status, StatusOf(*interface));
  }
  freeifaddrs(interfaces);
  return status;
}

}  // namespace net
}  // namespace nimbara
