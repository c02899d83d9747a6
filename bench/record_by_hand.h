// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>
#include <utility>

#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// What a program without this library would write: records filled from a tree of another parser.

// A piece of a peer's tree; null data for an attribute or element that is not there.
struct Text {
  const char* data = nullptr;
  int size = 0;
  QString ToString() const { return data == nullptr ? QString() : QString::fromUtf8(data, size); }
  double ToDouble() const { return data == nullptr ? 0.0 : std::strtod(data, nullptr); }
  int ToInt() const {
    return data == nullptr ? 0 : static_cast<int>(std::strtol(data, nullptr, 10));
  }
  std::uint32_t ToColor() const {
    if (data == nullptr) {
      return 0xFFFFFFFFu;
    }
    const auto argb = static_cast<std::uint32_t>(std::strtoul(data, nullptr, 16));
    return (argb & 0xFF00FF00u) | ((argb >> 16) & 0xFFu) | ((argb & 0xFFu) << 16);
  }
};

struct Pugi {
  using Node = pugi::xml_node;
  static Node Child(const Node& node, const char* name) { return node.child(name); }
  static Node Next(const Node& node) { return node.next_sibling(); }
  static bool IsNull(const Node& node) { return !node; }
  static Text Attribute(const Node& node, const char* name) {
    const pugi::xml_attribute attribute = node.attribute(name);
    return attribute ? Whole(attribute.value()) : Text{};
  }
  static Text Value(const Node& node, const char* name) { return Whole(node.child_value(name)); }
  static Text Whole(const char* text) { return {text, static_cast<int>(std::strlen(text))}; }
};

template <typename Dom>
RefPtr<PanoramaData> RecordByHand(const typename Dom::Node& panorama) {
  const auto data = Dom::Child(panorama, "data_properties");
  RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap())
                                  PanoramaData(Dom::Attribute(data, "pano_id").ToString()));
  const auto info_level = static_cast<unsigned>(Dom::Attribute(data, "info_level").ToInt());
  record->info_level =
      static_cast<std::int32_t>((info_level >> 1 & 1) | (info_level >> 6 & 1) << 1);
  record->info_value = Dom::Attribute(data, "info_value").ToInt();
  record->position.y = Dom::Attribute(data, "lat").ToDouble() / 180.0;
  record->position.x = Dom::Attribute(data, "lng").ToDouble() / 180.0;
  record->image_width = Dom::Attribute(data, "image_width").ToInt();
  record->image_height = Dom::Attribute(data, "image_height").ToInt();
  record->tile_width = Dom::Attribute(data, "tile_width").ToInt();
  record->tile_height = Dom::Attribute(data, "tile_height").ToInt();
  record->image_date = Dom::Attribute(data, "image_date").ToString();
  record->scene = Dom::Attribute(data, "scene").ToInt();
  record->level_id = Dom::Attribute(data, "level_id").ToString();
  record->text = Dom::Value(data, "text").ToString();
  record->street_range = Dom::Value(data, "street_range").ToString();
  record->address = record->street_range.isEmpty()
                        ? record->text
                        : QString(record->street_range + QLatin1Char(' ') + record->text);
  record->copyright = Dom::Value(data, "copyright").ToString();
  const auto projection = Dom::Child(panorama, "projection_properties");
  record->pano_yaw_deg = Dom::Attribute(projection, "pano_yaw_deg").ToDouble();
  record->tilt_yaw_deg = Dom::Attribute(projection, "tilt_yaw_deg").ToDouble();
  record->tilt_pitch_deg = Dom::Attribute(projection, "tilt_pitch_deg").ToDouble();
  for (auto node = Dom::Child(Dom::Child(panorama, "annotation_properties"), "link");
       !Dom::IsNull(node); node = Dom::Next(node)) {
    ConnectedPano link;
    link.pano_id = Dom::Attribute(node, "pano_id").ToString();
    link.yaw_deg = static_cast<float>(Dom::Attribute(node, "yaw_deg").ToDouble());
    link.road_color = Dom::Attribute(node, "road_argb").ToColor();
    record->links.push_back(std::move(link));
  }
  for (auto node = Dom::Child(Dom::Child(panorama, "levels"), "level"); !Dom::IsNull(node);
       node = Dom::Next(node)) {
    ConnectedLevel level;
    level.level_id = Dom::Attribute(node, "level_id").ToString();
    level.pano_id = Dom::Attribute(node, "pano_id").ToString();
    level.ordinal = Dom::Attribute(node, "ordinal").ToInt();
    level.text = Dom::Value(node, "text").ToString();
    level.abbreviation = Dom::Value(node, "abbreviation").ToString();
    record->levels.push_back(std::move(level));
  }
  return record;
}

}  // namespace spatial
}  // namespace nimbara
