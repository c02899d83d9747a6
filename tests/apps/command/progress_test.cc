// SPDX-License-Identifier: Apache-2.0
#include "apps/command/progress.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace pelorin {
namespace command {
namespace {

/// A clock that the test moves, and what came out.
struct Stage {
  double now_s = 100.0;
  std::string out;

  Progress Make(Progress::Mode mode) {
    return Progress(
        mode, "panoramas", [this](std::string_view text) { out += text; },
        [this] { return now_s; });
  }
};

TEST(Progress, SaysNothingInTheFirstSecond) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kTerminal);
  stage.now_s += 0.99;
  progress.Update(5, 10);
  EXPECT_EQ(stage.out, "");
}

TEST(Progress, ShowsCountRateAndTimeLeftOnATerminal) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kTerminal);
  stage.now_s += 2.0;
  progress.Update(50, 150);
  EXPECT_EQ(stage.out, "\r\x1b[K50 of 150 panoramas, 25/s, 4 s left");
}

TEST(Progress, RenewsItsLineAtMostTenTimesASecond) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kTerminal);
  stage.now_s += 2.0;
  progress.Update(1, 10);
  const std::string first = stage.out;
  stage.now_s += 0.05;
  progress.Update(2, 10);
  EXPECT_EQ(stage.out, first);
  stage.now_s += 0.06;
  progress.Update(3, 10);
  EXPECT_NE(stage.out, first);
}

TEST(Progress, GoesAwayWhenDone) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kTerminal);
  stage.now_s += 2.0;
  progress.Update(1, 10);
  stage.out.clear();
  progress.Finish();
  EXPECT_EQ(stage.out, "\r\x1b[K");
  progress.Finish();
  stage.now_s += 5.0;
  progress.Update(9, 10);
  EXPECT_EQ(stage.out, "\r\x1b[K");
}

TEST(Progress, ClearsNoLineThatNeverStood) {
  Stage stage;
  { Progress progress = stage.Make(Progress::Mode::kTerminal); }
  EXPECT_EQ(stage.out, "");
}

TEST(Progress, GivesOneLineForEachTenthWhereItIsForced) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kLines);
  for (int done = 1; done <= 100; ++done) {
    stage.now_s += 0.1;
    progress.Update(done, 100);
  }
  progress.Finish();
  int lines = 0;
  for (const char c : stage.out) {
    lines += c == '\n' ? 1 : 0;
  }
  EXPECT_EQ(lines, 10);
  EXPECT_EQ(stage.out.rfind("10 %: 10 of 100 panoramas, 10/s, 9 s left\n", 0), 0u) << stage.out;
  EXPECT_NE(stage.out.find("100 %: 100 of 100 panoramas, 10/s\n"), std::string::npos) << stage.out;
}

TEST(Progress, CountsNoFurtherThanTheTotal) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kLines);
  stage.now_s += 1.0;
  progress.Update(500, 100);
  EXPECT_EQ(stage.out, "100 %: 100 of 100 panoramas, 100/s\n");
}

TEST(Progress, ShowsCountAndRateWhereTheTotalIsUnknown) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kTerminal);
  stage.now_s += 4.0;
  progress.Update(2, 0);
  EXPECT_EQ(stage.out, "\r\x1b[K2 panoramas, 30/min");
}

TEST(Progress, IsSilentOnRequest) {
  Stage stage;
  Progress progress = stage.Make(Progress::Mode::kSilent);
  stage.now_s += 60.0;
  progress.Update(5, 10);
  progress.Finish();
  EXPECT_EQ(stage.out, "");
}

TEST(Progress, FollowsItsFlags) {
  EXPECT_EQ(ProgressMode(true, false, false), Progress::Mode::kTerminal);
  EXPECT_EQ(ProgressMode(false, false, false), Progress::Mode::kSilent);
  EXPECT_EQ(ProgressMode(false, true, false), Progress::Mode::kLines);
  EXPECT_EQ(ProgressMode(true, true, true), Progress::Mode::kSilent);
  EXPECT_EQ(ProgressMode(false, true, true), Progress::Mode::kSilent);
}

TEST(DurationText, IsAsPeopleReadIt) {
  EXPECT_EQ(DurationText(0.0), "0 s");
  EXPECT_EQ(DurationText(59.4), "59 s");
  EXPECT_EQ(DurationText(59.6), "1 min 00 s");
  EXPECT_EQ(DurationText(200.0), "3 min 20 s");
  EXPECT_EQ(DurationText(7500.0), "2 h 05 min");
  EXPECT_EQ(DurationText(-1.0), "?");
  EXPECT_EQ(DurationText(std::nan("")), "?");
  EXPECT_EQ(DurationText(std::numeric_limits<double>::infinity()), "?");
}

}  // namespace
}  // namespace command
}  // namespace pelorin
