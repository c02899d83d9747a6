// SPDX-License-Identifier: Apache-2.0
#include "host/settings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

namespace nimbara {
namespace {

class RecordingListener : public SettingListener {
 public:
  void OnSettingChanged(Setting& setting) override {
    changes.push_back(setting.key() + QLatin1Char('=') + setting.toString());
  }
  void OnSettingPreDelete(Setting& setting) override {
    deletions.push_back(setting.key() + QLatin1Char(':') + QLatin1String(setting.getClassName()));
  }

  std::vector<QString> changes;
  std::vector<QString> deletions;
};

class SettingTest : public testing::Test {
 protected:
  void SetUp() override { group_.AddListener(&listener_); }
  void TearDown() override { Setting::s_current_modifier = 0; }

  std::size_t changes() const { return listener_.changes.size(); }

  RecordingListener listener_;
  SettingGroup group_{QStringLiteral("Group")};
  BoolSetting flag_{group_, QStringLiteral("flag"), Setting::kPreference, false};
  IntSetting whole_{group_, QStringLiteral("whole"), Setting::kPreference, 7};
  FloatSetting single_{group_, QStringLiteral("single"), Setting::kPreference, 1.5f};
  DoubleSetting real_{group_, QStringLiteral("real"), Setting::kPreference, 2.5};
  StringSetting text_{group_, QStringLiteral("text"), Setting::kPreference, QStringLiteral("abc")};
  CountSetting count_{group_, QStringLiteral("count"), Setting::kUsageFigure, 0};
};

TEST_F(SettingTest, StartsAtItsDefaultUnstamped) {
  EXPECT_EQ(text_.Get(), QStringLiteral("abc"));
  EXPECT_EQ(text_.GetDefault(), QStringLiteral("abc"));
  EXPECT_EQ(text_.modifier(), 0);
  EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingTest, HasTheTypeCodeOfItsValue) {
  EXPECT_EQ(flag_.getType(), 0);
  EXPECT_EQ(whole_.getType(), 1);
  EXPECT_EQ(count_.getType(), 1);
  EXPECT_EQ(single_.getType(), 2);
  EXPECT_EQ(real_.getType(), 3);
  EXPECT_EQ(text_.getType(), 4);
}

TEST_F(SettingTest, NamesItsFinalClass) {
  EXPECT_STREQ(whole_.getClassName(), "IntSetting");
  EXPECT_STREQ(count_.getClassName(), "CountSetting");
}

TEST_F(SettingTest, TurnsOnForTrueInAnyCaseWithBlanksAround) {
  flag_.fromString(QStringLiteral(" TRUE "));
  EXPECT_TRUE(flag_.Get());
}

TEST_F(SettingTest, TurnsOnForTheDigitOne) {
  flag_.fromString(QStringLiteral("1"));
  EXPECT_TRUE(flag_.Get());
}

TEST_F(SettingTest, TurnsOffForYes) {
  flag_.Set(true);
  flag_.fromString(QStringLiteral("yes"));
  EXPECT_FALSE(flag_.Get());
}

TEST_F(SettingTest, CutsASwitchTextToEightCharactersBeforeTrimmingIt) {
  flag_.fromString(QStringLiteral("     TRUE"));
  EXPECT_FALSE(flag_.Get());
  flag_.fromString(QStringLiteral("    TRUE"));
  EXPECT_TRUE(flag_.Get());
  flag_.fromString(QStringLiteral("true    and more"));
  EXPECT_TRUE(flag_.Get());
}

TEST_F(SettingTest, ReadsOctalAndHexadecimalPrefixesOfWholeNumbers) {
  whole_.fromString(QStringLiteral("010"));
  EXPECT_EQ(whole_.Get(), 8);
  whole_.fromString(QStringLiteral("0x10"));
  EXPECT_EQ(whole_.Get(), 16);
  whole_.fromString(QStringLiteral("  -12 apples"));
  EXPECT_EQ(whole_.Get(), -12);
}

TEST_F(SettingTest, TakesZeroForTextThatIsNoNumber) {
  whole_.fromString(QStringLiteral("apples"));
  EXPECT_EQ(whole_.Get(), 0);
  real_.fromString(QString());
  EXPECT_EQ(real_.Get(), 0.0);
}

TEST_F(SettingTest, WritesNumbersWithSixSignificantDigits) {
  real_.fromString(QStringLiteral("3.14159265358979"));
  EXPECT_EQ(real_.Get(), 3.14159265358979);
  EXPECT_EQ(real_.toString(), QStringLiteral("3.14159"));
  single_.fromString(QStringLiteral("-2.5e3"));
  EXPECT_EQ(single_.toString(), QStringLiteral("-2500"));
}

TEST_F(SettingTest, WritesASwitchAsADigit) {
  EXPECT_EQ(flag_.toString(), QStringLiteral("0"));
  flag_.Set(true);
  EXPECT_EQ(flag_.toString(), QStringLiteral("1"));
}

TEST_F(SettingTest, ReadsOneWordOfAText) {
  text_.fromString(QStringLiteral("  two words"));
  EXPECT_EQ(text_.Get(), QStringLiteral("two"));
}

TEST_F(SettingTest, StampsEveryWriteAndNotifiesOnlyChanges) {
  Setting::s_current_modifier = 5;
  whole_.fromString(QStringLiteral("7"));
  EXPECT_EQ(whole_.modifier(), 5);
  EXPECT_EQ(changes(), 0u);
  Setting::s_current_modifier = 6;
  whole_.fromString(QStringLiteral("9"));
  EXPECT_EQ(whole_.modifier(), 6);
  EXPECT_EQ(listener_.changes, std::vector<QString>{QStringLiteral("whole=9")});
}

TEST_F(SettingTest, NotifiesEachWriteOfNotANumber) {
  real_.Set(std::numeric_limits<double>::quiet_NaN());
  real_.Set(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(changes(), 2u);
}

TEST_F(SettingTest, ResetAtItsDefaultStampsWithoutNotification) {
  Setting::s_current_modifier = 3;
  whole_.ResetToDefault();
  EXPECT_EQ(whole_.modifier(), 3);
  EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingTest, ResetElsewhereRestoresTheDefaultAndNotifies) {
  whole_.Set(1);
  whole_.ResetToDefault();
  EXPECT_EQ(whole_.Get(), 7);
  EXPECT_EQ(changes(), 2u);
}

TEST_F(SettingTest, PopOfAnEmptyStackChangesNothing) {
  EXPECT_FALSE(whole_.PopSetting());
  EXPECT_EQ(whole_.Get(), 7);
  EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingTest, PushSavesSilently) {
  whole_.PushSetting();
  EXPECT_EQ(whole_.Get(), 7);
  EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingTest, PopRestoresSavedValuesLastFirstAndNotifiesEach) {
  Setting::s_current_modifier = 4;
  whole_.PushSetting();
  whole_.Set(8);
  whole_.PushSetting();
  whole_.Set(9);
  Setting::s_current_modifier = 5;
  EXPECT_TRUE(whole_.PopSetting());
  EXPECT_EQ(whole_.Get(), 8);
  EXPECT_TRUE(whole_.PopSetting());
  EXPECT_EQ(whole_.Get(), 7);
  EXPECT_FALSE(whole_.PopSetting());
  EXPECT_EQ(changes(), 4u);
  EXPECT_EQ(whole_.modifier(), 4);
}

TEST_F(SettingTest, PopNotifiesEvenIfTheValueIsTheSame) {
  flag_.PushSetting();
  EXPECT_TRUE(flag_.PopSetting());
  EXPECT_EQ(changes(), 1u);
}

TEST_F(SettingTest, CounterStampsAddsOneAndNotifies) {
  Setting::s_current_modifier = 11;
  count_.Increment();
  count_.Increment();
  EXPECT_EQ(count_.Get(), 2);
  EXPECT_EQ(count_.modifier(), 11);
  EXPECT_EQ(listener_.changes,
            (std::vector<QString>{QStringLiteral("count=1"), QStringLiteral("count=2")}));
}

TEST_F(SettingTest, AnnouncesItsDestructionWhileStillWhole) {
  auto dying =
      std::make_unique<CountSetting>(group_, QStringLiteral("dying"), Setting::kUsageFigure, 0);
  EXPECT_EQ(group_.GetSettingCount(), 7);
  dying.reset();
  EXPECT_EQ(listener_.deletions, std::vector<QString>{QStringLiteral("dying:CountSetting")});
  EXPECT_EQ(group_.GetSettingCount(), 6);
  EXPECT_EQ(group_.GetSetting(QStringLiteral("dying")), nullptr);
}

TEST_F(SettingTest, IsFoundByPlaceAndByExactKey) {
  EXPECT_EQ(group_.GetSetting(0), &flag_);
  EXPECT_EQ(group_.GetSetting(5), &count_);
  EXPECT_EQ(group_.GetSetting(6), nullptr);
  EXPECT_EQ(group_.GetSetting(-1), nullptr);
  EXPECT_EQ(group_.GetSetting(QStringLiteral("real")), &real_);
  EXPECT_EQ(group_.GetSetting(QStringLiteral("Real")), nullptr);
}

TEST_F(SettingTest, FirstOfTwoWithOneKeyIsFound) {
  const IntSetting twin(group_, QStringLiteral("whole"), Setting::kPreference, 0);
  EXPECT_EQ(group_.GetSetting(QStringLiteral("whole")), &whole_);
}

TEST_F(SettingTest, ListenerAddedTwiceHearsOnce) {
  group_.AddListener(&listener_);
  group_.AddListener(nullptr);
  count_.Increment();
  EXPECT_EQ(changes(), 1u);
}

TEST_F(SettingTest, RemovedListenerHearsNothing) {
  RecordingListener stranger;
  group_.RemoveListener(&stranger);
  group_.RemoveListener(&listener_);
  count_.Increment();
  EXPECT_EQ(changes(), 0u);
}

class SelfRemovingListener : public SettingListener {
 public:
  explicit SelfRemovingListener(SettingListener* other) : other_(other) {}
  void OnSettingChanged(Setting& setting) override {
    ++calls;
    setting.group().RemoveListener(this);
    setting.group().RemoveListener(other_);
  }
  void OnSettingPreDelete(Setting&) override {}

  int calls = 0;

 private:
  SettingListener* other_;
};

TEST_F(SettingTest, ListenerMayRemoveItselfAndALaterOneInsideACall) {
  RecordingListener later;
  SelfRemovingListener remover(&later);
  group_.AddListener(&remover);
  group_.AddListener(&later);
  count_.Increment();
  count_.Increment();
  EXPECT_EQ(remover.calls, 1);
  EXPECT_TRUE(later.changes.empty());
  EXPECT_EQ(changes(), 2u);
}

TEST_F(SettingTest, CountsOfTwoThreadsAreAllKept) {
  group_.RemoveListener(&listener_);
  constexpr int kRounds = 20000;
  std::thread other([this] {
    for (int i = 0; i < kRounds; ++i) {
      count_.Increment();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    count_.Increment();
  }
  other.join();
  EXPECT_EQ(count_.Get(), 2 * kRounds);
}

TEST_F(SettingTest, ReadersOnAnotherThreadSeeOnlyStoredValues) {
  group_.RemoveListener(&listener_);
  const QString first = QStringLiteral("http://first.example/plk");
  const QString second = QStringLiteral("http://second.example/plk");
  text_.Set(first);
  std::atomic<bool> stop{false};
  int strange = 0;
  std::thread reader([&] {
    while (!stop) {
      const QString seen = text_.Get();
      strange += seen != first && seen != second ? 1 : 0;
      const double number = real_.Get();
      strange += number != 2.5 && number != 3.5 ? 1 : 0;
    }
  });
  for (int i = 0; i < 2000; ++i) {
    text_.Set(i % 2 == 0 ? second : first);
    real_.Set(i % 2 == 0 ? 3.5 : 2.5);
  }
  stop = true;
  reader.join();
  EXPECT_EQ(strange, 0);
}

class CountingListener : public SettingListener {
 public:
  void OnSettingChanged(Setting&) override { ++calls; }
  void OnSettingPreDelete(Setting&) override {}
  std::atomic<int> calls{0};
};

TEST_F(SettingTest, NoCallToARemovedListenerRunsOnAnotherThread) {
  group_.RemoveListener(&listener_);
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    while (!stop) {
      count_.Increment();
    }
  });
  int late_calls = 0;
  for (int i = 0; i < 300; ++i) {
    auto listener = std::make_unique<CountingListener>();
    group_.AddListener(listener.get());
    std::this_thread::yield();
    group_.RemoveListener(listener.get());
    const int seen = listener->calls;
    std::this_thread::yield();
    late_calls += listener->calls - seen;
  }
  stop = true;
  writer.join();
  EXPECT_EQ(late_calls, 0);
}

}  // namespace
}  // namespace nimbara
