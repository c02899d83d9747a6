// SPDX-License-Identifier: Apache-2.0
#include "host/referent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace nimbara {
namespace {

// Says when it dies.
template <typename Base>
class Mortal : public Base {
 public:
  explicit Mortal(std::atomic<int>* deaths) : deaths_(deaths) {}
  ~Mortal() override { ++*deaths_; }

 private:
  std::atomic<int>* deaths_;
};

using Plain = Mortal<Referent>;
using Atomic = Mortal<AtomicReferent>;

// Counts how often it was orphaned, and lives on.
class Survivor : public Referent {
 public:
  void orphaned() const override { ++orphaned_count; }
  mutable int orphaned_count = 0;
};

class RefPtrTest : public ::testing::Test {
 protected:
  std::atomic<int> deaths{0};
};

TEST_F(RefPtrTest, OnANullPointerDoesNothingWhenDropped) {
  { const RefPtr<Plain> null; }
  { const RefPtr<Plain> null(nullptr); }
  { const RefPtr<Plain> null(static_cast<Plain*>(nullptr)); }
  RefPtr<Plain> null;
  null.reset();
  null = nullptr;
  const RefPtr<Plain> copy = null;
  EXPECT_FALSE(copy);
  EXPECT_EQ(copy.get(), nullptr);
}

TEST_F(RefPtrTest, AddsOneReferenceForEachCopyAndEndsTheObjectWithTheLast) {
  RefPtr<Plain> first(new Plain(&deaths));
  EXPECT_EQ(first->ref_count(), 1);
  {
    const RefPtr<Plain> second = first;
    EXPECT_EQ(first->ref_count(), 2);
    first = nullptr;
    EXPECT_EQ(deaths, 0);
  }
  EXPECT_EQ(deaths, 1);
}

TEST_F(RefPtrTest, MovesItsReferenceWithoutCounting) {
  RefPtr<Plain> from(new Plain(&deaths));
  const RefPtr<Plain> to = std::move(from);
  EXPECT_FALSE(from);
  EXPECT_EQ(to->ref_count(), 1);
}

TEST_F(RefPtrTest, SurvivesAssignmentToItself) {
  RefPtr<Plain> handle(new Plain(&deaths));
  RefPtr<Plain>& alias = handle;
  handle = alias;
  EXPECT_EQ(handle->ref_count(), 1);
  handle = std::move(alias);
  EXPECT_TRUE(handle);
  EXPECT_EQ(deaths, 0);
}

TEST_F(RefPtrTest, EndsTheOldObjectWhenItTakesAnother) {
  RefPtr<Plain> handle(new Plain(&deaths));
  handle = RefPtr<Plain>(new Plain(&deaths));
  EXPECT_EQ(deaths, 1);
  handle.reset();
  EXPECT_EQ(deaths, 2);
}

TEST_F(RefPtrTest, IsNullAlreadyWhenItsObjectDies) {
  struct Watcher : Referent {
    explicit Watcher(const RefPtr<Watcher>* handle, bool* seen_null)
        : handle_(handle), seen_null_(seen_null) {}
    ~Watcher() override { *seen_null_ = handle_->get() == nullptr; }
    const RefPtr<Watcher>* handle_;
    bool* seen_null_;
  };
  bool seen_null = false;
  RefPtr<Watcher> handle;
  handle = RefPtr<Watcher>(new Watcher(&handle, &seen_null));
  handle.reset();
  EXPECT_TRUE(seen_null);
}

TEST_F(RefPtrTest, OfADerivedClassEndsItThroughTheVirtualDestructor) {
  { const RefPtr<Referent> base = RefPtr<Plain>(new Plain(&deaths)); }
  EXPECT_EQ(deaths, 1);
}

TEST_F(RefPtrTest, ComparesByObject) {
  const RefPtr<Plain> one(new Plain(&deaths));
  const RefPtr<Plain> same = one;
  const RefPtr<Plain> other(new Plain(&deaths));
  EXPECT_TRUE(one == same);
  EXPECT_TRUE(one != other);
}

TEST(ReferentTest, IsOrphanedOnceWhenItsCountReachesZero) {
  Survivor survivor;
  survivor.ref();
  survivor.ref();
  survivor.unref();
  EXPECT_EQ(survivor.orphaned_count, 0);
  survivor.unref();
  EXPECT_EQ(survivor.orphaned_count, 1);
}

TEST(AtomicAdd, ReturnsTheOldValue) {
  volatile int value = 5;
  EXPECT_EQ(AtomicAdd32(&value, 3), 5);
  EXPECT_EQ(AtomicAdd32(&value, -8), 8);
  EXPECT_EQ(AtomicAdd32(&value, 0), 0);
}

TEST(AtomicReferentTest, DiesOnceHoweverManyThreadsDropIt) {
  std::atomic<int> deaths{0};
  {
    const RefPtr<Atomic> shared(new Atomic(&deaths));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([handle = shared] {
        for (int i = 0; i < 5000; ++i) {
          const RefPtr<Atomic> copy = handle;
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(deaths, 0);
  }
  EXPECT_EQ(deaths, 1);
}

}  // namespace
}  // namespace nimbara
