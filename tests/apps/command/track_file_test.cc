// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/track_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>

namespace pelorin {
namespace command {
namespace {

constexpr char kHead[] = "<gpx version='1.1' xmlns='http://www.topografix.com/GPX/1/1'>\n";

class TrackFile : public testing::Test {
 protected:
  TrackFile() : path_(testing::TempDir() + "track_" + std::to_string(getpid()) + ".gpx") {}
  ~TrackFile() override { std::remove(path_.c_str()); }

  Outcome Read(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    return ReadTrack(path_, &track);
  }

  std::string path_;
  std::vector<TrackPoint> track;
};

TEST_F(TrackFile, KeepsTheTimesOfItsPoints) {
  ASSERT_TRUE(Read(std::string(kHead) +
                   "<trk><trkseg><trkpt lat='47.5' lon='-24.5'><ele>3</ele>"
                   "<time>2026-05-01T10:00:00Z</time></trkpt>"
                   "<trkpt lat='47.6' lon='-24.4'><time>2026-05-01T10:01:30.5Z</time></trkpt>"
                   "</trkseg></trk></gpx>")
                  .ok());
  ASSERT_EQ(track.size(), 2u);
  EXPECT_EQ(track[0].place, (LatLng{47.5, -24.5}));
  EXPECT_EQ(track[0].seconds, 0.0);
  EXPECT_EQ(track[1].place, (LatLng{47.6, -24.4}));
  EXPECT_DOUBLE_EQ(track[1].seconds, 90.5);
}

TEST_F(TrackFile, AssumesAPaceWhereATimeIsMissingOrFalls) {
  for (const char* time : {"", "<time>soon</time>", "<time>2026-05-01T09:00:00Z</time>"}) {
    ASSERT_TRUE(Read(std::string(kHead) +
                     "<trk><trkseg><trkpt lat='0' lon='0'><time>2026-05-01T10:00:00Z</time></trkpt>"
                     "<trkpt lat='0' lon='0.001'>" +
                     time + "</trkpt></trkseg></trk></gpx>")
                    .ok());
    ASSERT_EQ(track.size(), 2u);
    EXPECT_NEAR(track[1].seconds, 111.195 / 4.0, 0.01) << time;
  }
}

TEST_F(TrackFile, JoinsSegmentsAndPrefersTracksToRoutes) {
  const std::string route = "<rte><rtept lat='1' lon='1'/><rtept lat='2' lon='2'/></rte>";
  ASSERT_TRUE(Read(kHead + route +
                   "<trk><trkseg><trkpt lat='3' lon='3'/></trkseg>"
                   "<trkseg><trkpt lat='4' lon='4'/></trkseg></trk></gpx>")
                  .ok());
  ASSERT_EQ(track.size(), 2u);
  EXPECT_EQ(track[1].place, (LatLng{4.0, 4.0}));
  ASSERT_TRUE(Read(kHead + route + "</gpx>").ok());
  ASSERT_EQ(track.size(), 2u);
  EXPECT_EQ(track[0].place, (LatLng{1.0, 1.0}));
}

TEST_F(TrackFile, StepsOverPointsThatAreNowhere) {
  ASSERT_TRUE(Read(std::string(kHead) +
                   "<trk><trkseg><trkpt lat='91' lon='0'/><trkpt lon='0'/><trkpt lat='x' lon='0'/>"
                   "<trkpt lat='nan' lon='0'/><trkpt lat='5' lon='6'/></trkseg></trk></gpx>")
                  .ok());
  ASSERT_EQ(track.size(), 1u);
  EXPECT_EQ(track[0].place, (LatLng{5.0, 6.0}));
}

TEST_F(TrackFile, TellsWhatIsWrongAndLeavesTheTrackAlone) {
  track = {{{1.0, 2.0}, 3.0}};
  EXPECT_EQ(ReadTrack("/nowhere/at/all.gpx", &track).code(), ExitCode::kDataError);
  for (const std::string& text :
       {std::string(), std::string("track"), std::string("<osm/>"), kHead + std::string("</gpx>"),
        kHead + std::string("<trk><trkseg></trkseg></trk></gpx>"),
        kHead + std::string("<trk><trkseg><trkpt lat='1' lon='1'></gpx>")}) {
    const Outcome outcome = Read(text);
    EXPECT_EQ(outcome.code(), ExitCode::kDataError) << text;
    EXPECT_NE(outcome.Line().find(path_), std::string::npos) << outcome.Line();
  }
  ASSERT_EQ(track.size(), 1u);
  EXPECT_EQ(track[0].seconds, 3.0);
}

TEST_F(TrackFile, NamesTheLineAtWhichAFileBreaksOff) {
  const Outcome outcome = Read(kHead + std::string("<trk>\n<trkseg>\n<trkpt lat='1' lon='1'/>"));
  EXPECT_NE(outcome.Line().find("line 4"), std::string::npos) << outcome.Line();
}

TEST_F(TrackFile, IsReadOrRefusedAtEveryPrefix) {
  const std::string whole =
      kHead + std::string("<trk><trkseg><trkpt lat='1' lon='1'><time>2026-05-01T10:00:00Z</time>"
                          "</trkpt></trkseg></trk></gpx>");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(Read(whole.substr(0, length)).ok()) << length;
  }
  EXPECT_TRUE(Read(whole).ok());
}

// What holds of any track that is read, and of any file that is not.
void ExpectSound(const Outcome& outcome, const std::vector<TrackPoint>& track) {
  if (!outcome.ok()) {
    EXPECT_EQ(outcome.code(), ExitCode::kDataError);
    EXPECT_TRUE(track.empty()) << "left alone";
    return;
  }
  ASSERT_FALSE(track.empty());
  EXPECT_EQ(track[0].seconds, 0.0);
  for (std::size_t i = 0; i < track.size(); ++i) {
    EXPECT_TRUE(IsValidLatLng(track[i].place)) << i;
    EXPECT_TRUE(std::isfinite(track[i].seconds)) << i;
    EXPECT_TRUE(i == 0 || track[i].seconds >= track[i - 1].seconds) << i;
  }
}

// There is no fuzz target for this reader, since those are built without the command: this is the
// same in small, and runs under the sanitizers with all other tests.
TEST_F(TrackFile, IsReadOrRefusedWithAnyBytesChanged) {
  constexpr unsigned kSeed = 190311;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const std::string whole =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + std::string(kHead) +
      "<wpt lat='1' lon='2'><name>here &amp; there</name></wpt>"
      "<rte><rtept lat='1' lon='1'/><rtept lat='-2.5e0' lon='2'/></rte><!-- then -->"
      "<trk><name><![CDATA[a <walk>]]></name><trkseg>"
      "<trkpt lat='47.5' lon='-24.5'><ele>3</ele><time>2026-05-01T10:00:00Z</time></trkpt>"
      "<trkpt lat='47.6' lon='-24.4'><time>2026-05-01T10:01:30.5+02:00</time>"
      "<extensions><a><b/></a></extensions></trkpt></trkseg></trk></gpx>";
  const std::string pieces[] = {"<",
                                ">",
                                "</",
                                "'",
                                "&",
                                ";",
                                "<trkpt lat='1' lon='1'>",
                                "</trkpt>",
                                "<time>",
                                "9999-12-31T23:59:59Z",
                                "-",
                                "e308",
                                "\xff\xfe",
                                "]]>",
                                "<!DOCTYPE gpx [",
                                "<?",
                                std::string(1, '\0')};
  int read = 0;
  for (int round = 0; round < 1500; ++round) {
    std::string damaged = whole;
    for (unsigned change = random() % 4 + 1; change > 0; --change) {
      const std::size_t at = random() % damaged.size();
      switch (random() % 3) {
      case 0:
        damaged[at] = static_cast<char>(random());
        break;
      case 1:
        damaged.erase(at, random() % 20);
        break;
      default:
        damaged.insert(at, pieces[random() % std::size(pieces)]);
      }
    }
    track.clear();
    const Outcome outcome = Read(damaged);
    ExpectSound(outcome, track);
    read += outcome.ok();
    if (HasFailure()) {
      FAIL() << "round " << round << ": " << damaged;
    }
  }
  EXPECT_GT(read, 50);
  EXPECT_LT(read, 1450);
}

TEST_F(TrackFile, RefusesEntitiesThatBlowUp) {
  std::string text = "<!DOCTYPE gpx [<!ENTITY a0 'aaaaaaaaaaaaaaaa'>";
  for (int i = 1; i < 12; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    text += "<!ENTITY a" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) {
      text += inner;
    }
    text += "'>";
  }
  text +=
      "]><gpx><trk><trkseg><trkpt lat='1' lon='1'><time>&a11;</time></trkpt></trkseg></trk></gpx>";
  EXPECT_EQ(Read(text).code(), ExitCode::kDataError);
}

TEST_F(TrackFile, StepsOverElementsOfAnyDepth) {
  std::string open;
  std::string close;
  for (int i = 0; i < 100000; ++i) {
    open += "<x>";
    close += "</x>";
  }
  ASSERT_TRUE(Read("<gpx><trk><trkseg><trkpt lat='1' lon='1'><time>" + open + close + "</time>" +
                   open + close + "</trkpt></trkseg></trk></gpx>")
                  .ok());
  EXPECT_EQ(track.size(), 1u);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
