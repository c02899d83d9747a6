// SPDX-License-Identifier: Apache-2.0
// `pelorin inspect` over streams, comments and answers.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/apps/command/command_runner.h"
#include "tests/apps/jpeg/jpeg_builder.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;

std::string Bytes(const std::vector<int>& values) {
  return std::string(values.begin(), values.end());
}

// One triangle in version 3.
std::string Triangle() {
  return Bytes({0x53, 0x45, 0x03, 0x00, 0x40, 0x00, 0x61, 0x00, 0x00, 0x0C, 0x02, 0x00,
                0x48, 0x29, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00, 0x02, 0x00});
}

// The same in version 1.
std::string FixedTriangle() {
  std::string bytes = Bytes({0x53, 0x45, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x08});
  bytes += std::string(6, '\0') + "\xFE\x07" + std::string(12, '\0');
  bytes += Bytes({0xA1, 0x00, 0x00, 0xE0, 0x1F, 0x00, 0xC0, 0x3F}) + std::string(11, '\0');
  bytes += Bytes({0x80, 0x00, 0x00, 0x00, 0x00, 0x80, 0xFF, 0xFF, 0x01}) + std::string(7, '\0');
  return bytes + "\x41\x02" + std::string(8, '\0');
}

// A square house of one polygon.
std::string House() {
  return Bytes({0x5A, 0x42, 0x01, 0x00, 0x88, 0x40, 0x00, 0xA4, 0x04, 0x00, 0x00, 0x40,
                0x00, 0x00, 0x01, 0x02, 0x00, 0x78, 0xF0, 0x02, 0x02, 0x31, 0x41, 0xE2});
}

// No transforms and no animations around an empty shape.
std::string StillShape() {
  return Bytes(
      {0x41, 0x45, 0x01, 0x00, 0x00, 0x00, 0x53, 0x45, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00});
}

class Inspect : public CommandTest {
 protected:
  std::string WriteInput(const std::string& bytes) const {
    Write(Path("input"), bytes);
    return Path("input");
  }
  CommandRun Run(const std::string& bytes, std::vector<std::string> flags = {}) const {
    flags.insert(flags.begin(), {"inspect", WriteInput(bytes)});
    return RunPelorin(flags);
  }
  Json Facts(const std::string& bytes) const {
    const CommandRun run = Run(bytes, {"--json"});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    return Json::parse(run.out, nullptr, false);
  }
  // The fields of a stream that has no fault.
  std::vector<Json> Fields(const std::string& bytes) const {
    const CommandRun run = Run(bytes, {"--bits", "--json"});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    std::vector<Json> fields;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
      fields.push_back(Json::parse(line));
    }
    return fields;
  }
};

Json Named(const std::vector<Json>& fields, const std::string& path) {
  for (const Json& field : fields) {
    if (field["path"] == path) {
      return field;
    }
  }
  return Json();
}

// Every field begins where the one before it ended, and the last one ends with the stream.
void ExpectSeamless(const std::vector<Json>& fields, std::size_t bytes) {
  std::size_t bit = 0;
  for (const Json& field : fields) {
    EXPECT_EQ(field["bit"], bit) << field;
    bit += field["width"].get<std::size_t>();
  }
  EXPECT_EQ(bit, bytes * 8);
}

TEST_F(Inspect, TellsAShapeStream) {
  const Json facts = Facts(Triangle());
  EXPECT_EQ(facts["kind"], "shape stream");
  EXPECT_EQ(facts["version"], 3);
  EXPECT_EQ(facts["bytes"], 23);
  EXPECT_EQ(facts["index_sets"], 1);
  EXPECT_EQ(facts["points"], 3);
  EXPECT_EQ(facts["point_bits"], 8);
  EXPECT_EQ(facts["valid"], true);
}

TEST_F(Inspect, TellsTheFaultOfAMeshThatDecodes) {
  const Json facts = Facts(Triangle().substr(0, 8));
  EXPECT_EQ(facts["valid"], false);
  EXPECT_EQ(facts["fault"], "Point index out of range");
}

TEST_F(Inspect, TellsABuildingAndAnAnimatedShape) {
  EXPECT_EQ(Facts(House())["kind"], "building stream");
  EXPECT_EQ(Facts(House())["polygons"], 1);
  EXPECT_EQ(Facts(StillShape())["kind"], "animated shape stream");
  EXPECT_EQ(Facts(StillShape())["animations"], 0);
}

TEST_F(Inspect, TellsAJpegFileAndItsComment) {
  const std::string block = "*#Q0#*0*AD*2017:12:31*#0Q#*";
  const Json photo = Facts(test_support::SmallJpeg(block));
  EXPECT_EQ(photo["kind"], "JPEG file");
  EXPECT_EQ(photo["comments"], 1);
  EXPECT_EQ(photo["date"], "2017:12:31");
  EXPECT_EQ(Facts(block)["kind"], "comment block");
  EXPECT_EQ(Facts(block)["date"], "2017:12:31");
}

TEST_F(Inspect, TellsAnAnswerOfTheElevationService) {
  const Json facts = Facts(R"({"status": "OK", "results": [{"elevation": 7}]})");
  EXPECT_EQ(facts["kind"], "elevation answer");
  EXPECT_EQ(facts["status"], "OK");
  EXPECT_EQ(facts["results"], 1);
}

TEST_F(Inspect, TellsAnAnswerOfThePanoramaService) {
  const Json facts = Facts(R"(<?xml version="1.0"?><panorama><data_properties pano_id="a"/>)"
                           "</panorama>");
  EXPECT_EQ(facts["kind"], "panorama answer");
  EXPECT_EQ(facts["panoramas"], 1);
}

TEST_F(Inspect, WritesFactsAsLines) {
  const CommandRun run = Run(Triangle());
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out.rfind("kind: shape stream\nversion: 3\nbytes: 23\n", 0), 0u) << run.out;
}

TEST_F(Inspect, FailsInOneLineForAnUnknownFile) {
  for (const std::string& bytes : {std::string(), std::string("hello"), std::string("<html/>"),
                                   std::string("{}"), std::string("\xFF\xD8")}) {
    const CommandRun run = Run(bytes, {"-o", Path("out")});
    EXPECT_EQ(run.exit_code, 1) << bytes;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(Files(), std::vector<std::string>{"input"});
}

TEST_F(Inspect, FailsForAStreamThatAsksForTooMuch) {
  // A count of materials of 31 bits.
  const CommandRun run = Run(std::string("SE\x03\0", 4) + "\x7F\xFF\xFF\xFF\xFF");
  EXPECT_EQ(run.exit_code, 1);
}

TEST_F(Inspect, ShowsEveryFieldOfAStream) {
  ExpectSeamless(Fields(Triangle()), 23);
  ExpectSeamless(Fields(FixedTriangle()), 74);
  ExpectSeamless(Fields(House()), 24);
  ExpectSeamless(Fields(StillShape()), 14);
}

TEST_F(Inspect, ShowsFieldsAtTheirBits) {
  const std::vector<Json> fields = Fields(Triangle());
  const Json offset = Named(fields, "index_sets[0].point_indices[2]");
  EXPECT_EQ(offset["bit"], 61);
  EXPECT_EQ(offset["width"], 2);
  EXPECT_EQ(offset["raw"], "0x0");
  EXPECT_EQ(offset["value"], "2");
  EXPECT_EQ(Named(fields, "index_sets[0].material_index")["value"], "-1");
  EXPECT_EQ(Named(fields, "points[1].x")["bit"], 133);
  EXPECT_EQ(Named(fields, "points[1].x")["raw"], "0x100");
  EXPECT_EQ(Named(fields, "points[1].x")["value"], "1.0");
}

TEST_F(Inspect, ShowsFieldsOfVersionOneAtTheirBits) {
  const std::vector<Json> fields = Fields(FixedTriangle());
  EXPECT_EQ(Named(fields, "points.unit")["bit"], 69);
  EXPECT_EQ(Named(fields, "points.unit")["raw"], "0x3ff0000000000000");
  EXPECT_EQ(Named(fields, "points[2].y")["bit"], 286);
  EXPECT_EQ(Named(fields, "points[2].y")["value"], "1.0");
  EXPECT_EQ(Named(fields, "index_sets[0].point_indices[2]")["bit"], 520);
}

TEST_F(Inspect, ShowsTheHeightOfAHouse) {
  const Json z = Named(Fields(House()), "polygons[0].z");
  EXPECT_EQ(z["bit"], 140);
  EXPECT_EQ(z["width"], 20);
  EXPECT_EQ(z["value"], "10.0");
}

TEST_F(Inspect, SaysWhereAReadPassedTheEnd) {
  const CommandRun run = Run(Triangle().substr(0, 10), {"--bits"});
  EXPECT_EQ(run.exit_code, 1);
  // The last whole field is the count of the points; the bits of the quantisation are 2 of 6.
  EXPECT_NE(run.out.find("        78     6  points.bits"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("beyond the end"), std::string::npos);
  EXPECT_NE(run.err.find("bit 78"), std::string::npos) << run.err;
}

TEST_F(Inspect, SaysWhereAnOffsetReachesTooFar) {
  std::string stream = Triangle();
  // The third offset becomes 4, two groups of payload 2, where three back is the farthest.
  stream[7] = static_cast<char>(stream[7] | 0x20);
  stream[8] = static_cast<char>(stream[8] | 0x01);
  const CommandRun run = Run(stream, {"--bits"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.out.find("reaches too far"), std::string::npos) << run.out;
}

TEST_F(Inspect, ShowsNoBitsOfAFileThatIsNoStream) {
  EXPECT_EQ(Run("*#Q0#*", {"--bits"}).exit_code, 1);
}

TEST_F(Inspect, ShowsTheFieldsOfNoiseToTheirEnd) {
  for (const char* head : {"SE\x01", "SE\x02", "SE\x03", "ZB\x01", "AE\x01"}) {
    std::string stream = std::string(head) + std::string(1, '\0');
    for (unsigned i = 0; i < 200; ++i) {
      stream += static_cast<char>((i * i * 2654435761u) >> 13);
    }
    const CommandRun run = Run(stream, {"--bits"});
    EXPECT_TRUE(run.exit_code == 0 || run.exit_code == 1) << run.exit_code;
  }
}

}  // namespace
}  // namespace command
}  // namespace pelorin
