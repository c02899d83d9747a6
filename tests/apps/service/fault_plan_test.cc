// SPDX-License-Identifier: Apache-2.0
#include "apps/service/fault_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace pelorin {
namespace {

using Damage = FaultDecision::Damage;

TEST(FaultPlan, DoesNothingUnlessTold) {
  const FaultPlan plan;
  EXPECT_FALSE(plan.active());
  EXPECT_EQ(plan.Describe(), "");
  const FaultDecision decision = plan.Decide("/plk?a", 0);
  EXPECT_EQ(decision.delay.count(), 0);
  EXPECT_EQ(decision.fail_status, 0);
  EXPECT_EQ(decision.damage, Damage::kNone);
}

TEST(FaultPlan, OfNothingButZerosIsNotActive) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("0", nullptr));
  ASSERT_TRUE(plan.AddFailures("503:0", nullptr));
  ASSERT_TRUE(plan.SetTruncate("0", nullptr));
  plan.set_seed(5);
  EXPECT_FALSE(plan.active());
  EXPECT_EQ(plan.Describe(), "");
}

TEST(FaultPlan, DescribesItselfInTheWordsOfItsFlags) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("20-80", nullptr));
  ASSERT_TRUE(plan.AddFailures("503:0.1,429:0.25:2", nullptr));
  ASSERT_TRUE(plan.SetTruncate("0.1", nullptr));
  ASSERT_TRUE(plan.SetStall("1e-2", nullptr));
  ASSERT_TRUE(plan.SetCorrupt(".5", nullptr));
  plan.set_reorder(true);
  plan.set_seed(7);
  EXPECT_TRUE(plan.active());
  EXPECT_EQ(
      plan.Describe(),
      "latency=20-80 fail=503:0.1 fail=429:0.25:2 truncate=0.1 stall=0.01 corrupt=0.5 reorder "
      "seed=7");
}

TEST(FaultPlan, DecidesTheSameForTheSameQuestion) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("0-1000", nullptr));
  ASSERT_TRUE(plan.AddFailures("503:0.3", nullptr));
  ASSERT_TRUE(plan.SetTruncate("0.3", nullptr));
  const FaultPlan twin = plan;
  for (std::uint64_t repeat = 0; repeat < 100; ++repeat) {
    const FaultDecision a = plan.Decide("/plk?x", repeat);
    const FaultDecision b = twin.Decide("/plk?x", repeat);
    EXPECT_EQ(a.delay, b.delay);
    EXPECT_EQ(a.fail_status, b.fail_status);
    EXPECT_EQ(a.damage, b.damage);
    EXPECT_EQ(a.noise, b.noise);
  }
}

TEST(FaultPlan, DecidesAnewForEachSeedQuestionAndRepeat) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetTruncate("1", nullptr));
  std::set<std::uint64_t> noises;
  for (std::uint64_t repeat = 0; repeat < 100; ++repeat) {
    noises.insert(plan.Decide("/plk?x", repeat).noise);
    noises.insert(plan.Decide("/plk?y", repeat).noise);
  }
  plan.set_seed(1);
  for (std::uint64_t repeat = 0; repeat < 100; ++repeat) {
    noises.insert(plan.Decide("/plk?x", repeat).noise);
  }
  EXPECT_EQ(noises.size(), 300u);
}

TEST(FaultPlan, FailsAsOftenAsAsked) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("503:0.1", nullptr));
  ASSERT_TRUE(plan.AddFailures("404:0.2:9", nullptr));
  int unavailable = 0;
  int missing = 0;
  for (std::uint64_t repeat = 0; repeat < 10000; ++repeat) {
    const FaultDecision decision = plan.Decide("/plk", repeat);
    unavailable += decision.fail_status == 503 && decision.retry_after_s == -1;
    missing += decision.fail_status == 404 && decision.retry_after_s == 9;
  }
  // Five standard deviations around 1000 and 2000.
  EXPECT_NEAR(unavailable, 1000, 150);
  EXPECT_NEAR(missing, 2000, 200);
}

TEST(FaultPlan, DamagesAnAnswerInOneWayAtMostAndNoneThatFails) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("500:0.5", nullptr));
  ASSERT_TRUE(plan.SetTruncate("0.5", nullptr));
  ASSERT_TRUE(plan.SetStall("0.5", nullptr));
  ASSERT_TRUE(plan.SetCorrupt("1", nullptr));
  int counts[4] = {};
  for (std::uint64_t repeat = 0; repeat < 8000; ++repeat) {
    const FaultDecision decision = plan.Decide("/plk", repeat);
    if (decision.fail_status != 0) {
      EXPECT_EQ(decision.damage, Damage::kNone);
    } else {
      ++counts[static_cast<int>(decision.damage)];
    }
  }
  EXPECT_EQ(counts[static_cast<int>(Damage::kNone)], 0);
  EXPECT_NEAR(counts[static_cast<int>(Damage::kTruncate)], 2000, 200);
  EXPECT_NEAR(counts[static_cast<int>(Damage::kStall)], 1000, 150);
  EXPECT_NEAR(counts[static_cast<int>(Damage::kCorrupt)], 1000, 150);
}

TEST(FaultPlan, DrawsTheLatencyFromTheWholeRange) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("3-5", nullptr));
  std::set<std::int64_t> delays;
  for (std::uint64_t repeat = 0; repeat < 200; ++repeat) {
    const FaultDecision decision = plan.Decide("/plk", repeat);
    EXPECT_TRUE(decision.late);
    delays.insert(decision.delay.count());
  }
  EXPECT_EQ(delays, (std::set<std::int64_t>{3, 4, 5}));
}

TEST(FaultPlan, HoldsAboutHalfOfTheAnswersToReorderThem) {
  FaultPlan plan;
  plan.set_reorder(true);
  int held = 0;
  for (std::uint64_t repeat = 0; repeat < 2000; ++repeat) {
    const FaultDecision decision = plan.Decide("/plk", repeat);
    EXPECT_FALSE(decision.late);
    if (!decision.reordered) {
      EXPECT_EQ(decision.delay.count(), 0);
      continue;
    }
    ++held;
    EXPECT_GE(decision.delay.count(), FaultPlan::kMinHoldMs);
    EXPECT_LE(decision.delay.count(), FaultPlan::kMaxHoldMs);
  }
  EXPECT_NEAR(held, 1000, 120);
}

TEST(FaultPlan, TakesTenTimesATenth) {
  FaultPlan plan;
  std::string error;
  for (int i = 0; i < 10; ++i)
    ASSERT_TRUE(plan.AddFailures("503:0.1", &error)) << error;
  EXPECT_FALSE(plan.AddFailures("503:0.1", &error));
}

struct BadFlag {
  const char* flag;
  const char* text;
};

class FaultPlanFlags : public testing::TestWithParam<BadFlag> {};

bool Parse(FaultPlan* plan, const std::string& flag, const std::string& text, std::string* error) {
  if (flag == "latency")
    return plan->SetLatency(text, error);
  if (flag == "fail")
    return plan->AddFailures(text, error);
  if (flag == "truncate")
    return plan->SetTruncate(text, error);
  if (flag == "stall")
    return plan->SetStall(text, error);
  return plan->SetCorrupt(text, error);
}

TEST_P(FaultPlanFlags, RefuseWhatTheyDoNotMeanAndKeepThePlan) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("1-2", nullptr));
  ASSERT_TRUE(plan.AddFailures("503:0.9", nullptr));
  ASSERT_TRUE(plan.SetTruncate("0.1", nullptr));
  ASSERT_TRUE(plan.SetStall("0.2", nullptr));
  ASSERT_TRUE(plan.SetCorrupt("0.3", nullptr));
  const std::string before = plan.Describe();
  std::string error;
  EXPECT_FALSE(Parse(&plan, GetParam().flag, GetParam().text, &error));
  EXPECT_NE(error.find(GetParam().text), std::string::npos) << error;
  EXPECT_EQ(error.find('\n'), std::string::npos);
  EXPECT_EQ(plan.Describe(), before);
  EXPECT_FALSE(Parse(&plan, GetParam().flag, GetParam().text, nullptr));
}

INSTANTIATE_TEST_SUITE_P(
    Bad, FaultPlanFlags,
    testing::Values(BadFlag{"latency", ""}, BadFlag{"latency", "-5"}, BadFlag{"latency", "60001"},
                    BadFlag{"latency", "80-20"}, BadFlag{"latency", "5-"},
                    BadFlag{"latency", "1.5"}, BadFlag{"latency", "5ms"},
                    BadFlag{"latency", "99999999999"}, BadFlag{"fail", ""}, BadFlag{"fail", "503"},
                    BadFlag{"fail", "503:"}, BadFlag{"fail", ":0.1"}, BadFlag{"fail", "200:0.1"},
                    BadFlag{"fail", "600:0.1"}, BadFlag{"fail", "503:1.1"},
                    BadFlag{"fail", "503:0.2"}, BadFlag{"fail", "503:-0.1"},
                    BadFlag{"fail", "503:nan"}, BadFlag{"fail", "503:0.1:"},
                    BadFlag{"fail", "503:0.1:3601"}, BadFlag{"fail", "503:0.1:1:1"},
                    BadFlag{"fail", "503:0.1,"}, BadFlag{"truncate", "1.01"},
                    BadFlag{"truncate", "inf"}, BadFlag{"truncate", "0,5"}, BadFlag{"stall", "-0"},
                    BadFlag{"stall", " 0.1"}, BadFlag{"corrupt", "0.1x"},
                    BadFlag{"corrupt", "+0.1"}, BadFlag{"corrupt", "nan"}));

TEST(CorruptBytes, ChangesOneByteInEachBlockAndNoLength) {
  const std::string body(1000, 'a');
  std::string damaged = body;
  CorruptBytes(3, &damaged);
  ASSERT_EQ(damaged.size(), body.size());
  EXPECT_EQ(std::count(damaged.begin(), damaged.end(), 'a'), 1000 - 16);
}

TEST(CorruptBytes, ChangesTheOnlyByteAndLeavesNothingAlone) {
  std::string one = "x";
  CorruptBytes(0, &one);
  EXPECT_NE(one, "x");
  std::string none;
  CorruptBytes(0, &none);
  EXPECT_EQ(none, "");
}

TEST(CorruptBytes, DependsOnItsNoiseAlone) {
  std::string first(500, 'a');
  std::string second = first;
  std::string other = first;
  CorruptBytes(1, &first);
  CorruptBytes(1, &second);
  CorruptBytes(2, &other);
  EXPECT_EQ(first, second);
  EXPECT_NE(first, other);
}

}  // namespace
}  // namespace pelorin
