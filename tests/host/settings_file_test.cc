// SPDX-License-Identifier: Apache-2.0
#include "host/reference/settings_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace nimbara {
namespace {

struct Group : SettingGroup {
  Group() : SettingGroup(QStringLiteral("Group")) {}
  BoolSetting flag{*this, QStringLiteral("fetch metadata tiles"), Setting::kPreference, true};
  IntSetting whole{*this, QStringLiteral("whole"), Setting::kPreference, 7};
  FloatSetting single{*this, QStringLiteral("radius(m)"), Setting::kPreference, 1.5f};
  DoubleSetting real{*this, QStringLiteral("threshold (sq)"), Setting::kPreference, 2.5};
  StringSetting text{*this, QStringLiteral("text"), Setting::kPreference, QStringLiteral("abc")};
  StringSetting odd{*this, QStringLiteral("#a=b\\ "), Setting::kPreference, QString()};
  CountSetting kept{*this, QStringLiteral("kept"), Setting::kUsageFigure, 0};
  CountSetting session{*this, QStringLiteral("session"), Setting::kSessionFigure, 0};
};

std::string Problems(const std::vector<SettingsProblem>& problems) {
  std::string text;
  for (const SettingsProblem& problem : problems) {
    text += std::to_string(problem.line) + ": " + problem.reason.toStdString() + "\n";
  }
  return text;
}

TEST(SettingsFile, HoldsNothingButItsNameWhileAllIsAtItsDefault) {
  EXPECT_EQ(SaveSettings(Group()), QByteArray("# Group\n"));
}

TEST(SettingsFile, HoldsWhatDiffersInOrderOfRegistration) {
  Group group;
  group.text.Set("two words");
  group.flag.Set(false);
  group.kept.Increment();
  group.real.Set(6.2e-11);
  EXPECT_EQ(SaveSettings(group),
            QByteArray("# Group\nfetch metadata tiles=false\nthreshold (sq)=6.2e-11\n"
                       "text=two words\nkept=1\n"));
}

TEST(SettingsFile, LeavesFiguresOfTheSessionOut) {
  Group group;
  group.session.Increment();
  EXPECT_EQ(SaveSettings(group), SaveSettings(Group()));
}

TEST(SettingsFile, LeavesNumbersOutThatAreNotFinite) {
  Group group;
  group.real.Set(std::numeric_limits<double>::quiet_NaN());
  group.single.Set(std::numeric_limits<float>::infinity());
  EXPECT_EQ(SaveSettings(group), SaveSettings(Group()));
}

TEST(SettingsFile, TakesGoodLinesAndLeavesTheOtherSettingsAlone) {
  Group group;
  group.whole.Set(9);
  EXPECT_EQ(Problems(LoadSettings(" fetch metadata tiles = FALSE \r\n\n# text=no\n"
                                  "threshold (sq)=1e-3\ntext =  two words ",
                                  &group)),
            "");
  EXPECT_FALSE(group.flag.Get());
  EXPECT_EQ(group.real.Get(), 1e-3);
  EXPECT_EQ(group.text.Get(), QString("two words"));
  EXPECT_EQ(group.whole.Get(), 9);
}

TEST(SettingsFile, ReportsEachBadLineAndTakesTheOthers) {
  Group group;
  EXPECT_EQ(Problems(LoadSettings("nonsense\nunknown=1\nwhole=seven\nsession=3\ntext=\\x\n"
                                  "radius(m)=1e99\nthreshold (sq)=nan\nfetch metadata tiles=yes\n"
                                  "text=\xFF\nwhole=99999999999\ntext=good\n",
                                  &group)),
            "1: no '='\n"
            "2: unknown setting 'unknown'\n"
            "3: 'seven' is no value for setting 'whole'\n"
            "4: setting 'session' is not kept between sessions\n"
            "5: a '\\' that begins neither '\\\\' nor '\\uXXXX'\n"
            "6: '1e99' is no value for setting 'radius(m)'\n"
            "7: 'nan' is no value for setting 'threshold (sq)'\n"
            "8: 'yes' is no value for setting 'fetch metadata tiles'\n"
            "9: not UTF-8\n"
            "10: '99999999999' is no value for setting 'whole'\n");
  EXPECT_EQ(group.whole.Get(), 7);
  EXPECT_TRUE(group.flag.Get());
  EXPECT_EQ(group.text.Get(), QString("good"));
}

TEST(SettingsFile, RefusesTextThatIsTooLong) {
  Group group;
  QByteArray text("whole=1\n");
  text.append(QByteArray(kSettingsTextMaxBytes - text.size(), '\n'));
  EXPECT_EQ(LoadSettings(text, &group).size(), 0u);
  EXPECT_EQ(group.whole.Get(), 1);
  EXPECT_EQ(LoadSettings("whole=2" + text, &group).size(), 1u);
  EXPECT_EQ(group.whole.Get(), 1);
}

TEST(SettingsFile, StampsWhatItLoads) {
  Group group;
  Setting::s_current_modifier = 8;
  LoadSettings("whole=7\n", &group);
  Setting::s_current_modifier = 0;
  EXPECT_EQ(group.whole.modifier(), 8);
}

// Loads what `group` saves into a group of its own, and tells what that one saves.
QByteArray Reloaded(const Group& group, Group* other) {
  EXPECT_EQ(Problems(LoadSettings(SaveSettings(group), other)), "");
  return SaveSettings(*other);
}

TEST(SettingsFile, BringsOddKeysAndTextsBack) {
  Group group;
  group.odd.Set(QString(" a\\b\n\r\t=#") + QChar(0xD800) + QChar(0) + QChar(0x2028) + "  ");
  group.text.Set("");
  Group other;
  EXPECT_EQ(Reloaded(group, &other), SaveSettings(group));
  EXPECT_EQ(other.odd.Get(), group.odd.Get());
  EXPECT_EQ(other.text.Get(), QString());
}

TEST(SettingsFile, BringsEveryNumberAndTextBack) {
  constexpr unsigned kSeed = 99;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  for (int round = 0; round < 2000; ++round) {
    Group group;
    const std::uint64_t bits = random();
    double real;
    std::memcpy(&real, &bits, sizeof(real));
    float single;
    std::memcpy(&single, &bits, sizeof(single));
    group.real.Set(std::isfinite(real) ? real : 0.0);
    group.single.Set(std::isfinite(single) ? single : 0.0f);
    group.whole.Set(static_cast<int>(bits >> 32));
    QString text;
    for (auto size = random() % 8; size > 0; --size) {
      text += QChar(static_cast<ushort>(random() % 2 == 0 ? random() % 0x80 : random() & 0xFFFF));
    }
    group.text.Set(text);
    Group other;
    Reloaded(group, &other);
    ASSERT_EQ(other.real.Get(), group.real.Get());
    ASSERT_EQ(other.single.Get(), group.single.Get());
    ASSERT_EQ(other.whole.Get(), group.whole.Get());
    ASSERT_EQ(other.text.Get(), text) << SaveSettings(group).toStdString();
  }
}

TEST(SettingsFile, SurvivesRandomlyFlippedBytes) {
  constexpr unsigned kSeed = 5;
  SCOPED_TRACE(kSeed);
  std::minstd_rand random(kSeed);
  const QByteArray text("# Group\nfetch metadata tiles=false\nthreshold (sq)=6.2e-11\n"
                        "text=\\u00e9\\\\\nkept=1\nradius(m)=2\n");
  std::size_t problems = 0;
  for (int round = 0; round < 3000; ++round) {
    QByteArray damaged = text.left(static_cast<int>(random() % 100));
    if (!damaged.isEmpty()) {
      damaged[static_cast<int>(random() % static_cast<std::size_t>(damaged.size()))] =
          static_cast<char>(random() & 0xFF);
    }
    Group group;
    problems += LoadSettings(damaged, &group).size();
    ASSERT_TRUE(std::isfinite(group.real.Get()));
  }
  EXPECT_GT(problems, 0u);
}

}  // namespace
}  // namespace nimbara
