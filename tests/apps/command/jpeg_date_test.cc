// SPDX-License-Identifier: Apache-2.0
// Dates in the comments of JPEG files, with independent programs as readers and writers.
#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/apps/command/command_runner.h"
#include "tests/apps/jpeg/jpeg_builder.h"
#include "tests/support/kml_rules.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;
using test_support::SmallJpeg;
using Words = std::vector<std::string>;

constexpr char kBlock2017[] = "*#Q0#*0*AD*2017:12:31*#0Q#*";

class JpegDate : public CommandTest {
 protected:
  std::string WriteJpegFile(const std::string& name, const std::string& comment = "") const {
    Write(Path(name), SmallJpeg(comment));
    return Path(name);
  }
  // A file with the place that an independent writer put into it.
  std::string WritePlacedFile(const std::string& name, const std::string& comment, double lat,
                              double lng) const {
    const std::string path = WriteJpegFile(name, comment);
    RunOther("exiftool -q -overwrite_original -n -GPSLatitude=" + std::to_string(lat) +
             " -GPSLatitudeRef=" + (lat < 0 ? "S" : "N") + " -GPSLongitude=" + std::to_string(lng) +
             " -GPSLongitudeRef=" + (lng < 0 ? "W" : "E") +
             " -DateTimeOriginal='2021:03:04 05:06:07' " + path);
    return path;
  }
};

TEST_F(JpegDate, IsWrittenAndReadBack) {
  const std::string in = WriteJpegFile("in.jpg");
  const CommandRun write =
      RunPelorin({"jpeg-date", "write", in, "--date", "2017-12-31", "-o", Path("out.jpg")});
  EXPECT_EQ(write.exit_code, 0) << write.err;
  EXPECT_EQ(write.out, "");
  const CommandRun read = RunPelorin({"jpeg-date", "read", Path("out.jpg")});
  EXPECT_EQ(read.exit_code, 0) << read.err;
  EXPECT_EQ(read.out, "2017:12:31\n");
  EXPECT_EQ(Content(in), SmallJpeg());
}

TEST_F(JpegDate, IsSeenByIndependentReaders) {
  const std::string in = WriteJpegFile("in.jpg", "by hand");
  ASSERT_EQ(RunPelorin({"jpeg-date", "write", in, "--date", "2017-12-31", "--overwrite"}).exit_code,
            0);
  EXPECT_EQ(RunOther("rdjpgcom " + in), "by hand\n" + std::string(kBlock2017) + "\n");
  EXPECT_EQ(RunOther("exiftool -a -s3 -Comment " + in),
            "by hand\n" + std::string(kBlock2017) + "\n");
  EXPECT_EQ(RunOther("exiftool -s3 -Warning -Error " + in), "");
}

TEST_F(JpegDate, IsReadFromACommentThatAnotherProgramWrote) {
  const std::string in = WriteJpegFile("in.jpg");
  RunOther("wrjpgcom -comment '" + std::string(kBlock2017) + "' " + in + " > " + Path("out.jpg"));
  EXPECT_EQ(RunPelorin({"jpeg-date", "read", Path("out.jpg")}).out, "2017:12:31\n");
}

TEST_F(JpegDate, ReplacesFilesOnlyWithLeave) {
  const std::string in = WriteJpegFile("in.jpg");
  const std::string before = Content(in);
  for (const Words& more : {Words{}, Words{"-o", in}}) {
    Words line{"jpeg-date", "write", in, "--date", "2017"};
    line.insert(line.end(), more.begin(), more.end());
    const CommandRun run = RunPelorin(line);
    EXPECT_EQ(run.exit_code, 2) << run.err;
    EXPECT_EQ(Content(in), before);
    EXPECT_NE(run.err.find(more.empty() ? "or -o for a copy" : "is already there"),
              std::string::npos)
        << run.err;
  }
  EXPECT_EQ(Files(), Words{"in.jpg"});
}

TEST_F(JpegDate, IsInNoneOfSeveralFiles) {
  WriteJpegFile("a.jpg");
  WriteJpegFile("b.jpg");
  const CommandRun run = RunPelorin({"jpeg-date", "read", folder_.string()});
  EXPECT_EQ(run.exit_code, 3);
  EXPECT_NE(run.err.find("no acquisition date in any of 2 files"), std::string::npos) << run.err;
}

TEST_F(JpegDate, IsOnNoMapWhereNoFileHasAPlace) {
  const CommandRun run = RunPelorin(
      {"jpeg-date", "list", WriteJpegFile("a.jpg", kBlock2017), "-o", Path("coverage.kml")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_NE(run.err.find("no file says where it was taken"), std::string::npos) << run.err;
}

TEST_F(JpegDate, IsWrittenThroughALinkIntoTheFileBehindIt) {
  std::filesystem::create_directories(Path("real"));
  std::filesystem::create_directories(Path("links"));
  const std::string file = WriteJpegFile("real/in.jpg");
  namespace fs = std::filesystem;
  const fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  fs::permissions(file, mode);
  fs::create_symlink("../real/in.jpg", Path("links/relative.jpg"));
  fs::create_symlink(Path("links/relative.jpg"), Path("links/twice.jpg"));
  const CommandRun run = RunPelorin(
      {"jpeg-date", "write", Path("links/twice.jpg"), "--date", "2017-12-31", "--overwrite"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_TRUE(fs::is_symlink(Path("links/twice.jpg")));
  EXPECT_TRUE(fs::is_symlink(Path("links/relative.jpg")));
  EXPECT_EQ(test_support::CommentsOf(Content(file)), Words{kBlock2017});
  EXPECT_EQ(fs::status(file).permissions(), mode);
}

TEST_F(JpegDate, GoesToStandardOutputOnRequest) {
  const std::string in = WriteJpegFile("in.jpg");
  const CommandRun run = RunPelorin({"jpeg-date", "write", in, "--date", "2017-12-31", "-o", "-"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(test_support::CommentsOf(run.out), Words{kBlock2017});
}

TEST_F(JpegDate, IsTheOneWithHalfOfTheImage) {
  const std::string in = WriteJpegFile("in.jpg");
  EXPECT_EQ(RunPelorin({"jpeg-date", "write", in, "--share", "2017-12-31=0.6", "--share",
                        "2015=0.4", "-o", Path("out.jpg")})
                .exit_code,
            0);
  EXPECT_EQ(RunPelorin({"jpeg-date", "read", Path("out.jpg")}).out, "2017:12:31\n");
  const CommandRun none = RunPelorin({"jpeg-date", "write", in, "--share", "2017=0.4", "--share",
                                      "2015=0.3", "-o", Path("none.jpg")});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_FALSE(std::filesystem::exists(Path("none.jpg")));
}

TEST_F(JpegDate, IsThatOfTheCameraOnRequest) {
  const std::string in = WritePlacedFile("in.jpg", "", 47.5, -24.5);
  EXPECT_EQ(RunPelorin({"jpeg-date", "write", in, "--from-exif", "--overwrite"}).exit_code, 0);
  EXPECT_EQ(RunPelorin({"jpeg-date", "read", in}).out, "2021:03:04\n");
  const std::string other = WriteJpegFile("other.jpg");
  const CommandRun run = RunPelorin({"jpeg-date", "write", other, "--from-exif", "--overwrite"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.err.find("other.jpg: has no date of its camera"), std::string::npos) << run.err;
}

TEST_F(JpegDate, IsNothingFoundWhereThereIsNone) {
  const CommandRun run = RunPelorin({"jpeg-date", "read", WriteJpegFile("in.jpg", "by hand")});
  EXPECT_EQ(run.exit_code, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(RunPelorin({"jpeg-date", "list", folder_.string() + "/."}).exit_code, 0);
}

TEST_F(JpegDate, IsRequiredOnRequest) {
  WriteJpegFile("a.jpg", kBlock2017);
  WriteJpegFile("b.jpg");
  WriteJpegFile("c.JPEG");
  const CommandRun run = RunPelorin({"jpeg-date", "list", folder_.string(), "--require"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err.find("a.jpg"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("b.jpg: has no acquisition date"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("c.JPEG: has no acquisition date"), std::string::npos) << run.err;
  EXPECT_EQ(RunPelorin({"jpeg-date", "list", Path("a.jpg"), "--require"}).exit_code, 0);
}

TEST_F(JpegDate, GoesOnAfterAFileThatCannotBeRead) {
  WriteJpegFile("a.jpg", kBlock2017);
  Write(Path("b.jpg"), "this is no picture");
  WriteJpegFile("c.jpg", kBlock2017);
  const CommandRun run = RunPelorin({"jpeg-date", "list", folder_.string(), Path("gone.jpg")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.out.find("c.jpg"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("2017:12:31  2 files"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("b.jpg: is no JPEG file"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("gone.jpg: cannot be read"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("2 of 4 files failed"), std::string::npos) << run.err;
}

TEST_F(JpegDate, IsWrittenIntoAWholeFolderOfFiles) {
  std::filesystem::create_directories(Path("in/deep"));
  WriteJpegFile("in/a.jpg", "by hand");
  WriteJpegFile("in/deep/b.jpg");
  Write(Path("in/readme.txt"), "not a picture");
  const CommandRun run = RunPelorin({"jpeg-date", "write", Path("in"), "-r", "--date", "2017-12-31",
                                     "-o", Path("out"), "--json", "--progress"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_NE(run.err.find("100 %"), std::string::npos) << run.err;
  EXPECT_EQ(test_support::CommentsOf(Content(Path("out/a.jpg"))), (Words{"by hand", kBlock2017}));
  EXPECT_EQ(test_support::CommentsOf(Content(Path("out/deep/b.jpg"))), Words{kBlock2017});
  EXPECT_FALSE(std::filesystem::exists(Path("out/readme.txt")));
  EXPECT_EQ(Json::parse(run.out)["dates"]["2017:12:31"], 2);
}

TEST_F(JpegDate, IsNotWrittenFromTwoFilesIntoOne) {
  std::filesystem::create_directories(Path("a"));
  std::filesystem::create_directories(Path("b"));
  const std::string first = WriteJpegFile("a/x.jpg");
  const std::string second = WriteJpegFile("b/x.jpg");
  const CommandRun run = RunPelorin(
      {"jpeg-date", "write", first, second, "--date", "2017", "-o", Path("out"), "--overwrite"});
  EXPECT_EQ(run.exit_code, 2) << run.err;
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

TEST_F(JpegDate, IsToldInJson) {
  WritePlacedFile("a.jpg", kBlock2017, -47.25, 24.5);
  WriteJpegFile("b.jpg", "by hand");
  const CommandRun run = RunPelorin({"jpeg-date", "list", folder_.string(), "--json"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  const Json json = Json::parse(run.out);
  ASSERT_EQ(json["files"].size(), 2u);
  const Json& first = json["files"][0];
  EXPECT_EQ(first["date"], "2017:12:31");
  EXPECT_NEAR(first["lat"].get<double>(), -47.25, 1e-6);
  EXPECT_NEAR(first["lng"].get<double>(), 24.5, 1e-6);
  EXPECT_EQ(first["taken"], "2021:03:04");
  EXPECT_TRUE(json["files"][1]["date"].is_null());
  EXPECT_EQ(json["files"][1]["comments"], Json::array({"by hand"}));
  EXPECT_EQ(json["dated"], 1);
  EXPECT_EQ(json["undated"], 1);
  EXPECT_EQ(json["failed"], 0);
}

TEST_F(JpegDate, IsToldInCsv) {
  const std::string path = WritePlacedFile("a,b.jpg", kBlock2017, 47.5, -24.5);
  const CommandRun run = RunPelorin({"jpeg-date", "list", path, "-o", Path("list.csv")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(Content(Path("list.csv")), "file,date,lat_deg,lng_deg,taken,comments,error\n\"" + path +
                                           "\",2017:12:31,47.5000000,-24.5000000,2021:03:04,1,\n");
}

TEST_F(JpegDate, IsDrawnAsCoverageByDate) {
  WritePlacedFile("a.jpg", kBlock2017, 47.5, -24.5);
  WritePlacedFile("b.jpg", kBlock2017, 47.6, -24.4);
  WritePlacedFile("c.jpg", "", 47.7, -24.3);
  WriteJpegFile("nowhere.jpg", kBlock2017);
  const CommandRun run =
      RunPelorin({"jpeg-date", "list", folder_.string(), "-o", Path("coverage.kml")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(nimbara::test_support::KmlRules::BreachesOf(
                QByteArray::fromStdString(Content(Path("coverage.kml")))),
            "");
  const std::string found = RunOther("ogrinfo -ro -al " + Path("coverage.kml"));
  EXPECT_NE(found.find("Layer name: 2017:12:31"), std::string::npos) << found;
  EXPECT_NE(found.find("Layer name: undated"), std::string::npos) << found;
  EXPECT_NE(found.find("POINT Z (-24.4 47.6 0)"), std::string::npos) << found;
  EXPECT_NE(found.find("LINESTRING Z (-24.5 47.5 0"), std::string::npos) << found;
  EXPECT_EQ(found.find("nowhere.jpg"), std::string::npos) << found;
}

TEST_F(JpegDate, MakesNoReportOfFilesOfWhichNoneCanBeRead) {
  Write(Path("bad.jpg"), "none");
  const CommandRun run = RunPelorin({"jpeg-date", "list", Path("bad.jpg"), "-o", Path("a.kml")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.err.find("bad.jpg"), std::string::npos) << run.err;
  EXPECT_EQ(Files(), Words{"bad.jpg"});
}

TEST_F(JpegDate, NamesAPlaceThatCannotBeWrittenOnce) {
  const std::string in = WriteJpegFile("in.jpg");
  const CommandRun run =
      RunPelorin({"jpeg-date", "write", in, "--date", "2017", "-o", "/proc/none.jpg"});
  EXPECT_EQ(run.exit_code, 1);
  const std::string line = run.err.substr(0, run.err.find('\n'));
  const std::size_t first = line.find("/proc/none.jpg");
  ASSERT_NE(first, std::string::npos) << run.err;
  EXPECT_EQ(line.find("/proc/none.jpg", first + 1), std::string::npos) << run.err;
}

TEST_F(JpegDate, AnswersWrongUsageWithCode2) {
  const std::string in = WriteJpegFile("in.jpg");
  for (const Words& more :
       {Words{"write", in, "-o", Path("o.jpg")},
        Words{"write", in, "--date", "2017-02-30", "-o", Path("o.jpg")},
        Words{"write", in, "--date", "2017", "--from-exif", "-o", Path("o.jpg")},
        Words{"write", in, "--share", "2017", "-o", Path("o.jpg")},
        Words{"write", in, "--share", "2017=-1", "-o", Path("o.jpg")},
        Words{"write", in, "--share", "2017=1.1", "-o", Path("o.jpg")},
        Words{"write", in, "--share", "2017=0.6", "--share", "2016=0.6", "-o", Path("o.jpg")},
        Words{"write", in, in, "--date", "2017", "-o", "-"},
        Words{"write", in, "--date", "2017", "--require", "-o", Path("o.jpg")},
        Words{"read", in, "--date", "2017"}, Words{"read", in, "-f", "kml"}, Words{"draw", in},
        Words{"read"}}) {
    Words line{"jpeg-date"};
    line.insert(line.end(), more.begin(), more.end());
    const CommandRun run = RunPelorin(line);
    EXPECT_EQ(run.exit_code, 2) << testing::PrintToString(line) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(Files(), Words{"in.jpg"});
  EXPECT_EQ(RunPelorin({"jpeg-date", "list", Path("in.jpg") + "/.."}).exit_code, 1);
}

TEST_F(JpegDate, LeavesRealPhotographsAsTheyAreButForTheDate) {
  const std::string photos = PELORIN_SHARED_DATA "/photo";
  if (!std::filesystem::exists(photos)) {
    GTEST_SKIP() << "the shared photographs are not there";
  }
  const CommandRun run =
      RunPelorin({"jpeg-date", "write", photos, "--date", "2017-12-31", "-o", Path("out")});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(photos)) {
    ++files;
    const std::string before = Content(entry.path().string());
    const std::string path = Path("out/" + entry.path().filename().string());
    const std::string segment = test_support::Segment(0xFE, kBlock2017);
    std::string after = Content(path);
    const std::size_t at = after.find(segment);
    ASSERT_NE(at, std::string::npos) << path;
    EXPECT_TRUE(after.erase(at, segment.size()) == before) << path;
    EXPECT_TRUE(RunOther("djpeg " + path) == RunOther("djpeg " + entry.path().string())) << path;
    const std::string seen = RunOther("exiftool -a -s3 -Comment " + path);
    EXPECT_NE(seen.find(kBlock2017), std::string::npos) << seen;
    EXPECT_NE(RunOther("rdjpgcom " + path).find(kBlock2017), std::string::npos) << path;
  }
  EXPECT_GE(files, 3);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
