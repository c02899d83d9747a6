// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_xml_parser.h"

#include <QObject>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "spatial/panorama/depth_and_pano.h"
#include "spatial/panorama/xml_number.h"

namespace nimbara {
namespace spatial {

namespace {

constexpr double kDegreesOfStoredUnit = 180.0;
constexpr std::uint32_t kOpaqueWhite = 0xFFFFFFFFu;

const XmlAttribute* FindAttribute(const XmlNode& node, const char* name) {
  const QLatin1String wanted(name);
  const XmlAttribute* attribute = node.first_attribute;
  while (attribute != nullptr && !(attribute->name == wanted)) {
    attribute = attribute->next;
  }
  return attribute;
}

// The value as it stands in the document, to read a number from; empty for a missing attribute.
XmlText Value(const XmlNode& node, const char* name) {
  const XmlAttribute* const attribute = FindAttribute(node, name);
  return attribute == nullptr ? XmlText() : attribute->value;
}

// A missing attribute gives the null string, an empty one an empty string.
QString Attribute(const XmlNode& node, const char* name) {
  const XmlAttribute* const attribute = FindAttribute(node, name);
  return attribute == nullptr ? QString() : attribute->value.ToString();
}

// What a path finder gives for the path of these two components; null also for a null `start`.
// Walked here, since a long answer asks for it many times a record.
XmlNode* FindChild(const XmlNode* start, const char* start_name, const char* name) {
  if (start == nullptr || !(start->name == QLatin1String(start_name))) {
    return nullptr;
  }
  const QLatin1String wanted(name);
  XmlNode* child = start->first_child;
  while (child != nullptr && !(child->name == wanted)) {
    child = child->next_sibling;
  }
  return child;
}

// The text of that element; an empty string if there is none.
QString ChildText(const XmlNode& start, const char* start_name, const char* name) {
  const XmlNode* const child = FindChild(&start, start_name, name);
  return (child == nullptr ? XmlText() : child->text).ToString();
}

// Rounds to the nearest `float`, infinity included; the plain conversion is undefined beyond the
// largest one, which "3.4028235e38" just passes.
float NarrowToFloat(double value) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  constexpr double kNearerToInfinity = 0x1.ffffffp127;  // Half a step above kLargest.
  if (!(std::abs(value) > static_cast<double>(kLargest))) {
    return static_cast<float>(value);
  }
  const float size =
      std::abs(value) < kNearerToInfinity ? kLargest : std::numeric_limits<float>::infinity();
  return value < 0.0 ? -size : size;
}

// The service's bit 1 becomes bit 0 and its bit 6 bit 1; the other bits mean nothing to a viewer.
std::int32_t FoldInfoLevel(std::uint64_t bits) {
  return static_cast<std::int32_t>(((bits >> 1) & 1u) | (((bits >> 6) & 1u) << 1));
}

std::uint32_t ExchangeRedAndBlue(std::uint32_t argb) {
  return (argb & 0xFF00FF00u) | ((argb >> 16) & 0xFFu) | ((argb & 0xFFu) << 16);
}

// One replacement after the other, so that a marker inside a text takes part in the next one, as
// translators' catalogues for this template expect.
QString ComposeAddress(const QString& range, const QString& street) {
  const QString spacer = range.isEmpty() ? QString() : QStringLiteral(" ");
  return QObject::staticMetaObject
      .tr("%1%2%3",
          "Street address. VALUE_1 is the optional range, VALUE_2 is the optional spacer, and "
          "VALUE_3 is the street name.",
          -1)
      .arg(range)
      .arg(spacer)
      .arg(street);
}

void ReadDataProperties(const XmlNode& properties, PanoramaData* record) {
  const XmlText info_level = Value(properties, "info_level");
  if (info_level.size > 0) {
    record->info_level = FoldInfoLevel(ToULongLong(info_level));
  }
  const XmlText info_value = Value(properties, "info_value");
  if (info_value.size > 0) {
    record->info_value = ToInt(info_value);
  }
  record->position.y = ToDouble(Value(properties, "lat")) / kDegreesOfStoredUnit;
  record->position.x = ToDouble(Value(properties, "lng")) / kDegreesOfStoredUnit;
  record->image_width = ToInt(Value(properties, "image_width"));
  record->image_height = ToInt(Value(properties, "image_height"));
  record->tile_width = ToInt(Value(properties, "tile_width"));
  record->tile_height = ToInt(Value(properties, "tile_height"));
  record->image_date = Attribute(properties, "image_date");
  record->scene = ToInt(Value(properties, "scene"));
  record->level_id = Attribute(properties, "level_id");
  record->text = ChildText(properties, "data_properties", "text");
  record->street_range = ChildText(properties, "data_properties", "street_range");
  record->address = ComposeAddress(record->street_range, record->text);
  record->copyright = ChildText(properties, "data_properties", "copyright");
}

void ReadProjection(const XmlNode& projection, PanoramaData* record) {
  record->pano_yaw_deg = ToDouble(Value(projection, "pano_yaw_deg"));
  record->tilt_yaw_deg = ToDouble(Value(projection, "tilt_yaw_deg"));
  record->tilt_pitch_deg = ToDouble(Value(projection, "tilt_pitch_deg"));
}

void AppendLink(const XmlNode& node, mmvector<ConnectedPano>* links) {
  ConnectedPano link;
  link.pano_id = Attribute(node, "pano_id");
  if (link.pano_id.isEmpty()) {
    return;
  }
  link.yaw_deg = NarrowToFloat(ToDouble(Value(node, "yaw_deg")));
  bool is_number = false;
  const std::uint32_t argb = ToUIntBase16(Value(node, "road_argb"), &is_number);
  link.road_color = ExchangeRedAndBlue(is_number ? argb : kOpaqueWhite);
  links->push_back(std::move(link));
}

void AppendLevel(const XmlNode& node, mmvector<ConnectedLevel>* levels) {
  ConnectedLevel level;
  level.level_id = Attribute(node, "level_id");
  level.pano_id = Attribute(node, "pano_id");
  if (level.pano_id.isEmpty() || level.level_id.isEmpty()) {
    return;
  }
  level.ordinal = ToInt(Value(node, "ordinal"));
  level.text = ChildText(node, "level", "text");
  level.abbreviation = ChildText(node, "level", "abbreviation");
  levels->push_back(std::move(level));
}

void ReadLinks(const XmlNode& panorama, PanoramaData* record) {
  const XmlNode* const list = FindChild(&panorama, "panorama", "annotation_properties");
  const XmlNode* link = FindChild(list, "annotation_properties", "link");
  for (; link != nullptr; link = link->next_sibling) {
    AppendLink(*link, &record->links);
  }
}

void ReadLevels(const XmlNode& panorama, PanoramaData* record) {
  const XmlNode* const list = FindChild(&panorama, "panorama", "levels");
  const XmlNode* level = FindChild(list, "levels", "level");
  for (; level != nullptr; level = level->next_sibling) {
    AppendLevel(*level, &record->levels);
  }
}

bool HasDepthMap(XmlNode* panorama) {
  return XmlPathFinder().Find(panorama, QStringLiteral("panorama/model/depth_map")) != nullptr;
}

// The record without its maps; null if there is none.
RefPtr<PanoramaData> ReadRecord(XmlNode* node) {
  const XmlNode* const properties = FindChild(node, "panorama", "data_properties");
  if (properties == nullptr) {
    return nullptr;
  }
  RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap())
                                  PanoramaData(Attribute(*properties, "pano_id")));
  ReadDataProperties(*properties, record.get());
  const XmlNode* const projection = FindChild(node, "panorama", "projection_properties");
  if (projection != nullptr) {
    ReadProjection(*projection, record.get());
  }
  ReadLinks(*node, record.get());
  ReadLevels(*node, record.get());
  return record;
}

}  // namespace

void PanoramaXMLParser::Parse(const QByteArray& xml, mmvector<RefPtr<PanoramaData>>* result) {
  if (result == nullptr) {
    return;
  }
  const XmlReader reader(xml);
  if (reader.GetErrorsOccurred()) {
    return;
  }
  const XmlPathFinder finder;
  XmlNode* node = finder.Find(reader.GetRoot(), QStringLiteral("/panoramas/panorama"));
  if (node == nullptr) {
    node = finder.Find(reader.GetRoot(), QStringLiteral("/panorama"));
  }
  for (; node != nullptr; node = node->next_sibling) {
    RefPtr<PanoramaData> record = ReadRecord(node);
    if (!record) {
      continue;
    }
    // The maps are read from the answer's root, so that a record inside a list can have none. The
    // answer's tree is at hand, so it is read once.
    if (node->parent == nullptr && HasDepthMap(node)) {
      ReadDepthAndPano(node, record.get());
    }
    result->push_back(std::move(record));
  }
}

RefPtr<PanoramaData> PanoramaXMLParser::ParsePanorama(XmlNode* node, const QByteArray& xml) {
  RefPtr<PanoramaData> record = ReadRecord(node);
  if (record && HasDepthMap(node)) {
    ParseDepthAndPano(xml, record.get());
  }
  return record;
}

Annotation ExtractAnnotation(XmlNode* node) {
  Annotation annotation;
  if (node == nullptr) {
    return annotation;
  }
  annotation.id = Attribute(*node, "id");
  annotation.title = Attribute(*node, "title");
  if (node->first_child != nullptr) {
    const XmlNode& numbers = *node->first_child;
    annotation.yaw = Attribute(numbers, "yaw").toFloat();
    annotation.pitch = Attribute(numbers, "pitch").toFloat();
    annotation.d = Attribute(numbers, "d").toFloat();
  }
  return annotation;
}

}  // namespace spatial
}  // namespace nimbara
