// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace test_support {

/// What `net::GetInternetConnectionStatus` says in a test program that links `fake_connection.cc`,
/// which defines it in the host's place: 2 at first, 0 for no connection. Safe from any thread.
void SetConnectionStatus(int status);

/// Another status for as long as the object lives.
class ConnectionStatus {
 public:
  explicit ConnectionStatus(int status) { SetConnectionStatus(status); }
  ~ConnectionStatus() { SetConnectionStatus(2); }
  ConnectionStatus(const ConnectionStatus&) = delete;
  ConnectionStatus& operator=(const ConnectionStatus&) = delete;
};

}  // namespace test_support
}  // namespace nimbara
