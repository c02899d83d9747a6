// SPDX-License-Identifier: Apache-2.0
// UTM text beside the regular expressions whose matches it must find, at every character there is
// and over random texts.
#include <gtest/gtest.h>

#include <random>

#include "spatial/geodesy/utm_text.h"
#include "tests/spatial/geodesy/utm_text_twin.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::FieldsTwin;
using test_support::Same;
using test_support::WholeTwin;
using Result = test_support::UtmTextResult;

Result Fields(const QString& zone, const QString& easting, const QString& northing) {
  Result result;
  result.ok = ParseLatLonFromUTM(zone, easting, northing, &result.lat, &result.lng);
  return result;
}

Result Whole(const QString& text) {
  Result result;
  result.ok = ParseLatLonFromUTM(text, &result.lat, &result.lng);
  return result;
}

TEST(UtmTextTwin, AgreesAtEveryCharacterOfTheBasicPlane) {
  const QString easting = QStringLiteral("500000");
  const QString northing = QStringLiteral("4649776");
  // As a digit, a blank, a letter, a second letter, and inside a number.
  const char* const zones[] = {"3%T", "33%", "5%33T"};
  const char* const texts[] = {"33% 500000 4649776 33U 500000 4649776", "33T%5%0000 4649776"};
  for (unsigned code = 0; code <= 0xFFFF; ++code) {
    const QChar c(static_cast<ushort>(code));
    const auto with = [c](const char* form) {
      QString text = QString::fromLatin1(form);
      for (QChar& place : text) {
        place = place == QLatin1Char('%') ? c : place;
      }
      return text;
    };
    for (const char* zone : zones) {
      ASSERT_TRUE(
          Same(Fields(with(zone), easting, northing), FieldsTwin(with(zone), easting, northing)))
          << std::hex << code << ' ' << zone;
    }
    for (const char* text : texts) {
      ASSERT_TRUE(Same(Whole(with(text)), WholeTwin(with(text))))
          << std::hex << code << ' ' << text;
    }
  }
}

TEST(UtmTextTwin, AgreesOverRandomTexts) {
  std::mt19937 random(20261121);
  // Mostly what the form is made of, so that many texts come near to it.
  const QString alphabet = QStringLiteral("0123456333   TtCXIOs.._-m\t") + QChar(0xA0) +
                           QChar(0x663) + QChar(0xDF) + QChar(0x17F) + QChar(0x212A) +
                           QChar(0xD83D);
  const auto any = [&](int longest) {
    QString text;
    for (auto i = random() % static_cast<unsigned>(longest + 1); i > 0; --i) {
      text += alphabet.at(static_cast<int>(random() % static_cast<unsigned>(alphabet.size())));
    }
    return text;
  };
  int taken = 0;
  for (int i = 0; i < 40000; ++i) {
    const QString text = any(24);
    ASSERT_TRUE(Same(Whole(text), WholeTwin(text))) << text.toStdString();
    const QString easting = any(8);
    const QString northing = any(8);
    const QString zone = any(6);
    const Result fields = Fields(zone, easting, northing);
    ASSERT_TRUE(Same(fields, FieldsTwin(zone, easting, northing)))
        << zone.toStdString() << '|' << easting.toStdString() << '|' << northing.toStdString();
    taken += fields.ok ? 1 : 0;
  }
  EXPECT_GT(taken, 200);
}

TEST(UtmTextTwin, AgreesOverDamagedTexts) {
  std::mt19937 random(6);
  const QString good = QStringLiteral("at 33 T 500000.25 4649776.5 33T 1 2");
  for (int length = 0; length <= good.size(); ++length) {
    ASSERT_TRUE(Same(Whole(good.left(length)), WholeTwin(good.left(length)))) << length;
  }
  for (int i = 0; i < 10000; ++i) {
    QString text = good;
    for (auto flips = random() % 4 + 1; flips > 0; --flips) {
      const int at = static_cast<int>(random() % static_cast<unsigned>(text.size()));
      text[at] = QChar(static_cast<uint>(text.at(at).unicode()) ^
                       (1u << (static_cast<uint>(random()) % 16u)));
    }
    ASSERT_TRUE(Same(Whole(text), WholeTwin(text))) << text.toStdString();
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
