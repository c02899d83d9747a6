// SPDX-License-Identifier: Apache-2.0
#include "host/threads.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace nimbara {
namespace {

class RecordingJob : public WorkerThread::Job {
 public:
  RecordingJob(WorkerThread* thread, std::vector<int>* order, int number)
      : Job("RecordingJob", thread), order_(order), number_(number) {}
  void Run() override {
    order_->push_back(number_);
    unref();
  }

 private:
  std::vector<int>* order_;
  int number_;
};

// Tells that it runs, if it is to, ends when the test lets it, and counts how many of its kind have
// died.
class GatedJob : public WorkerThread::Job {
 public:
  GatedJob(WorkerThread* thread, std::shared_future<void> gate, std::atomic<int>* deaths,
           std::promise<void>* started = nullptr)
      : Job("GatedJob", thread), gate_(std::move(gate)), deaths_(deaths), started_(started) {}
  ~GatedJob() override { ++*deaths_; }
  void Run() override {
    if (started_ != nullptr) {
      started_->set_value();
    }
    gate_.wait();
    unref();
  }

 private:
  std::shared_future<void> gate_;
  std::atomic<int>* deaths_;
  std::promise<void>* started_;
};

void Queue(WorkerThread* worker, WorkerThread::Job* job) {
  job->ref();
  job->AddToQueue(worker);
}

class MarkerJob : public WorkerThread::Job {
 public:
  MarkerJob(WorkerThread* thread, std::promise<void>* reached)
      : Job("MarkerJob", thread), reached_(reached) {}
  void Run() override {
    std::promise<void>* reached = reached_;
    unref();
    reached->set_value();
  }

 private:
  std::promise<void>* reached_;
};

TEST(WorkerThread, RunsJobsInTheOrderOfQueueing) {
  std::vector<int> order;
  std::promise<void> done;
  WorkerThread worker("order", 1);
  for (int i = 0; i < 5; ++i) {
    Queue(&worker, new RecordingJob(&worker, &order, i));
  }
  Queue(&worker, new MarkerJob(&worker, &done));
  done.get_future().wait();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(WorkerThread, EndsEveryJobOnceWhetherItRanOrWasStillQueued) {
  std::promise<void> gate;
  const std::shared_future<void> opened = gate.get_future().share();
  std::atomic<int> deaths{0};
  auto* worker = new WorkerThread("dying", 1);
  std::promise<void> started;
  Queue(worker, new GatedJob(worker, opened, &deaths, &started));
  for (int i = 0; i < 2; ++i) {
    Queue(worker, new GatedJob(worker, opened, &deaths));
  }
  started.get_future().wait();
  std::thread ending([worker] { delete worker; });
  EXPECT_EQ(deaths, 0);
  gate.set_value();
  ending.join();
  EXPECT_EQ(deaths, 3);
}

TEST(WorkerThread, NeedsNoName) {
  std::promise<void> done;
  WorkerThread worker(nullptr, 1);
  Queue(&worker, new MarkerJob(&worker, &done));
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST(WorkerThread, JobWithoutAThreadEndsWithoutRunning) {
  std::promise<void> never;
  std::atomic<int> deaths{0};
  Queue(nullptr, new GatedJob(nullptr, never.get_future().share(), &deaths));
  EXPECT_EQ(deaths, 1);
}

TEST(SpinLock, TakenTwiceOnOneThreadNeedsTwoUnlocks) {
  SpinLock lock;
  lock.lock();
  lock.lock();
  lock.unlock();
  std::atomic<bool> entered{false};
  std::thread other([&] {
    std::lock_guard<SpinLock> hold(lock);
    entered = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(entered);
  lock.unlock();
  other.join();
  EXPECT_TRUE(entered);
}

TEST(SpinLock, KeepsThreadsApart) {
  SpinLock lock;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        std::lock_guard<SpinLock> outer(lock);
        std::lock_guard<SpinLock> inner(lock);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 40000);
}

TEST(System, RandomStaysInItsRangeAndReachesBothEnds) {
  bool low = false;
  bool high = false;
  for (int i = 0; i < 1000; ++i) {
    const int value = System::Random(3, 5);
    ASSERT_GE(value, 3);
    ASSERT_LE(value, 5);
    low |= value == 3;
    high |= value == 5;
  }
  EXPECT_TRUE(low);
  EXPECT_TRUE(high);
}

}  // namespace
}  // namespace nimbara
