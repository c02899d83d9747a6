// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include "host/reference/heap_statistics.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "host/reference/network_statistics.h"
#include "tests/support/completion_recorder.h"
#include "tests/support/loopback_server.h"

namespace nimbara {
namespace testing_support {

/// Gives a test the standard options with short delays, and sees to it that it leaves no thread, no
/// block on a heap and no difference in the counters behind.
class NetworkTest : public ::testing::Test {
 protected:
  using Fetcher = net::Fetcher;

  void SetUp() override {
    options.retry_base_delay_s = 0.01;
    options.retry_max_delay_s = 0.05;
    net::SetNetworkOptions(options);
    blocks_before_ = GetHeapStatistics(nullptr);
    transient_before_ = GetHeapStatistics(HeapManager::GetTransientHeap());
    statistics_before_ = net::GetNetworkStatistics();
  }

  void TearDown() override {
    net::ShutDownNetwork();
    EXPECT_EQ(GetHeapStatistics(nullptr), blocks_before_);
    EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient_before_);
    const net::NetworkStatistics counted = Counted();
    EXPECT_EQ(counted.started, counted.succeeded + counted.failed + counted.cancelled);
    net::SetNetworkOptions(net::NetworkOptions());
  }

  /// What the test has counted so far.
  net::NetworkStatistics Counted() const {
    const net::NetworkStatistics now = net::GetNetworkStatistics();
    net::NetworkStatistics difference;
    difference.started = now.started - statistics_before_.started;
    difference.succeeded = now.succeeded - statistics_before_.succeeded;
    difference.failed = now.failed - statistics_before_.failed;
    difference.cancelled = now.cancelled - statistics_before_.cancelled;
    difference.retried = now.retried - statistics_before_.retried;
    difference.bytes_received = now.bytes_received - statistics_before_.bytes_received;
    difference.connections_opened = now.connections_opened - statistics_before_.connections_opened;
    return difference;
  }

  void UseOptions() { net::SetNetworkOptions(options); }

  net::NetworkOptions options;

 private:
  HeapStatistics blocks_before_;
  HeapStatistics transient_before_;
  net::NetworkStatistics statistics_before_;
};

}  // namespace testing_support
}  // namespace nimbara
