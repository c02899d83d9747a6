// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>
#include <map>
#include <string>
#include <utility>

namespace nimbara {
namespace test_support {

/// What OGC 07-147r2 (KML 2.2) demands of a document: which elements may stand in which, in what
/// order and how often, what their text may be, and that ids are names and unique. A table for
/// everything that this project writes, with all the neighbours that the standard names, so that an
/// element in the wrong place is told from one that is unknown.
class KmlRules {
 public:
  /// One line for each breach, with its path and the line of the document; empty for a valid one.
  static std::string BreachesOf(const QByteArray& kml) {
    KmlRules rules(kml);
    rules.Check();
    return rules.breaches_.join('\n').toStdString();
  }

 private:
  explicit KmlRules(const QByteArray& kml) : xml_(kml) {}

  void Check() {
    if (!xml_.readNextStartElement() || xml_.name() != QLatin1String("kml")) {
      Tell("no root element kml");
      return;
    }
    CheckElement();
    while (!xml_.atEnd()) {
      xml_.readNext();
    }
    if (xml_.hasError()) {
      Tell(xml_.errorString());
    }
  }

  // The children that an element may have, in their order. Of names joined by | any may stand
  // there; a star allows any number of them, and everything may be missing.
  static QStringList ChildrenOf(const QString& element) {
    static const QString feature =
        "name visibility open author link address AddressDetails phoneNumber Snippet description "
        "Camera|LookAt TimeStamp|TimeSpan styleUrl Style|StyleMap* Region Metadata|ExtendedData ";
    static const QString overlay = "color drawOrder Icon ";
    static const QString features = "Document|Folder|Placemark|NetworkLink|PhotoOverlay*";
    static const QString geometry = "Point|LineString|LinearRing|Polygon|MultiGeometry|Model";
    static const std::map<QString, QString> table = {
        {"kml", "NetworkLinkControl Document|Folder|Placemark|NetworkLink|PhotoOverlay"},
        {"Document", feature + "Schema* " + features},
        {"Folder", feature + features},
        {"Placemark", feature + geometry},
        {"PhotoOverlay", feature + overlay + "rotation ViewVolume ImagePyramid Point shape"},
        {"Camera", "longitude latitude altitude heading tilt roll altitudeMode"},
        {"LookAt", "longitude latitude altitude heading tilt range altitudeMode"},
        {"Point", "extrude altitudeMode coordinates"},
        {"LineString", "extrude tessellate altitudeMode coordinates"},
        {"LinearRing", "extrude tessellate altitudeMode coordinates"},
        {"Polygon", "extrude tessellate altitudeMode outerBoundaryIs innerBoundaryIs*"},
        {"outerBoundaryIs", "LinearRing"},
        {"innerBoundaryIs", "LinearRing"},
        {"MultiGeometry", geometry + "*"},
        {"Style", "IconStyle LabelStyle LineStyle PolyStyle BalloonStyle ListStyle"},
        {"IconStyle", "color colorMode scale heading Icon hotSpot"},
        {"LabelStyle", "color colorMode scale"},
        {"LineStyle", "color colorMode width"},
        {"PolyStyle", "color colorMode fill outline"},
        {"Icon", "href"},
        {"PhotoOverlay/Icon", "href refreshMode refreshInterval viewRefreshMode viewRefreshTime "
                              "viewBoundScale viewFormat httpQuery"},
        {"ViewVolume", "leftFov rightFov bottomFov topFov near"},
        {"ImagePyramid", "tileSize maxWidth maxHeight gridOrigin"},
        {"ExtendedData", "Data*"},
        {"Data", "displayName value"},
    };
    const auto found = table.find(element);
    return found == table.end() ? QStringList() : found->second.split(' ', Qt::SkipEmptyParts);
  }

  // What the text of an element without children must match; null for an unknown element.
  static QString PatternOf(const QString& element) {
    static const QString number = "-?[0-9]+(\\.[0-9]+)?";
    static const QString position = number + "," + number + "(," + number + ")?";
    static const QString whole = "-?[0-9]+";
    static const QString flag = "[01]|true|false";
    static const QString any = "(?s).*";
    static const std::map<QString, QString> table = {
        {"name", any},
        {"description", any},
        {"styleUrl", ".+"},
        {"href", any},
        {"value", any},
        {"visibility", flag},
        {"open", flag},
        {"extrude", flag},
        {"tessellate", flag},
        {"fill", flag},
        {"outline", flag},
        {"color", "[0-9a-fA-F]{8}"},
        {"altitudeMode", "clampToGround|relativeToGround|absolute"},
        {"refreshMode", "onChange|onInterval|onExpire"},
        {"shape", "rectangle|cylinder|sphere"},
        {"gridOrigin", "lowerLeft|upperLeft"},
        {"coordinates", "\\s*" + position + "(\\s+" + position + ")*\\s*"},
        {"longitude", number},
        {"latitude", number},
        {"altitude", number},
        {"heading", number},
        {"tilt", number},
        {"roll", number},
        {"range", number},
        {"rotation", number},
        {"scale", number},
        {"width", number},
        {"leftFov", number},
        {"rightFov", number},
        {"bottomFov", number},
        {"topFov", number},
        {"near", number},
        {"drawOrder", whole},
        {"tileSize", whole},
        {"maxWidth", whole},
        {"maxHeight", whole},
        {"hotSpot", ""},
    };
    const auto found = table.find(element);
    return found == table.end() ? QString() : QStringLiteral("^(?:%1)$").arg(found->second);
  }

  // The ends of what a number may be, both included.
  static bool IsWithinRange(const QString& element, double value) {
    static const std::map<QString, std::pair<double, double>> table = {
        {"longitude", {-180.0, 180.0}}, {"latitude", {-90.0, 90.0}},
        {"heading", {-360.0, 360.0}},   {"tilt", {0.0, 180.0}},
        {"roll", {-180.0, 180.0}},      {"rotation", {-180.0, 180.0}},
        {"leftFov", {-180.0, 180.0}},   {"rightFov", {-180.0, 180.0}},
        {"bottomFov", {-90.0, 90.0}},   {"topFov", {-90.0, 90.0}},
    };
    const auto found = table.find(element);
    return found == table.end() || (value >= found->second.first && value <= found->second.second);
  }

  // Reads the element that begins here, to its end.
  void CheckElement() {
    const QString name = xml_.name().toString();
    if (xml_.namespaceUri() != QLatin1String("http://www.opengis.net/kml/2.2")) {
      Tell("not in the namespace of KML");
    }
    CheckAttributes(name);
    const bool is_link = name == QLatin1String("Icon") && path_.endsWith("PhotoOverlay");
    path_.append(name);
    const QStringList allowed = ChildrenOf(is_link ? "PhotoOverlay/Icon" : name);
    QString text;
    int place = 0;
    int taken = 0;  // At that place.
    while (!xml_.atEnd() && xml_.readNext() != QXmlStreamReader::EndElement) {
      if (xml_.isCharacters()) {
        text += xml_.text();
      } else if (xml_.isStartElement()) {
        CheckPlace(allowed, &place, &taken);
        CheckElement();
      }
    }
    if (!allowed.isEmpty()) {
      if (!text.trimmed().isEmpty()) {
        Tell("text between its children");
      }
    } else {
      CheckText(name, text);
    }
    path_.removeLast();
  }

  void CheckPlace(const QStringList& allowed, int* place, int* taken) {
    const QString name = xml_.name().toString();
    for (int i = *place; i < allowed.size(); ++i) {
      QString slot = allowed[i];
      const bool is_many = slot.endsWith('*');
      slot.remove('*');
      if (slot.split('|').contains(name)) {
        if (i == *place && *taken > 0 && !is_many) {
          Tell(name + " a second time");
        }
        *taken = i == *place ? *taken + 1 : 1;
        *place = i;
        return;
      }
    }
    Tell(name + " does not belong here");
  }

  void CheckText(const QString& name, const QString& text) {
    const QString pattern = PatternOf(name);
    if (pattern.isNull()) {
      Tell("unknown");
    } else if (!QRegularExpression(pattern).match(text).hasMatch()) {
      Tell("holds \"" + text.left(80) + "\"");
    } else if (!IsWithinRange(name, text.toDouble())) {
      Tell("is out of range: " + text);
    }
  }

  void CheckAttributes(const QString& element) {
    const bool is_object = !ChildrenOf(element).isEmpty() && !element.endsWith("BoundaryIs");
    for (const QXmlStreamAttribute& attribute : xml_.attributes()) {
      const QString name = attribute.name().toString();
      const QString value = attribute.value().toString();
      if (name == QLatin1String("id") && is_object) {
        static const QRegularExpression is_name("^[\\p{L}_][\\p{L}\\p{N}._-]*$");
        if (!is_name.match(value).hasMatch()) {
          Tell("its id is no name: " + value);
        } else if (ids_.contains(value)) {
          Tell("its id is not its own: " + value);
        }
        ids_.insert(value);
      } else if (element == QLatin1String("hotSpot") && QStringList{"x", "y"}.contains(name)) {
        CheckText("scale", value);
      } else if (element == QLatin1String("hotSpot") &&
                 QStringList{"xunits", "yunits"}.contains(name)) {
        if (!QStringList{"fraction", "pixels", "insetPixels"}.contains(value)) {
          Tell("has units " + value);
        }
      } else if (!(element == QLatin1String("Data") && name == QLatin1String("name"))) {
        Tell("has an attribute " + name);
      }
    }
  }

  void Tell(const QString& what) {
    breaches_.append(QString("line %1, %2: %3").arg(xml_.lineNumber()).arg(path_.join('/'), what));
  }

  QXmlStreamReader xml_;
  QStringList path_;
  QSet<QString> ids_;
  QStringList breaches_;
};

}  // namespace test_support
}  // namespace nimbara
