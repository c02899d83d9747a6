// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <utility>
#include <vector>

namespace nimbara {
namespace test_support {

/// `text` as XML text or as an attribute's value.
inline QString Escaped(const QString& text) {
  return text.toHtmlEscaped();
}

/// One `panorama` element of the service's answer in the making. Only what is set is written:
///
/// ```
/// const QByteArray xml = ListAnswer({PanoramaElement("a").At(45.0, -90.0).Link("b", 90.0),
///                                    PanoramaElement("b").At(45.0, -89.9)});
/// ```
class PanoramaElement {
 public:
  explicit PanoramaElement(const QString& pano_id) { Attribute("pano_id", pano_id); }

  /// An attribute of `data_properties`.
  PanoramaElement& Attribute(const QString& name, const QString& value) {
    data_attributes_ += WrittenAttribute(name, value);
    return *this;
  }
  PanoramaElement& At(double lat, double lng) {
    return Attribute("lat", QString::number(lat, 'g', 17))
        .Attribute("lng", QString::number(lng, 'g', 17));
  }
  PanoramaElement& Scene(int scene) { return Attribute("scene", QString::number(scene)); }
  PanoramaElement& OnLevel(const QString& level_id) { return Attribute("level_id", level_id); }

  /// A text child of `data_properties`: `text`, `street_range` or `copyright`.
  PanoramaElement& Text(const QString& name, const QString& value) {
    data_children_ += "<" + name + ">" + Escaped(value) + "</" + name + ">";
    return *this;
  }
  PanoramaElement& Angles(const QString& pano_yaw, const QString& tilt_yaw,
                          const QString& tilt_pitch) {
    projection_ = "<projection_properties" + WrittenAttribute("pano_yaw_deg", pano_yaw) +
                  WrittenAttribute("tilt_yaw_deg", tilt_yaw) +
                  WrittenAttribute("tilt_pitch_deg", tilt_pitch) + "/>";
    return *this;
  }
  PanoramaElement& Link(const QString& pano_id, double yaw_deg,
                        const QString& road_argb = "ff808080") {
    return LinkXml("<link" + WrittenAttribute("pano_id", pano_id) +
                   WrittenAttribute("yaw_deg", QString::number(yaw_deg, 'g', 17)) +
                   WrittenAttribute("road_argb", road_argb) + "/>");
  }
  /// Anything inside `annotation_properties`, as it stands.
  PanoramaElement& LinkXml(const QString& xml) {
    links_ += xml;
    return *this;
  }
  PanoramaElement& Level(const QString& level_id, const QString& pano_id, int ordinal,
                         const QString& text, const QString& abbreviation) {
    return LevelXml(
        "<level" + WrittenAttribute("level_id", level_id) + WrittenAttribute("pano_id", pano_id) +
        WrittenAttribute("ordinal", QString::number(ordinal)) + "><text>" + Escaped(text) +
        "</text><abbreviation>" + Escaped(abbreviation) + "</abbreviation></level>");
  }
  /// Anything inside `levels`, as it stands.
  PanoramaElement& LevelXml(const QString& xml) {
    levels_ += xml;
    return *this;
  }
  /// `text` is Base64, as the builders of map payloads give it.
  PanoramaElement& DepthMap(const QByteArray& text) {
    model_ += "<depth_map>" + QString::fromLatin1(text) + "</depth_map>";
    return *this;
  }
  PanoramaElement& PanoMap(const QByteArray& text) {
    model_ += "<pano_map>" + QString::fromLatin1(text) + "</pano_map>";
    return *this;
  }
  PanoramaElement& Annotation(const QString& id, const QString& title, const QString& yaw,
                              const QString& pitch, const QString& d) {
    annotations_ += "<annotation" + WrittenAttribute("id", id) + WrittenAttribute("title", title) +
                    "><point" + WrittenAttribute("yaw", yaw) + WrittenAttribute("pitch", pitch) +
                    WrittenAttribute("d", d) + "/></annotation>";
    return *this;
  }
  /// Anything inside `panorama`, as it stands, behind all else.
  PanoramaElement& Xml(const QString& xml) {
    rest_ += xml;
    return *this;
  }
  /// Leaves `data_properties` out.
  PanoramaElement& WithoutDataProperties() {
    has_data_ = false;
    return *this;
  }

  QString ToXml() const {
    const QString data =
        "<data_properties" + data_attributes_ + ">" + data_children_ + "</data_properties>";
    return "<panorama>" + (has_data_ ? data : QString()) + projection_ +
           Wrapped("annotation_properties", links_) + Wrapped("levels", levels_) +
           Wrapped("model", model_) + Wrapped("annotations", annotations_) + rest_ + "</panorama>";
  }

 private:
  static QString WrittenAttribute(const QString& name, const QString& value) {
    return " " + name + "=\"" + Escaped(value) + "\"";
  }
  static QString Wrapped(const QString& name, const QString& content) {
    return content.isEmpty() ? QString() : "<" + name + ">" + content + "</" + name + ">";
  }

  bool has_data_ = true;
  QString data_attributes_;
  QString data_children_;
  QString projection_;
  QString links_;
  QString levels_;
  QString model_;
  QString annotations_;
  QString rest_;
};

constexpr char kXmlDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/// The answer to a request by id or position: one panorama.
inline QByteArray SingleAnswer(const PanoramaElement& panorama) {
  return kXmlDeclaration + panorama.ToXml().toUtf8();
}

/// The answer to a request by tile: any number of panoramas.
inline QByteArray ListAnswer(const std::vector<PanoramaElement>& panoramas) {
  QByteArray xml = kXmlDeclaration + QByteArray("<panoramas>");
  for (const PanoramaElement& panorama : panoramas) {
    xml += panorama.ToXml().toUtf8();
  }
  return xml + "</panoramas>";
}

}  // namespace test_support
}  // namespace nimbara
