// SPDX-License-Identifier: Apache-2.0
#include "host/reference/kml_writer.h"

#include <QXmlStreamWriter>
#include <charconv>
#include <cmath>

#include "host/loculus/camera.h"
#include "host/loculus/container.h"
#include "host/loculus/line_string.h"
#include "host/loculus/photo_overlay.h"
#include "host/loculus/placemark.h"
#include "host/loculus/planet.h"
#include "host/loculus/point.h"
#include "host/units.h"

namespace nimbara {
namespace {

using namespace loculus;

constexpr char kNamespace[] = "http://www.opengis.net/kml/2.2";
constexpr double kDegreesPerUnit = 180.0;
constexpr double kFullTurn = 360.0;

// The largest numbers have 309 digits in front of the point, the smallest 1074 behind it.
constexpr std::size_t kLongestNumber = 1100;

template <typename T>
QString Number(T value) {
  char text[kLongestNumber];
  const auto end = std::to_chars(text, text + kLongestNumber, value, std::chars_format::fixed).ptr;
  return QString::fromLatin1(text, static_cast<int>(end - text));
}

bool IsXmlCharacter(const QString& text, int index) {
  const QChar c = text[index];
  if (c.isHighSurrogate()) {
    return index + 1 < text.size() && text[index + 1].isLowSurrogate();
  }
  if (c.isLowSurrogate()) {
    return index > 0 && text[index - 1].isHighSurrogate();
  }
  const ushort code = c.unicode();
  return code >= 0x20 ? code < 0xFFFE : code == '\t' || code == '\n' || code == '\r';
}

QString XmlCharactersOf(const QString& text) {
  QString kept;
  kept.reserve(text.size());
  for (int i = 0; i < text.size(); ++i) {
    if (IsXmlCharacter(text, i)) {
      kept.append(text[i]);
    }
  }
  return kept;
}

QString ColorText(const Color32& color) {
  return QStringLiteral("%1").arg(color.abgr, 8, 16, QLatin1Char('0'));
}

const char* AltitudeModeText(AltitudeMode mode) {
  switch (mode) {
  case AltitudeMode::kRelativeToGround:
    return "relativeToGround";
  case AltitudeMode::kAbsolute:
    return "absolute";
  case AltitudeMode::kClampToGround:
    break;
  }
  return "clampToGround";
}

const char* RefreshModeText(RefreshMode mode) {
  switch (mode) {
  case RefreshMode::kOnInterval:
    return "onInterval";
  case RefreshMode::kOnExpire:
    return "onExpire";
  case RefreshMode::kOnChange:
    break;
  }
  return "onChange";
}

const char* ShapeText(PhotoShape shape) {
  switch (shape) {
  case PhotoShape::kCylinder:
    return "cylinder";
  case PhotoShape::kSphere:
  case PhotoShape::kStreetSphere:
    return "sphere";
  case PhotoShape::kRectangle:
    break;
  }
  return "rectangle";
}

const char* HotSpotUnitText(std::int32_t unit) {
  return unit == 1 ? "pixels" : unit == 2 ? "insetPixels" : "fraction";
}

// A position as KML writes it, or no text if it is not finite.
QString PositionText(const Vec3<double>& position, double raised_m) {
  const double lng = position.x * kDegreesPerUnit;
  const double lat = position.y * kDegreesPerUnit;
  const double altitude = position.z / Units::s_inv_planet_radius + raised_m;
  if (!std::isfinite(lng) || !std::isfinite(lat) || !std::isfinite(altitude)) {
    return QString();
  }
  return Number(lng) + QLatin1Char(',') + Number(lat) + QLatin1Char(',') + Number(altitude);
}

class KmlWriter {
 public:
  explicit KmlWriter(QByteArray* out) : xml_(out) { xml_.setAutoFormatting(true); }

  void WriteDocument(const AbstractFeature& feature) {
    xml_.writeStartDocument();
    xml_.writeDefaultNamespace(QLatin1String(kNamespace));
    xml_.writeStartElement(QLatin1String(kNamespace), QStringLiteral("kml"));
    WriteFeature(feature);
    xml_.writeEndDocument();
  }

 private:
  // Writes the start of an element, and the end as it goes.
  class Element {
   public:
    Element(QXmlStreamWriter* xml, const char* name) : xml_(xml) {
      xml_->writeStartElement(QLatin1String(kNamespace), QLatin1String(name));
    }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    ~Element() { xml_->writeEndElement(); }

   private:
    QXmlStreamWriter* const xml_;
  };

  // An element for an object of the model, by the name of its schema and with its id.
  class ObjectElement : public Element {
   public:
    ObjectElement(QXmlStreamWriter* xml, const SchemaObject& object)
        : Element(xml, object.schema().class_name()) {
      if (!object.id().id.isEmpty()) {
        xml->writeAttribute(QStringLiteral("id"), XmlCharactersOf(object.id().id));
      }
    }
  };

  void WriteText(const char* name, const QString& text) {
    xml_.writeTextElement(QLatin1String(kNamespace), QLatin1String(name), XmlCharactersOf(text));
  }
  void WriteText(const char* name, const char* text) { WriteText(name, QString::fromLatin1(text)); }
  template <typename T>
  void WriteNumber(const char* name, T value) {
    if (std::isfinite(value)) {
      WriteText(name, Number(value));
    }
  }
  // What the schema has no room for is not written.
  template <typename T>
  void WriteNumberUpTo(T limit, const char* name, T value) {
    if (std::abs(value) <= limit) {
      WriteNumber(name, value);
    }
  }
  void WriteInteger(const char* name, std::int32_t value) {
    WriteText(name, QString::number(value));
  }
  template <typename T>
  void WriteNumberUnless(T assumed, const char* name, T value) {
    if (value != assumed) {
      WriteNumber(name, value);
    }
  }
  void WriteTrue(const char* name, bool value) {
    if (value) {
      WriteText(name, "1");
    }
  }
  void WriteColor(const Color32& color) {
    if (color != Color32()) {
      WriteText("color", ColorText(color));
    }
  }
  void WriteAltitudeMode(AltitudeMode mode) { WriteText("altitudeMode", AltitudeModeText(mode)); }

  void WriteFeature(const AbstractFeature& feature);
  void WriteFeatureFields(const AbstractFeature& feature);
  void WriteGeometry(const Geometry* geometry);
  void WritePoint(const Point& point);
  void WriteLineString(const LineString& line);
  void WriteCamera(const Camera& camera);
  void WriteStyle(const Style& style);
  void WriteIconStyle(const IconStyle& style);
  void WriteLabelStyle(const LabelStyle& style);
  void WriteLineStyle(const LineStyle& style);
  void WriteHotSpot(const LegacyScreenVec& hot_spot);
  void WriteOverlayIcon(const Icon& icon);
  void WritePhotoOverlay(const PhotoOverlay& overlay);
  void WriteViewVolume(const ViewVolume& volume);
  void WriteImagePyramid(const ImagePyramid& pyramid);

  QXmlStreamWriter xml_;
};

void KmlWriter::WriteFeature(const AbstractFeature& feature) {
  if (feature.isOfType(Planet::GetSchema())) {
    return;
  }
  const ObjectElement element(&xml_, feature);
  WriteFeatureFields(feature);
  if (const auto* placemark = As<Placemark>(&feature)) {
    WriteGeometry(placemark->geometry());
  } else if (const auto* container = As<Container>(&feature)) {
    for (int i = 0; i < container->GetFeatureCount(); ++i) {
      WriteFeature(*container->GetFeature(i));
    }
  } else if (const auto* overlay = As<PhotoOverlay>(&feature)) {
    WritePhotoOverlay(*overlay);
  }
}

void KmlWriter::WriteFeatureFields(const AbstractFeature& feature) {
  if (!feature.name().isEmpty()) {
    WriteText("name", feature.name());
  }
  if (!feature.visibility()) {
    WriteText("visibility", "0");
  }
  if (!feature.description().isEmpty()) {
    WriteText("description", feature.description());
  }
  if (const auto* camera = As<Camera>(feature.view())) {
    WriteCamera(*camera);
  }
  if (feature.style() != nullptr) {
    WriteStyle(*feature.style());
  }
}

void KmlWriter::WriteGeometry(const Geometry* geometry) {
  if (const auto* point = As<Point>(geometry)) {
    WritePoint(*point);
  } else if (const auto* line = As<LineString>(geometry)) {
    WriteLineString(*line);
  }
}

void KmlWriter::WritePoint(const Point& point) {
  const QString position = PositionText(point.position(), 0.0);
  if (position.isEmpty()) {
    return;
  }
  const ObjectElement element(&xml_, point);
  WriteTrue("extrude", point.extrude());
  WriteAltitudeMode(point.altitude_mode());
  WriteText("coordinates", position);
}

void KmlWriter::WriteLineString(const LineString& line) {
  const double raised_m = std::isfinite(line.altitude_offset()) ? line.altitude_offset() : 0.0;
  QStringList positions;
  for (int i = 0; i < line.GetCoordinateCount(); ++i) {
    const QString position = PositionText(line.GetCoordinate(i), raised_m);
    if (!position.isEmpty()) {
      positions.append(position);
    }
  }
  if (positions.size() < 2) {
    return;
  }
  const ObjectElement element(&xml_, line);
  WriteTrue("extrude", line.extrude());
  WriteTrue("tessellate", line.tessellate());
  WriteAltitudeMode(line.altitude_mode());
  WriteText("coordinates", positions.join(QLatin1Char(' ')));
}

void KmlWriter::WriteCamera(const Camera& camera) {
  const ObjectElement element(&xml_, camera);
  WriteNumber("longitude", std::remainder(camera.longitude(), kFullTurn));
  WriteNumberUpTo(90.0, "latitude", camera.latitude());
  WriteNumber("altitude", camera.altitude());
  WriteNumber("heading", std::fmod(camera.heading(), kFullTurn));
  if (camera.tilt() >= 0.0) {
    WriteNumberUpTo(180.0, "tilt", camera.tilt());
  }
  WriteNumber("roll", std::remainder(camera.roll(), kFullTurn));
  WriteAltitudeMode(camera.altitude_mode());
}

void KmlWriter::WriteStyle(const Style& style) {
  const ObjectElement element(&xml_, style);
  if (style.icon_style() != nullptr) {
    WriteIconStyle(*style.icon_style());
  }
  if (style.label_style() != nullptr) {
    WriteLabelStyle(*style.label_style());
  }
  if (style.line_style() != nullptr) {
    WriteLineStyle(*style.line_style());
  }
}

void KmlWriter::WriteIconStyle(const IconStyle& style) {
  const ObjectElement element(&xml_, style);
  WriteColor(style.color());
  WriteNumberUnless(1.0f, "scale", style.scale());
  WriteNumberUnless(0.0f, "heading", std::fmod(style.heading(), static_cast<float>(kFullTurn)));
  if (style.icon() != nullptr) {
    const ObjectElement icon(&xml_, *style.icon());
    if (!style.icon()->href().isEmpty()) {
      WriteText("href", style.icon()->href());
    }
  }
  WriteHotSpot(style.hot_spot());
}

void KmlWriter::WriteHotSpot(const LegacyScreenVec& hot_spot) {
  const LegacyScreenVec centre{0.5, 0.5, 0, 0};
  if (hot_spot == centre || !std::isfinite(hot_spot.x) || !std::isfinite(hot_spot.y)) {
    return;
  }
  const Element element(&xml_, "hotSpot");
  xml_.writeAttribute(QStringLiteral("x"), Number(hot_spot.x));
  xml_.writeAttribute(QStringLiteral("y"), Number(hot_spot.y));
  xml_.writeAttribute(QStringLiteral("xunits"), QLatin1String(HotSpotUnitText(hot_spot.x_units)));
  xml_.writeAttribute(QStringLiteral("yunits"), QLatin1String(HotSpotUnitText(hot_spot.y_units)));
}

void KmlWriter::WriteLabelStyle(const LabelStyle& style) {
  const ObjectElement element(&xml_, style);
  WriteColor(style.color());
  WriteNumberUnless(1.0f, "scale", style.scale());
}

void KmlWriter::WriteLineStyle(const LineStyle& style) {
  const ObjectElement element(&xml_, style);
  WriteColor(style.color());
  WriteNumberUnless(1.0f, "width", style.width());
}

void KmlWriter::WriteOverlayIcon(const Icon& icon) {
  const ObjectElement element(&xml_, icon);
  if (!icon.href().isEmpty()) {
    WriteText("href", icon.href());
  }
  if (icon.refresh_mode() != RefreshMode::kOnChange) {
    WriteText("refreshMode", RefreshModeText(icon.refresh_mode()));
  }
}

void KmlWriter::WritePhotoOverlay(const PhotoOverlay& overlay) {
  WriteColor(overlay.color());
  if (overlay.draw_order() != 0) {
    WriteInteger("drawOrder", overlay.draw_order());
  }
  if (overlay.icon() != nullptr) {
    WriteOverlayIcon(*overlay.icon());
  }
  WriteNumberUnless(0.0, "rotation", std::remainder(overlay.rotation(), kFullTurn));
  if (overlay.view_volume() != nullptr) {
    WriteViewVolume(*overlay.view_volume());
  }
  if (overlay.image_pyramid() != nullptr) {
    WriteImagePyramid(*overlay.image_pyramid());
  }
  if (overlay.point() != nullptr) {
    WritePoint(*overlay.point());
  }
  if (overlay.shape() != PhotoShape::kRectangle) {
    WriteText("shape", ShapeText(overlay.shape()));
  }
}

void KmlWriter::WriteViewVolume(const ViewVolume& volume) {
  const ObjectElement element(&xml_, volume);
  WriteNumberUpTo(180.0f, "leftFov", volume.left_fov());
  WriteNumberUpTo(180.0f, "rightFov", volume.right_fov());
  WriteNumberUpTo(90.0f, "bottomFov", volume.bottom_fov());
  WriteNumberUpTo(90.0f, "topFov", volume.top_fov());
  WriteNumber("near", volume.near());
}

void KmlWriter::WriteImagePyramid(const ImagePyramid& pyramid) {
  const ObjectElement element(&xml_, pyramid);
  WriteInteger("tileSize", pyramid.tile_size());
  WriteInteger("maxWidth", pyramid.max_width());
  WriteInteger("maxHeight", pyramid.max_height());
  WriteText("gridOrigin",
            pyramid.grid_origin() == GridOrigin::kUpperLeft ? "upperLeft" : "lowerLeft");
}

}  // namespace

QByteArray WriteKml(const AbstractFeature& feature) {
  QByteArray kml;
  KmlWriter(&kml).WriteDocument(feature);
  return kml;
}

}  // namespace nimbara
