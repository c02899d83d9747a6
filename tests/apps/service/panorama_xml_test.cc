// SPDX-License-Identifier: Apache-2.0
#include "apps/service/panorama_xml.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <QByteArray>
#include <cmath>
#include <limits>
#include <pugixml.hpp>
#include <random>

#include "apps/service/number_text.h"

namespace pelorin {
namespace {

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

PanoRecord FullRecord() {
  PanoRecord record;
  record.id = "abcdefghijklmnopqrstuv";
  record.place = {51.5, -0.125};
  record.scene = 3;
  record.level_id = "L1";
  record.text = "Quay Street";
  record.street_range = "1-9";
  record.copyright = "Town Survey";
  record.image_width = 13312;
  record.image_height = 6656;
  record.tile_width = 512;
  record.tile_height = 256;
  record.pano_yaw_deg = 12.5;
  record.tilt_yaw_deg = 270;
  record.tilt_pitch_deg = -0.1;
  record.info_level = 66;
  record.info_value = 7;
  record.links = {{"wbcdefghijklmnopqrstuv", 90.25, 0xFF112233},
                  {"xbcdefghijklmnopqrstuv", 0, 0x000000AB}};
  record.levels = {{"L1", "abcdefghijklmnopqrstuv", 0, "Ground floor", "G"},
                   {"L2", "ybcdefghijklmnopqrstuv", -1, "", ""}};
  record.annotations = {{"a1", "Clock", 10.5, -3, 20}};
  return record;
}

TEST(PanoramaXml, WritesEveryFieldOfOnePanorama) {
  EXPECT_EQ(
      WritePanorama(FullRecord(), {}),
      std::string(kHead) +
          "<panorama>"
          "<data_properties pano_id=\"abcdefghijklmnopqrstuv\" info_level=\"66\" info_value=\"7\" "
          "lat=\"51.5\" lng=\"-0.125\" image_width=\"13312\" image_height=\"6656\" "
          "tile_width=\"512\" tile_height=\"256\" scene=\"3\" level_id=\"L1\">"
          "<text>Quay Street</text><street_range>1-9</street_range>"
          "<copyright>Town Survey</copyright></data_properties>"
          "<projection_properties pano_yaw_deg=\"12.5\" tilt_yaw_deg=\"270\" "
          "tilt_pitch_deg=\"-0.1\"/>"
          "<annotation_properties>"
          "<link pano_id=\"wbcdefghijklmnopqrstuv\" yaw_deg=\"90.25\" road_argb=\"FF112233\"/>"
          "<link pano_id=\"xbcdefghijklmnopqrstuv\" yaw_deg=\"0\" road_argb=\"000000AB\"/>"
          "</annotation_properties>"
          "<levels>"
          "<level level_id=\"L1\" pano_id=\"abcdefghijklmnopqrstuv\" ordinal=\"0\">"
          "<text>Ground floor</text><abbreviation>G</abbreviation></level>"
          "<level level_id=\"L2\" pano_id=\"ybcdefghijklmnopqrstuv\" ordinal=\"-1\"/>"
          "</levels>"
          "<annotations><annotation id=\"a1\" title=\"Clock\">"
          "<direction yaw=\"10.5\" pitch=\"-3\" d=\"20\"/></annotation></annotations>"
          "</panorama>");
}

TEST(PanoramaXml, LeavesOutWhatIsEmpty) {
  PanoRecord record;
  record.id = "abcdefghijklmnopqrstuv";
  EXPECT_EQ(WritePanorama(record, {}),
            std::string(kHead) +
                "<panorama><data_properties pano_id=\"abcdefghijklmnopqrstuv\" info_level=\"0\" "
                "info_value=\"2000\" lat=\"0\" lng=\"0\" image_width=\"0\" image_height=\"0\" "
                "tile_width=\"0\" tile_height=\"0\" scene=\"0\"/>"
                "<projection_properties pano_yaw_deg=\"0\" tilt_yaw_deg=\"0\" "
                "tilt_pitch_deg=\"0\"/></panorama>");
}

TEST(PanoramaXml, WritesAListInOrder) {
  PanoRecord first;
  first.id = "a";
  PanoRecord second;
  second.id = "b";
  const std::string list = WritePanoramas({first, second});
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(list.c_str()));
  const pugi::xml_node root = document.document_element();
  EXPECT_STREQ(root.name(), "panoramas");
  const pugi::xml_node child = root.first_child();
  EXPECT_STREQ(child.name(), "panorama");
  EXPECT_STREQ(child.child("data_properties").attribute("pano_id").value(), "a");
  EXPECT_STREQ(child.next_sibling().child("data_properties").attribute("pano_id").value(), "b");
  EXPECT_FALSE(child.next_sibling().next_sibling());
}

TEST(PanoramaXml, SaysThatNothingIsThereByAnEmptyList) {
  EXPECT_EQ(WritePanoramas({}), std::string(kHead) + "<panoramas/>");
}

TEST(PanoramaXml, EscapesTextAndAttributes) {
  const std::string nasty = "<a href=\"x\">&amp; 'Tor' ]]> \xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80";
  PanoRecord record = FullRecord();
  record.text = nasty;
  record.level_id = nasty;
  record.levels[0].abbreviation = nasty;
  record.annotations[0].title = nasty;
  const std::string answer = WritePanorama(record, {});
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(answer.c_str()));
  const pugi::xml_node root = document.document_element();
  EXPECT_EQ(root.child("data_properties").child_value("text"), nasty);
  EXPECT_EQ(root.child("data_properties").attribute("level_id").value(), nasty);
  EXPECT_EQ(root.child("levels").child("level").child_value("abbreviation"), nasty);
  EXPECT_EQ(root.child("annotations").child("annotation").attribute("title").value(), nasty);
  // "]]>" must not stand in character data; in an attribute it may.
  EXPECT_EQ(answer.find("]]>", answer.find("<text>")), answer.find("]]>", answer.find("title=")));
}

TEST(PanoramaXml, KeepsLineEndsAndTabsOfAttributes) {
  PanoRecord record;
  record.level_id = "a\tb\nc";
  const std::string answer = WritePanorama(record, {});
  EXPECT_NE(answer.find("level_id=\"a&#09;b&#10;c\""), std::string::npos) << answer;
}

TEST(PanoramaXml, WritesNumbersThatReadBackExactly) {
  constexpr unsigned kSeed = 20260;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::mt19937_64 random(kSeed);
  std::uniform_real_distribution<double> latitude(-90.0, 90.0);
  std::uniform_real_distribution<double> longitude(-180.0, 180.0);
  for (int i = 0; i < 500; ++i) {
    PanoRecord record;
    record.place = {latitude(random), longitude(random)};
    if (i == 0)
      record.place = {1e-300, -5e-324};
    if (i == 1)
      record.place = {0.1, 1.0 / 3.0};
    const std::string answer = WritePanorama(record, {});
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(answer.c_str()));
    const pugi::xml_node node = document.document_element().child("data_properties");
    EXPECT_EQ(QByteArray(node.attribute("lat").value()).toDouble(), record.place.lat_deg);
    EXPECT_EQ(QByteArray(node.attribute("lng").value()).toDouble(), record.place.lng_deg);
  }
}

TEST(PanoramaXml, LeavesOutNumbersThatAreNone) {
  PanoRecord record;
  record.pano_yaw_deg = std::nan("");
  record.tilt_yaw_deg = std::numeric_limits<double>::infinity();
  EXPECT_NE(WritePanorama(record, {}).find("<projection_properties tilt_pitch_deg=\"0\"/>"),
            std::string::npos);
}

TEST(PanoramaXml, WritesTheWidestNumbers) {
  PanoRecord record;
  record.info_level = std::numeric_limits<std::uint64_t>::max();
  record.info_value = std::numeric_limits<std::int32_t>::min();
  const std::string answer = WritePanorama(record, {});
  EXPECT_NE(answer.find("info_level=\"18446744073709551615\" info_value=\"-2147483648\""),
            std::string::npos);
}

std::string Unpack(const std::string& text, std::size_t size) {
  const QByteArray packed =
      QByteArray::fromBase64(QByteArray::fromStdString(text), QByteArray::Base64Encoding);
  std::string payload(size + 1, '\0');
  uLongf length = static_cast<uLongf>(payload.size());
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(payload.data()), &length,
                       reinterpret_cast<const Bytef*>(packed.data()),
                       static_cast<uLong>(packed.size())),
            Z_OK);
  payload.resize(length);
  return payload;
}

TEST(PackMap, GivesAZlibStreamInBase64) {
  std::string payload;
  for (unsigned i = 0; i < 300000; ++i)
    payload.push_back(static_cast<char>(i * i >> 8));
  const std::string text = PackMap(payload);
  EXPECT_EQ(
      text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="),
      std::string::npos);
  EXPECT_EQ(Unpack(text, payload.size()), payload);
}

TEST(PanoramaXml, CarriesTheMapsThatAreChosenAndThere) {
  PanoRecord record;
  record.depth_map = "depth";
  record.pano_map = "pano";
  const auto read = [](const std::string& answer, const char* name) {
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(answer.c_str()));
    const std::string text = document.document_element().child("model").child_value(name);
    return text.empty() ? std::string() : Unpack(text, 5);
  };
  EXPECT_EQ(read(WritePanorama(record, {true, true}), "depth_map"), "depth");
  EXPECT_EQ(read(WritePanorama(record, {true, true}), "pano_map"), "pano");
  EXPECT_EQ(read(WritePanorama(record, {true, false}), "pano_map"), "");
  EXPECT_EQ(read(WritePanorama(record, {false, true}), "depth_map"), "");
  EXPECT_EQ(WritePanorama(record, {}).find("model"), std::string::npos);
  record.depth_map.clear();
  record.pano_map.clear();
  EXPECT_EQ(WritePanorama(record, {true, true}).find("model"), std::string::npos);
}

TEST(NumberText, ReadsWholeNumbersOnly) {
  int value = 5;
  EXPECT_TRUE(ParseNumber("-3", -3, 3, &value));
  EXPECT_EQ(value, -3);
  for (const char* text : {"", "-", "--1", "+1", " 1", "1 ", "1.0", "0x1", "-4", "4", "1e0"}) {
    EXPECT_FALSE(ParseNumber(text, -3, 3, &value)) << text;
  }
  EXPECT_EQ(value, -3);
}

}  // namespace
}  // namespace pelorin
