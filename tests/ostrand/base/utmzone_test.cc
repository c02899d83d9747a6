// SPDX-License-Identifier: Apache-2.0
// Making a zone, its text, its reference, and what failed checks leave behind.
#include "ostrand/base/utmzone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"

namespace ostrand {
namespace {

using test_support::LogRecorder;
using Lines = std::vector<std::string>;

const char* const kParseEntry =
    "3 Check failed: sscanf(zone.c_str(), \"%d%c%c\", &lng, &latitude_zone_, &dummy)==2 ";

TEST(UTMZone, IsNotValidByDefault) {
  const UTMZone zone;
  EXPECT_FALSE(zone.IsValid());
  EXPECT_EQ(zone.longitude_zone(), 0);
  EXPECT_EQ(zone.latitude_zone(), 'I');
  EXPECT_FALSE(zone.IsReferenceSet());
  EXPECT_EQ(zone.utm_origin(), (Point2<double>{0.0, 0.0}));
}

TEST(UTMZone, TakesANumberAndALetterWithoutAReference) {
  const LogRecorder log;
  const UTMZone zone(32, 'T');
  EXPECT_TRUE(zone.IsValid());
  EXPECT_EQ(zone.longitude_zone(), 32);
  EXPECT_EQ(zone.latitude_zone(), 'T');
  EXPECT_FALSE(zone.IsReferenceSet());
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(UTMZone, TakesEveryNumberAndLetterOfTheRangeWithoutAWord) {
  const LogRecorder log;
  for (int zone = 1; zone <= 60; ++zone) {
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
      EXPECT_TRUE(UTMZone(static_cast<unsigned char>(zone), letter).IsValid());
    }
  }
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(UTMZone, NamesAZoneNumberOutOfRangeAsARawCharacterAndKeepsIt) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(61, 'T').longitude_zone(), 61);
  EXPECT_EQ(UTMZone(0, 'T').longitude_zone(), 0);
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: longitude_zone_<=60 =<=60",
                   std::string("3 Check failed: longitude_zone_>=1 ") + '\0' + ">=1"}));
  for (const LogEntry& entry : log.entries()) {
    EXPECT_EQ(entry.file, "ostrand/base/utmzone.cc");
  }
}

TEST(UTMZone, NamesALetterOutOfRangeAndKeepsIt) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(32, '@').latitude_zone(), '@');
  EXPECT_EQ(UTMZone(32, '[').latitude_zone(), '[');
  EXPECT_EQ(UTMZone(32, 't').latitude_zone(), 't');
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: latitude_zone_>='A' @>=A",
                                "3 Check failed: latitude_zone_<='Z' [<=Z",
                                "3 Check failed: latitude_zone_<='Z' t<=Z"}));
}

TEST(UTMZone, ComparesLettersAsSignedCharacters) {
  const LogRecorder log;
  const UTMZone zone(32, '\xC4');
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: latitude_zone_>='A' \xC4>=A"});
  double x = 0.0;
  double y = 0.0;
  zone.LatLngToLocal(0.0, 9.0, &x, &y);
  EXPECT_EQ(y, 1e7) << "below 'N', so in the south";
}

TEST(UTMZone, CountsLowerCaseLettersAsNorthernAndTheDefaultOneAsSouthern) {
  double x = 0.0;
  double y = 0.0;
  UTMZone(32, 'c').LatLngToLocal(0.0, 9.0, &x, &y);
  EXPECT_EQ(y, 0.0);
  UTMZone(32, 'I').LatLngToLocal(0.0, 9.0, &x, &y);
  EXPECT_EQ(y, 1e7);
}

TEST(UTMZoneText, ReadsANumberAndALetter) {
  const LogRecorder log;
  const UTMZone zone(std::string("32T"));
  EXPECT_EQ(zone.longitude_zone(), 32);
  EXPECT_EQ(zone.latitude_zone(), 'T');
  EXPECT_EQ(zone.utm_origin(), (Point2<double>{0.0, 0.0}));
  EXPECT_FALSE(zone.IsReferenceSet());
  EXPECT_EQ(UTMZone(std::string(" +7C")).StringRepresentation(), "7C");
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(UTMZoneText, WritesWhatItReads) {
  for (const char* text : {"1C", "9N", "32T", "60X"}) {
    EXPECT_EQ(UTMZone(std::string(text)).StringRepresentation(), text);
  }
}

TEST(UTMZoneText, RefusesATrailingCharacterAndGoesOnWithTheRest) {
  const LogRecorder log;
  const UTMZone zone(std::string("32TX"));
  EXPECT_EQ(zone.StringRepresentation(), "32T");
  EXPECT_EQ(log.lines(), Lines{std::string(kParseEntry) + "3==2UTM zone name parse error"});
}

TEST(UTMZoneText, TakesABlankAsTheLetterAfterItsComplaint) {
  const LogRecorder log;
  const UTMZone zone(std::string("32 T"));
  EXPECT_EQ(zone.StringRepresentation(), "32 ");
  EXPECT_EQ(log.lines(), (Lines{std::string(kParseEntry) + "3==2UTM zone name parse error",
                                "3 Check failed: latitude_zone_>='A'  >=A"}));
}

TEST(UTMZoneText, KeepsTheDefaultLetterWhereNoneIsRead) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(std::string("32")).StringRepresentation(), "32I");
  EXPECT_EQ(log.lines(), Lines{std::string(kParseEntry) + "1==2UTM zone name parse error"});
}

TEST(UTMZoneText, IsNotValidWithoutANumber) {
  for (const auto& [text, items] :
       {std::pair("T32", "0"), std::pair("-", "0"), std::pair("", "-1"), std::pair("  ", "-1")}) {
    const LogRecorder log;
    const UTMZone zone{std::string(text)};
    EXPECT_FALSE(zone.IsValid()) << text;
    EXPECT_EQ(zone.latitude_zone(), 'I') << text;
    ASSERT_EQ(log.lines().size(), 2u) << text;
    EXPECT_EQ(log.lines()[0], std::string(kParseEntry) + items + "==2UTM zone name parse error");
  }
}

TEST(UTMZoneText, CutsTheNumberToOneByte) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(std::string("289T")).StringRepresentation(), "33T");
  EXPECT_EQ(UTMZone(std::string("-223T")).StringRepresentation(), "33T");
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(UTMZoneText, ReadsNumbersOfAnyLength) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(std::string(400, '9') + "T").longitude_zone(), 255);
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST(UTMZoneText, EndsAtANulByte) {
  const LogRecorder log;
  EXPECT_EQ(UTMZone(std::string("32T\0X", 5)).StringRepresentation(), "32T");
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(UTMZoneReference, IsSetByAPointAlsoWithoutAnOrigin) {
  const UTMZone zone(42.0, 12.5);
  EXPECT_TRUE(zone.IsReferenceSet());
  EXPECT_EQ(zone.utm_origin(), (Point2<double>{0.0, 0.0}));
  double lat = 0.0;
  double lng = 0.0;
  zone.GetReference(&lat, &lng);
  EXPECT_EQ(lat, 42.0);
  EXPECT_EQ(lng, 12.5);
}

TEST(UTMZoneReference, BecomesLocalZeroWithAnOrigin) {
  const UTMZone zone(42.0, 12.5, true);
  EXPECT_TRUE(zone.IsReferenceSet());
  double x = 1.0;
  double y = 1.0;
  zone.LatLngToLocal(42.0, 12.5, &x, &y);
  EXPECT_EQ(x, 0.0);
  EXPECT_EQ(y, 0.0);
  double lat = 0.0;
  double lng = 0.0;
  zone.LocalToLatLng(0.0, 0.0, &lat, &lng);
  EXPECT_NEAR(lat, 42.0, 1e-8);
  EXPECT_NEAR(lng, 12.5, 1e-8);
}

TEST(UTMZoneReference, FollowsSetReferenceWithItsZone) {
  UTMZone zone(42.0, 12.5);
  zone.SetReference(-34.0, 18.4);
  EXPECT_EQ(zone.StringRepresentation(), "34H");
  double x = 1.0;
  double y = 1.0;
  zone.LatLngToLocal(-34.0, 18.4, &x, &y);
  EXPECT_EQ(x, 0.0);
  EXPECT_EQ(y, 0.0);
  zone.Set(-34.0, 18.4);
  EXPECT_EQ(zone.utm_origin(), (Point2<double>{0.0, 0.0}));
}

TEST(UTMZoneReference, KeepsItsAnglesUnturned) {
  const UTMZone zone(60.0, 365.0, true);
  double lat = 0.0;
  double lng = 0.0;
  zone.GetReference(&lat, &lng);
  EXPECT_EQ(lng, 365.0);
  EXPECT_EQ(zone.longitude_zone(), 32);
}

TEST(UTMZoneReference, IsNotANumberBeforeItIsSet) {
  const LogRecorder log;
  double lat = 1.0;
  double lng = 1.0;
  UTMZone().GetReference(&lat, &lng);
  EXPECT_TRUE(std::isnan(lat));
  EXPECT_TRUE(std::isnan(lng));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: IsReferenceSet()"});
}

// Counts the calls, to show which way the origin is computed.
class CountingZone : public UTMZone {
 public:
  void LatLngToLocal(double lat, double lng, double* x, double* y) const override {
    ++calls;
    UTMZone::LatLngToLocal(lat, lng, x, y);
  }
  mutable int calls = 0;
};

TEST(UTMZoneReference, ComputesTheOriginThroughTheVirtualTable) {
  CountingZone zone;
  zone.Set(42.0, 12.5);
  EXPECT_EQ(zone.calls, 0);
  zone.SetReference(42.0, 12.5);
  EXPECT_EQ(zone.calls, 1);
}

TEST(UTMZoneOrigin, MovesLocalCoordinatesAndSetsTheReference) {
  UTMZone zone(33, 'T');
  zone.set_utm_origin({500000.0, 4649776.0});
  EXPECT_TRUE(zone.IsReferenceSet());
  double lat = 0.0;
  double lng = 0.0;
  zone.GetReference(&lat, &lng);
  EXPECT_EQ(lng, 15.0);
  EXPECT_NEAR(lat, 42.0, 0.01);
  double x = 1.0;
  double y = 1.0;
  zone.LatLngToLocal(lat, lng, &x, &y);
  EXPECT_EQ(x, 0.0);
  EXPECT_NEAR(y, 0.0, 1e-3);
}

TEST(UTMZoneOrigin, LeavesTheReferenceAloneForZeroOfEitherSign) {
  UTMZone zone(33, 'T');
  zone.set_utm_origin({0.0, -0.0});
  EXPECT_FALSE(zone.IsReferenceSet());
}

TEST(UTMZoneOrigin, CountsNotANumberAsAnOrigin) {
  UTMZone zone(33, 'T');
  zone.set_utm_origin({std::numeric_limits<double>::quiet_NaN(), 0.0});
  EXPECT_TRUE(zone.IsReferenceSet());
  double lat = 0.0;
  double lng = 0.0;
  zone.GetReference(&lat, &lng);
  EXPECT_TRUE(std::isnan(lng));
}

TEST(UTMZoneOrigin, IsStoredByAZoneThatIsNotValidAfterItsComplaint) {
  const LogRecorder log;
  UTMZone zone;
  zone.set_utm_origin({1.0, 2.0});
  EXPECT_EQ(zone.utm_origin(), (Point2<double>{1.0, 2.0}));
  EXPECT_TRUE(zone.IsReferenceSet());
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: IsValid()", "3 Check failed: longitude_zone_ > 0"}));
}

TEST(UTMZone, ProjectsFrom183WestWithoutAZoneAfterItsComplaint) {
  const LogRecorder log;
  const UTMZone zone;
  double x = 0.0;
  double y = 0.0;
  zone.LatLngToLocal(0.0, -183.0, &x, &y);
  EXPECT_EQ(x, 500000.0);
  double lat = 0.0;
  double lng = 0.0;
  zone.LocalToLatLng(500000.0, 1e7, &lat, &lng);
  EXPECT_EQ(lng, -183.0);
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: longitude_zone_ > 0", "3 Check failed: longitude_zone_ > 0"}));
}

TEST(UTMZone, ClonesAllItsFields) {
  const UTMZone zone(42.0, 12.5, true);
  const MapProjection& projection = zone;
  const std::unique_ptr<MapProjection> clone(projection.Clone());
  double lat = 0.0;
  double lng = 0.0;
  clone->GetReference(&lat, &lng);
  EXPECT_EQ(lat, 42.0);
  EXPECT_EQ(lng, 12.5);
  const auto* const copy = dynamic_cast<const UTMZone*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->StringRepresentation(), "33T");
  EXPECT_EQ(copy->utm_origin(), zone.utm_origin());
}

}  // namespace
}  // namespace ostrand
