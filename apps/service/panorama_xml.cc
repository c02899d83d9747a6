// SPDX-License-Identifier: Apache-2.0
#include "apps/service/panorama_xml.h"

#include <zlib.h>

#include <QByteArray>
#include <cmath>
#include <pugixml.hpp>

#include "apps/service/number_text.h"

namespace pelorin {
namespace {

using pugi::xml_node;

void SetText(xml_node node, const char* name, const std::string& text) {
  if (!text.empty())
    node.append_attribute(name).set_value(text.c_str());
}

void SetNumber(xml_node node, const char* name, double number) {
  if (std::isfinite(number))
    node.append_attribute(name).set_value(ShortestText(number).c_str());
}

template <typename Integer>
void SetInteger(xml_node node, const char* name, Integer number) {
  node.append_attribute(name).set_value(number);
}

void SetColor(xml_node node, const char* name, std::uint32_t argb) {
  static const char kDigits[] = "0123456789ABCDEF";
  char text[9] = {};
  for (int i = 0; i < 8; ++i)
    text[i] = kDigits[(argb >> (28 - 4 * i)) & 0xF];
  node.append_attribute(name).set_value(text);
}

void AddText(xml_node node, const char* name, const std::string& text) {
  if (!text.empty())
    node.append_child(name).text().set(text.c_str());
}

void AddDataProperties(xml_node panorama, const PanoRecord& record) {
  xml_node node = panorama.append_child("data_properties");
  SetText(node, "pano_id", record.id);
  SetInteger(node, "info_level", static_cast<unsigned long long>(record.info_level));
  SetInteger(node, "info_value", record.info_value);
  SetNumber(node, "lat", record.place.lat_deg);
  SetNumber(node, "lng", record.place.lng_deg);
  SetInteger(node, "image_width", record.image_width);
  SetInteger(node, "image_height", record.image_height);
  SetInteger(node, "tile_width", record.tile_width);
  SetInteger(node, "tile_height", record.tile_height);
  SetText(node, "image_date", record.image_date);
  SetInteger(node, "scene", record.scene);
  SetText(node, "level_id", record.level_id);
  AddText(node, "text", record.text);
  AddText(node, "street_range", record.street_range);
  AddText(node, "copyright", record.copyright);
}

void AddProjectionProperties(xml_node panorama, const PanoRecord& record) {
  xml_node node = panorama.append_child("projection_properties");
  SetNumber(node, "pano_yaw_deg", record.pano_yaw_deg);
  SetNumber(node, "tilt_yaw_deg", record.tilt_yaw_deg);
  SetNumber(node, "tilt_pitch_deg", record.tilt_pitch_deg);
}

void AddLinks(xml_node panorama, const PanoRecord& record) {
  if (record.links.empty())
    return;
  xml_node list = panorama.append_child("annotation_properties");
  for (const PanoLink& link : record.links) {
    xml_node node = list.append_child("link");
    SetText(node, "pano_id", link.pano_id);
    SetNumber(node, "yaw_deg", link.yaw_deg);
    SetColor(node, "road_argb", link.road_argb);
  }
}

void AddLevels(xml_node panorama, const PanoRecord& record) {
  if (record.levels.empty())
    return;
  xml_node list = panorama.append_child("levels");
  for (const PanoLevel& level : record.levels) {
    xml_node node = list.append_child("level");
    SetText(node, "level_id", level.level_id);
    SetText(node, "pano_id", level.pano_id);
    SetInteger(node, "ordinal", level.ordinal);
    AddText(node, "text", level.text);
    AddText(node, "abbreviation", level.abbreviation);
  }
}

void AddAnnotations(xml_node panorama, const PanoRecord& record) {
  if (record.annotations.empty())
    return;
  xml_node list = panorama.append_child("annotations");
  for (const PanoAnnotation& annotation : record.annotations) {
    xml_node node = list.append_child("annotation");
    SetText(node, "id", annotation.id);
    SetText(node, "title", annotation.title);
    // Readers take the numbers from the first child, whatever its name, and rely on its presence.
    xml_node direction = node.append_child("direction");
    SetNumber(direction, "yaw", annotation.yaw);
    SetNumber(direction, "pitch", annotation.pitch);
    SetNumber(direction, "d", annotation.d);
  }
}

void AddMaps(xml_node panorama, const PanoRecord& record, MapChoice maps) {
  const bool depth_map = maps.depth_map && !record.depth_map.empty();
  const bool pano_map = maps.pano_map && !record.pano_map.empty();
  if (!depth_map && !pano_map)
    return;
  xml_node node = panorama.append_child("model");
  if (depth_map)
    AddText(node, "depth_map", PackMap(record.depth_map));
  if (pano_map)
    AddText(node, "pano_map", PackMap(record.pano_map));
}

void AddPanorama(xml_node parent, const PanoRecord& record, MapChoice maps) {
  xml_node panorama = parent.append_child("panorama");
  AddDataProperties(panorama, record);
  AddProjectionProperties(panorama, record);
  AddLinks(panorama, record);
  AddLevels(panorama, record);
  AddMaps(panorama, record, maps);
  AddAnnotations(panorama, record);
}

class StringWriter : public pugi::xml_writer {
 public:
  void write(const void* data, size_t size) override {
    text_.append(static_cast<const char*>(data), size);
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

std::string Print(const pugi::xml_document& document) {
  StringWriter writer;
  writer.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 39);
  document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return writer.Take();
}

}  // namespace

std::string WritePanorama(const PanoRecord& record, MapChoice maps) {
  pugi::xml_document document;
  AddPanorama(document, record, maps);
  return Print(document);
}

std::string WritePanoramas(const std::vector<PanoRecord>& records) {
  pugi::xml_document document;
  xml_node list = document.append_child("panoramas");
  for (const PanoRecord& record : records)
    AddPanorama(list, record, MapChoice{});
  return Print(document);
}

std::string PackMap(const std::string& payload) {
  uLongf size = compressBound(static_cast<uLong>(payload.size()));
  QByteArray packed(static_cast<int>(size), Qt::Uninitialized);
  const int result =
      compress(reinterpret_cast<Bytef*>(packed.data()), &size,
               reinterpret_cast<const Bytef*>(payload.data()), static_cast<uLong>(payload.size()));
  if (result != Z_OK)
    return {};
  packed.truncate(static_cast<int>(size));
  return packed.toBase64().toStdString();
}

}  // namespace pelorin
