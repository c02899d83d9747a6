// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/utm_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>

#include "ostrand/base/utmzone.h"
#include "tests/support/log_recorder.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kBefore = 77.0;

struct Parsed {
  bool ok = false;
  double lat = kBefore;
  double lng = kBefore;
};

Parsed Fields(const QString& zone, const QString& easting = QStringLiteral("500000"),
              const QString& northing = QStringLiteral("4649776")) {
  Parsed parsed;
  parsed.ok = ParseLatLonFromUTM(zone, easting, northing, &parsed.lat, &parsed.lng);
  return parsed;
}

Parsed Whole(const QString& text) {
  Parsed parsed;
  parsed.ok = ParseLatLonFromUTM(text, &parsed.lat, &parsed.lng);
  return parsed;
}

void ExpectSame(const Parsed& a, const Parsed& b) {
  EXPECT_TRUE(a.ok);
  EXPECT_TRUE(b.ok);
  EXPECT_EQ(a.lat, b.lat);
  EXPECT_EQ(a.lng, b.lng);
}

void ExpectRefused(const Parsed& parsed, const std::string& what) {
  EXPECT_FALSE(parsed.ok) << what;
  EXPECT_EQ(parsed.lat, kBefore) << what;
  EXPECT_EQ(parsed.lng, kBefore) << what;
}

Parsed InZone(unsigned char number, char letter, double easting, double northing) {
  Parsed parsed;
  parsed.ok = true;
  ostrand::UTMZone(number, letter).LocalToLatLng(easting, northing, &parsed.lat, &parsed.lng);
  return parsed;
}

QString Zone(const char* text) {
  return QString::fromUtf8(text);
}

TEST(UtmTextFields, AreReadByTheZonesProjection) {
  ExpectSame(Fields(QStringLiteral("33T")), InZone(33, 'T', 500000.0, 4649776.0));
  EXPECT_NEAR(Fields(QStringLiteral("33T")).lng, 15.0, 1e-12);
}

TEST(UtmTextFields, MayHaveBlanksAndLowerCaseLetters) {
  const Parsed plain = Fields(QStringLiteral("33T"));
  for (const char* zone : {"33 T", "  33\t T  ", "33t", "zone 33 T, north", "33Tango"}) {
    ExpectSame(Fields(Zone(zone)), plain);
  }
}

TEST(UtmTextFields, TellTheHemisphereByTheLetterAlone) {
  EXPECT_LT(Fields(QStringLiteral("33M"), QStringLiteral("500000"), QStringLiteral("9999000")).lat,
            0.0);
  EXPECT_GT(Fields(QStringLiteral("33N"), QStringLiteral("500000"), QStringLiteral("1000")).lat,
            0.0);
}

TEST(UtmTextFields, RefuseLettersOutsideTheBands) {
  for (const char* zone : {"33A", "33B", "33I", "33O", "33Y", "33Z", "33i", "33o", "33_", "33?"}) {
    ExpectRefused(Fields(Zone(zone)), zone);
  }
}

TEST(UtmTextFields, TakeEveryBandLetter) {
  for (const char letter : std::string("CDEFGHJKLMNPQRSTUVWX")) {
    EXPECT_TRUE(Fields(QStringLiteral("33") + QLatin1Char(letter)).ok) << letter;
  }
}

TEST(UtmTextFields, RefuseZoneNumbersOutside1To60) {
  for (const char* zone : {"61T", "0T", "255T", "256T", "317T"}) {
    ExpectRefused(Fields(Zone(zone)), zone);
  }
  EXPECT_TRUE(Fields(QStringLiteral("1T")).ok);
  EXPECT_TRUE(Fields(QStringLiteral("60T")).ok);
}

TEST(UtmTextFields, CutZoneNumbersToOneByte) {
  ExpectSame(Fields(QStringLiteral("289T")), Fields(QStringLiteral("33T")));
  ExpectSame(Fields(QStringLiteral("2147483393T")), Fields(QStringLiteral("1T")));
  ExpectRefused(Fields(QStringLiteral("4294967329T")), "beyond int");
}

TEST(UtmTextFields, SplitANumberAloneIntoANumberAndAWord) {
  // The last digit is the word, and no band letter.
  ExpectRefused(Fields(QStringLiteral("33")), "33");
  ExpectRefused(Fields(QStringLiteral("3")), "3");
  ExpectRefused(Fields(QString()), "nothing");
  ExpectRefused(Fields(QStringLiteral("T33")), "T33");
}

TEST(UtmTextFields, UpperCaseTwoOtherLettersToS) {
  const Parsed plain = Fields(QStringLiteral("33S"));
  ExpectSame(Fields(Zone("33\xC3\x9F")), plain);
  ExpectSame(Fields(Zone("33\xC5\xBF")), plain);
}

TEST(UtmTextFields, RefuseLettersThatLatin1DoesNotHave) {
  ExpectRefused(Fields(Zone("33\xD0\xA2")), "Cyrillic Te");
}

TEST(UtmTextFields, TakeTheBlanksOfUnicode) {
  ExpectSame(Fields(Zone("33\xC2\xA0T")), Fields(QStringLiteral("33T")));
}

TEST(UtmTextFields, FindForeignDigitsButReadThemAs0) {
  ExpectRefused(Fields(Zone("\xD9\xA3\xD9\xA3T")), "Arabic digits");
  ExpectSame(Fields(QStringLiteral("33T"), Zone("\xD9\xA3 500000")),
             Fields(QStringLiteral("33T"), QStringLiteral("0")));
}

TEST(UtmTextFields, CountTheFirstRunOfDigitsOnly) {
  const QString zone = QStringLiteral("33T");
  const QString northing = QStringLiteral("4649776");
  const auto easting = [&](const char* text) { return Fields(zone, Zone(text), northing); };
  ExpectSame(easting("500000.75"), easting("500000"));
  ExpectSame(easting("500000.00 m E"), easting("500000"));
  ExpectSame(easting(".5"), easting("5"));
  ExpectSame(easting("-5"), easting("5"));
  ExpectSame(easting("5e3"), easting("5"));
  ExpectSame(easting("1.2.3"), easting("1"));
  ExpectSame(easting("E 500000"), easting("500000"));
}

TEST(UtmTextFields, ReadTextWithoutDigitsAs0WithoutFailing) {
  ExpectSame(Fields(QStringLiteral("33T"), QStringLiteral("east"), QString()),
             InZone(33, 'T', 0.0, 0.0));
}

TEST(UtmTextFields, WriteNonsenseForNumbersFarOffAndStayTrue) {
  EXPECT_TRUE(Fields(QStringLiteral("33T"), QStringLiteral("99999999999999")).ok);
  const Parsed parsed =
      Fields(QStringLiteral("33T"), QString(400, QLatin1Char('9')), QStringLiteral("0"));
  EXPECT_TRUE(parsed.ok);
  EXPECT_TRUE(std::isnan(parsed.lat));
}

TEST(UtmTextFields, ReadWhatCreateUTMStringsWritesLessTheFraction) {
  QString zone;
  QString easting;
  QString northing;
  ASSERT_TRUE(CreateUTMStrings(42.0, 12.5, &zone, &easting, &northing));
  const Parsed parsed = Fields(zone, easting, northing);
  EXPECT_TRUE(parsed.ok);
  EXPECT_NEAR(parsed.lat, 42.0, 2e-5);
  EXPECT_NEAR(parsed.lng, 12.5, 2e-5);
}

TEST(UtmText, ReadsZoneEastingAndNorthing) {
  const Parsed plain = Fields(QStringLiteral("33T"));
  for (const char* text :
       {"33T 500000 4649776", "33 T 500000.25 4649776.5", "33t 500000 4649776",
        "\t33T  500000\t4649776 ", "at 33T 500000 4649776, about", "33T 500000 4649776.1.2"}) {
    ExpectSame(Whole(Zone(text)), plain);
  }
}

TEST(UtmText, ReadsTheLeadingDigitsOfDigitsAndDots) {
  ExpectSame(Whole(QStringLiteral("33T 1.2.3 4649776")),
             Fields(QStringLiteral("33T"), QStringLiteral("1")));
  ExpectSame(Whole(QStringLiteral("33T .5 4649776")),
             Fields(QStringLiteral("33T"), QStringLiteral("5")));
}

TEST(UtmText, RefusesWhatItsFormDoesNotHave) {
  for (const char* text :
       {"", "33T", "33T 500000", "33T500000 4649776", "33T 500000,4649776", "33 500000 4649776",
        "T 500000 4649776", "33T -500000 4649776", "33 T 500000.00 m E 4649776.00 m N"}) {
    ExpectRefused(Whole(Zone(text)), text);
  }
}

TEST(UtmText, RefusesLettersOutsideTheBands) {
  for (const char* text : {"33I 500000 4649776", "33O 500000 4649776", "33A 500000 4649776",
                           "33B 500000 4649776", "33Y 500000 4649776", "33Z 500000 4649776"}) {
    ExpectRefused(Whole(Zone(text)), text);
  }
}

TEST(UtmText, RefusesZones0And61) {
  ExpectRefused(Whole(QStringLiteral("61T 500000 4649776")), "61");
  ExpectRefused(Whole(QStringLiteral("0T 500000 4649776")), "0");
}

TEST(UtmText, DecidesByTheLeftmostMatch) {
  ExpectRefused(Whole(QStringLiteral("133T 500000 4649776")), "133");
  ExpectRefused(Whole(QStringLiteral("61T 500000 4649776 33T 500000 4649776")), "61 first");
  ExpectSame(Whole(QStringLiteral("5 33T 500000 4649776")), Fields(QStringLiteral("33T")));
}

TEST(UtmText, LeavesTheOutputsAloneBeyondTheGlobe) {
  ExpectRefused(Whole(QStringLiteral("33T 500000 99999999")), "latitude");
  ExpectRefused(Whole(QStringLiteral("33T 99999999 4649776")), "longitude");
  ExpectRefused(
      Whole(QStringLiteral("33T ") + QString(400, QLatin1Char('9')) + QStringLiteral(" 0")),
      "not a number");
}

TEST(UtmText, RefusesPlacesAcrossTheAntimeridian) {
  // 180.5 degrees east of Greenwich in zone 60, which is not brought back to -179.5.
  double x = 0.0;
  double y = 0.0;
  ostrand::UTMZone(60, 'N').LatLngToLocal(10.0, 180.5, &x, &y);
  ExpectRefused(Whole(QStringLiteral("60N %1 %2").arg(x, 0, 'f', 0).arg(y, 0, 'f', 0)), "180.5");
}

TEST(UtmText, ReadsLongTextsInProportionToTheirLength) {
  // A search that starts anew at each character takes minutes for each of these.
  constexpr int kLength = 1 << 20;
  ExpectRefused(Whole(QString(kLength, QLatin1Char('1'))), "digits");
  ExpectRefused(Whole(QString(kLength, QLatin1Char(' ')) + QLatin1Char('.')), "blanks");
  ExpectRefused(Fields(QStringLiteral("1") + QString(kLength, QLatin1Char(' ')) + QLatin1Char('?')),
                "a digit and blanks");
  EXPECT_TRUE(Fields(QStringLiteral("33T"), QString(kLength, QLatin1Char(' '))).ok);
}

struct Written {
  bool ok = false;
  QString zone = QStringLiteral("z");
  QString easting = QStringLiteral("e");
  QString northing = QStringLiteral("n");
};

Written Create(double lat, double lng) {
  Written written;
  written.ok = CreateUTMStrings(lat, lng, &written.zone, &written.easting, &written.northing);
  return written;
}

TEST(UtmStrings, PadShortNumbersInsideTheFormat) {
  const Written written = Create(0.0, 9.0);
  EXPECT_TRUE(written.ok);
  EXPECT_EQ(written.zone.toStdString(), "32 N");
  EXPECT_EQ(written.easting.toStdString(), "500000.00 m E");
  EXPECT_EQ(written.northing.toStdString(), "   0.00 m N");
}

TEST(UtmStrings, ShowTheFullNorthingInTheSouth) {
  const Written written = Create(-34.0, 18.4);
  EXPECT_EQ(written.zone.toStdString(), "34 H");
  EXPECT_EQ(written.northing.toStdString(), "6234796.01 m S");
}

TEST(UtmStrings, CallAPointJustBelowTheEquatorSouth) {
  EXPECT_EQ(Create(-1e-9, 9.0).northing.toStdString(), "10000000.00 m S");
  EXPECT_EQ(Create(-1e-9, 9.0).zone.toStdString(), "32 M");
}

// A longitude on the equator whose easting is `easting` to the bit, or not-a-number.
double LongitudeOfEasting(double easting) {
  const ostrand::UTMZone zone(32, 'N');
  const auto easting_at = [&zone](double lng) {
    double x = 0.0;
    double y = 0.0;
    zone.LatLngToLocal(0.0, lng, &x, &y);
    return x;
  };
  double low = 9.0;
  double high = 12.0;
  while (std::nextafter(low, high) < high) {
    const double middle = low + (high - low) / 2.0;
    (easting_at(middle) < easting ? low : high) = middle;
  }
  return easting_at(high) == easting ? high : std::numeric_limits<double>::quiet_NaN();
}

TEST(UtmStrings, RoundAHalfAwayFromZero) {
  // Not every easting is that of some longitude, so a few are tried.
  int tried = 0;
  for (int metres = 600000; metres < 600200; ++metres) {
    const double lng = LongitudeOfEasting(metres + 0.125);
    if (std::isnan(lng)) {
      continue;
    }
    ++tried;
    EXPECT_EQ(Create(0.0, lng).easting.toStdString(), std::to_string(metres) + ".13 m E");
  }
  EXPECT_GT(tried, 10);
}

TEST(UtmStrings, AreRefusedAbove84AndForNotANumber) {
  for (const double lat : {84.5, 84.0001, 90.0, std::numeric_limits<double>::quiet_NaN()}) {
    const Written written = Create(lat, 9.0);
    EXPECT_FALSE(written.ok) << lat;
    EXPECT_EQ(written.zone.toStdString(), "z");
    EXPECT_EQ(written.easting.toStdString(), "e");
    EXPECT_EQ(written.northing.toStdString(), "n");
  }
  EXPECT_TRUE(Create(84.0, 9.0).ok);
}

TEST(UtmStrings, CallNotANumberImpossibleInTheLog) {
  const test_support::LogRecorder log;
  Create(std::numeric_limits<double>::quiet_NaN(), 9.0);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Impossible: nan"});
}

TEST(UtmStrings, GoOnBelowMinus80WithTheLetterA) {
  const Written written = Create(-85.0, 9.0);
  EXPECT_TRUE(written.ok);
  EXPECT_EQ(written.zone.toStdString(), "32 A");
  EXPECT_TRUE(written.northing.endsWith(QStringLiteral(" m S")));
}

TEST(UtmStrings, GoOnBelowMinus186WithZone0AndANegativeEasting) {
  const test_support::LogRecorder log;
  const Written written = Create(10.0, -187.0);
  EXPECT_TRUE(written.ok);
  EXPECT_EQ(written.zone.toStdString(), "0 P");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Check failed: longitude_zone_ > 0"});
  const Written farther = Create(10.0, -190.0);
  EXPECT_TRUE(farther.ok);
  EXPECT_EQ(farther.zone.toStdString(), "0 P");
  EXPECT_TRUE(farther.easting.startsWith(QLatin1Char('-'))) << farther.easting.toStdString();
}

TEST(UtmStrings, AreSafeForAnyLongitude) {
  for (const double lng : {1e300, -1e300, std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_TRUE(Create(10.0, lng).ok) << lng;
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
