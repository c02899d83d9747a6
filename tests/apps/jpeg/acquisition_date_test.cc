// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/acquisition_date.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/jpeg/photo_facts.h"
#include "tests/apps/jpeg/jpeg_builder.h"

namespace pelorin {
namespace {

using test_support::CommentsOf;
using test_support::Segment;
using test_support::SmallJpeg;
using test_support::WithSegments;
using Texts = std::vector<std::string>;

constexpr int kComment = 0xFE;
constexpr char kBlock2017[] = "*#Q0#*0*AD*2017:12:31*#0Q#*";
constexpr char kBlock2019[] = "*#Q0#*0*AD*2019:05:00*#0Q#*";

vortan::JpegCommentDate Date(const std::string& text) {
  vortan::JpegCommentDate date;
  EXPECT_TRUE(ParseDate(text, &date)) << text;
  return date;
}

std::string Dated(const std::string& file, const std::string& date) {
  JpegHeader header;
  std::string error;
  EXPECT_TRUE(ReadJpegHeader(file, &header, &error)) << error;
  return WithDateComment(file, header, DateComment(Date(date)));
}

std::string DateOf(const std::string& file) {
  JpegHeader header;
  std::string error;
  EXPECT_TRUE(ReadJpegHeader(file, &header, &error)) << error;
  return DateText(DateInHeader(header));
}

TEST(DateComment, IsABlockWithTheDate) {
  EXPECT_EQ(DateComment(Date("2017-12-31")), kBlock2017);
  EXPECT_EQ(DateComment(Date("2019-05")), kBlock2019);
}

TEST(DateComment, IsEmptyForAnUnknownDate) {
  EXPECT_EQ(DateComment(vortan::JpegCommentDate()), "");
}

TEST(DateComment, HasTheDateWithHalfOfTheImage) {
  const unsigned int a = Date("2017").Key();
  const unsigned int b = Date("2019").Key();
  EXPECT_EQ(DateComment({{a, 0.6f}, {b, 0.4f}}), "*#Q0#*0*AD*2017:00:00*#0Q#*");
  EXPECT_EQ(DateComment({{a, 0.5f}, {b, 0.5f}}), "*#Q0#*0*AD*2017:00:00*#0Q#*");
  EXPECT_EQ(DateComment({{a, 0.4f}, {b, 0.3f}}), "");
}

TEST(DateInComment, IsUnknownWhereThereIsNone) {
  EXPECT_EQ(DateText(DateInComment("Created with care")), "0000:00:00");
  EXPECT_EQ(DateText(DateInComment("")), "0000:00:00");
  EXPECT_EQ(DateText(DateInComment(kBlock2017)), "2017:12:31");
}

TEST(DateOfAFile, IsThatOfTheFirstCommentWithAKnownOne) {
  const std::string file = WithSegments(
      SmallJpeg(), Segment(kComment, "by hand") + Segment(kComment, "*#Q0#*0*AD*0000:00:00*#0Q#*") +
                       Segment(kComment, kBlock2017) + Segment(kComment, kBlock2019));
  EXPECT_EQ(DateOf(file), "2017:12:31");
}

TEST(WithDateComment, PutsTheDateBehindWhatTheFileBeginsWith) {
  const std::string file =
      WithSegments(SmallJpeg(), Segment(0xE1, "camera") + Segment(kComment, "Created with care"));
  const std::string dated = Dated(file, "2017-12-31");
  EXPECT_EQ(CommentsOf(dated), (Texts{"Created with care", kBlock2017}));
  const std::string segment = Segment(kComment, kBlock2017);
  const std::size_t at = dated.find(segment);
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(std::string(dated).erase(at, segment.size()), file);
}

TEST(WithDateComment, ReplacesADateThatStandsAlone) {
  const std::string first = Dated(SmallJpeg(), "2017-12-31");
  const std::string second = Dated(first, "2019-05");
  EXPECT_EQ(second.size(), first.size());
  EXPECT_EQ(CommentsOf(second), Texts{kBlock2019});
  EXPECT_EQ(Dated(second, "2017-12-31"), first);
}

TEST(WithDateComment, ChangesNothingForTheSameDate) {
  const std::string file = Dated(SmallJpeg(), "2017-12-31");
  EXPECT_EQ(Dated(file, "2017-12-31"), file);
}

TEST(WithDateComment, KeepsADateAmongOtherTextAndGoesAheadOfIt) {
  const std::string mixed = std::string("by hand") + kBlock2017;
  const std::string more = "*#Q0#*0*AD*2017:12:31*AE*2018:01:01*#0Q#*";
  for (const std::string& comment : {mixed, more}) {
    const std::string file = WithSegments(SmallJpeg(), Segment(kComment, comment));
    const std::string dated = Dated(file, "2019-05");
    EXPECT_EQ(CommentsOf(dated), (Texts{kBlock2019, comment}));
    EXPECT_EQ(DateOf(dated), "2019:05:00");
    EXPECT_EQ(CommentsOf(Dated(dated, "2017-12-31")), (Texts{kBlock2017, comment}));
  }
}

TEST(WithDateComment, LeavesAllBytesBehindTheHeaderAsTheyAre) {
  std::string file = SmallJpeg("by hand");
  file += "and what some cameras put behind the end";
  const std::string dated = Dated(file, "2017-12-31");
  const std::size_t scan = file.find("\xFF\xDA");
  EXPECT_EQ(dated.substr(dated.find("\xFF\xDA")), file.substr(scan));
}

TEST(ParseDate, TakesTheFormsThatPeopleWrite) {
  EXPECT_EQ(DateText(Date("2017-12-31")), "2017:12:31");
  EXPECT_EQ(DateText(Date("2017:12:31")), "2017:12:31");
  EXPECT_EQ(DateText(Date("2017-12")), "2017:12:00");
  EXPECT_EQ(DateText(Date("2017")), "2017:00:00");
  EXPECT_EQ(DateText(Date("2017:12:00")), "2017:12:00");
  EXPECT_EQ(DateText(Date("2016-02-29")), "2016:02:29");
  EXPECT_EQ(DateText(Date("0001-01-01")), "0001:01:01");
}

TEST(ParseDate, RefusesEverythingElseAndLeavesTheDate) {
  for (const char* text : {"",           "17",          "2017-",      "2017-1",
                           "2017-1-1",   "2017-13",     "2017-12-32", "2017-02-29",
                           "2017-00-15", "0000",        "0000-01-01", "4096",
                           "2017/12/31", "2017-12-31 ", " 2017",      "2017-12-31T00:00",
                           "-017-12-31", "2017--1-31",  "20171231",   "yyyy-mm-dd"}) {
    vortan::JpegCommentDate date = Date("1999");
    EXPECT_FALSE(ParseDate(text, &date)) << text;
    EXPECT_EQ(date.year(), 1999) << text;
  }
}

// A camera's segment with its date, and a place as degrees, minutes and seconds north and west.
std::string CameraSegment(const std::string& date, int lat_deg, int lng_deg, int denominator) {
  const auto word = [](unsigned number) {
    return std::string{static_cast<char>(number), static_cast<char>(number >> 8),
                       static_cast<char>(number >> 16), static_cast<char>(number >> 24)};
  };
  const auto half = [&word](unsigned number) { return word(number).substr(0, 2); };
  const auto entry = [&](unsigned tag, unsigned type, unsigned count, const std::string& value) {
    return half(tag) + half(type) + word(count) + value;
  };
  const auto angle = [&](int degrees) {
    return word(unsigned(degrees)) + word(unsigned(denominator)) + word(30) + word(1) + word(36) +
           word(1);
  };
  // Offsets from the byte order mark: the first folder at 8, the camera's at 38, its text at 56,
  // that of the place at 76, its angles at 130 and 154.
  return Segment(0xE1, std::string("Exif\0\0II*\0", 10) + word(8) + half(2) +
                           entry(0x8769, 4, 1, word(38)) + entry(0x8825, 4, 1, word(76)) + word(0) +
                           half(1) + entry(0x9003, 2, 20, word(56)) + word(0) + date +
                           std::string(20 - date.size(), '\0') + half(4) +
                           entry(1, 2, 2, std::string("N\0\0\0", 4)) + entry(2, 5, 3, word(130)) +
                           entry(3, 2, 2, std::string("W\0\0\0", 4)) + entry(4, 5, 3, word(154)) +
                           word(0) + angle(lat_deg) + angle(lng_deg));
}

PhotoFacts FactsOf(const std::string& segments) {
  const std::string file = WithSegments(SmallJpeg(), segments);
  JpegHeader header;
  std::string error;
  EXPECT_TRUE(ReadJpegHeader(file, &header, &error)) << error;
  return FactsInHeader(header);
}

TEST(PhotoFacts, AreTheDateAndThePlaceOfTheCamera) {
  const PhotoFacts facts = FactsOf(CameraSegment("2017:12:31 23:59:59", 47, 24, 1));
  EXPECT_EQ(DateText(facts.date), "2017:12:31");
  ASSERT_TRUE(facts.place.has_value());
  EXPECT_DOUBLE_EQ(facts.place->lat_deg, 47.51);
  EXPECT_DOUBLE_EQ(facts.place->lng_deg, -24.51);
}

TEST(PhotoFacts, AreUnknownWithoutACameraSegment) {
  const PhotoFacts facts = FactsOf(Segment(0xE1, "http://ns.example/xmp") + Segment(0xE1, ""));
  EXPECT_FALSE(facts.place.has_value());
  EXPECT_EQ(facts.date.year(), 0);
}

TEST(PhotoFacts, HaveNoDateWhereTheClockWasNeverSet) {
  for (const char* date : {"0000:00:00 00:00:00", "    :  :     :  :  ", "2017:13:01 00:00:00"}) {
    EXPECT_EQ(FactsOf(CameraSegment(date, 47, 24, 1)).date.year(), 0) << date;
  }
}

TEST(PhotoFacts, HaveNoPlaceOutsideThePlanetsDegrees) {
  EXPECT_FALSE(FactsOf(CameraSegment("", 90, 24, 1)).place.has_value());
  EXPECT_FALSE(FactsOf(CameraSegment("", 47, 180, 1)).place.has_value());
  EXPECT_FALSE(FactsOf(CameraSegment("", 47, 24, 0)).place.has_value());
}

TEST(PhotoFacts, AreReadFromDamagedSegmentsWithoutHarm) {
  const std::string segment = CameraSegment("2017:12:31 23:59:59", 47, 24, 1);
  for (std::size_t at = 4; at < segment.size(); ++at) {
    for (const int byte : {0, 1, 0x7F, 0x80, 0xFF}) {
      std::string damaged = segment;
      damaged[at] = static_cast<char>(byte);
      const PhotoFacts facts = FactsOf(damaged);
      EXPECT_TRUE(!facts.place || IsValidLatLng(*facts.place));
    }
    FactsOf(Segment(0xE1, segment.substr(4, at - 4)));
  }
}

}  // namespace
}  // namespace pelorin
