// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "tests/support/log_recorder.h"

namespace {

constexpr int kThreads = 4;
constexpr int kEntriesEach = 500;

void RunOnThreads(void (*work)(int)) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(work, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(LogSinkThreads, GetsEveryEntryOfEveryThreadWhole) {
  const test_support::LogRecorder recorder;
  RunOnThreads([](int thread) {
    for (int i = 0; i < kEntriesEach; ++i) {
      PELORIN_LOG_ERROR() << thread << ":" << i;
    }
  });
  const std::vector<std::string> lines = recorder.lines();
  EXPECT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kEntriesEach));
  std::set<std::string> expected;
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int i = 0; i < kEntriesEach; ++i) {
      expected.insert("2 " + std::to_string(thread) + ":" + std::to_string(i));
    }
  }
  EXPECT_EQ(std::set<std::string>(lines.begin(), lines.end()), expected);
}

// Counts without a lock of its own: the calls themselves must be serialised.
class PlainCounter : public LogSink {
 public:
  void OnLogEntry(const LogEntry& /*entry*/) noexcept override { ++count; }
  int count = 0;
};

TEST(LogSinkThreads, IsCalledOneEntryAtATime) {
  PlainCounter counter;
  SetLogSink(&counter);
  RunOnThreads([](int /*thread*/) {
    for (int i = 0; i < kEntriesEach; ++i) {
      PELORIN_CHECK_EQ(i, -1);
    }
  });
  SetLogSink(nullptr);
  EXPECT_EQ(counter.count, kThreads * kEntriesEach);
}

TEST(LogSinkThreads, IsNotInUseAnyMoreOnceReplaced) {
  static std::atomic<bool> stop{false};
  stop = false;
  std::thread writer([] {
    while (!stop) {
      PELORIN_LOG_ERROR() << "entry";
    }
  });
  int rounds_with_entries = 0;
  while (rounds_with_entries < 50) {
    auto sink = std::make_unique<PlainCounter>();
    SetLogSink(sink.get());
    std::this_thread::yield();
    EXPECT_EQ(SetLogSink(nullptr), sink.get());
    rounds_with_entries += sink->count > 0 ? 1 : 0;
    // A call that were still under way would touch freed memory here.
    sink.reset();
  }
  stop = true;
  writer.join();
  EXPECT_EQ(SetLogSink(nullptr), nullptr);
}

}  // namespace
