// SPDX-License-Identifier: Apache-2.0
#include <QByteArray>
#include <QXmlStreamWriter>
#include <nlohmann/json.hpp>

#include "apps/command/coordinates.h"
#include "apps/command/octants.h"
#include "apps/command/utm_point.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kMetreDecimals = 3;

std::string Metres(double metres) {
  return FixedText(metres, kMetreDecimals) + " m";
}

Json CellJson(const TreeCell& cell) {
  Json json{{"row", cell.row}, {"column", cell.column}, {"path", cell.path}};
  if (cell.is_on_globe) {
    // Longitude first: west, south, east, north.
    json["bbox"] = {cell.west_deg, cell.south_deg, cell.east_deg, cell.north_deg};
  } else {
    json["bbox"] = nullptr;
  }
  return json;
}

Json OctantJson(const Octant& octant) {
  Json json{{"level", octant.level},       {"stratum", octant.stratum},
            {"absolute", octant.absolute}, {"base_m", octant.base_m},
            {"top_m", octant.top_m},       {"thickness_m", octant.top_m - octant.base_m}};
  json["parent"] = octant.parent ? Json(*octant.parent) : Json(nullptr);
  json["children"] = {octant.lower_child, octant.upper_child};
  if (octant.cell) {
    json.update(CellJson(*octant.cell));
  }
  return json;
}

void AddLine(const char* name, const std::string& value, std::string* text) {
  *text += name + std::string(11 - std::string(name).size(), ' ') + value + "\n";
}

std::string Words(const Octant& octant) {
  std::string text;
  if (octant.cell) {
    AddLine("path", octant.cell->path.empty() ? "(the root)" : octant.cell->path, &text);
  }
  AddLine("level", std::to_string(octant.level), &text);
  AddLine("stratum",
          std::to_string(octant.stratum) + ", number " + std::to_string(octant.absolute) +
              " from the bottom",
          &text);
  AddLine("altitude",
          Metres(octant.base_m) + " to " + Metres(octant.top_m) + ", " +
              Metres(octant.top_m - octant.base_m) + " thick",
          &text);
  AddLine("parent", octant.parent ? std::to_string(*octant.parent) : "none", &text);
  AddLine("children",
          std::to_string(octant.lower_child) + " and " + std::to_string(octant.upper_child), &text);
  if (octant.cell) {
    const TreeCell& cell = *octant.cell;
    AddLine("cell", "row " + std::to_string(cell.row) + ", column " + std::to_string(cell.column),
            &text);
    AddLine("corners",
            cell.is_on_globe
                ? DegreesText(cell.south_deg) + "," + DegreesText(cell.west_deg) + " and " +
                      DegreesText(cell.north_deg) + "," + DegreesText(cell.east_deg)
                : "beyond the pole",
            &text);
  }
  return text;
}

QString Text(const std::string& text) {
  return QString::fromStdString(text);
}

// Writes the boxes, each as one shape of six faces that stands at its own altitude.
class BoxWriter {
 public:
  explicit BoxWriter(QByteArray* bytes) : xml_(bytes) {
    xml_.setAutoFormatting(true);
    xml_.writeStartDocument();
    xml_.writeStartElement("kml");
    xml_.writeDefaultNamespace("http://www.opengis.net/kml/2.2");
    xml_.writeStartElement("Document");
    xml_.writeTextElement("name", "Octants");
    WriteStyle();
  }
  ~BoxWriter() { xml_.writeEndDocument(); }
  BoxWriter(const BoxWriter&) = delete;
  BoxWriter& operator=(const BoxWriter&) = delete;

  void Write(const Octant& octant) {
    const TreeCell& cell = *octant.cell;
    xml_.writeStartElement("Placemark");
    xml_.writeTextElement("name", Text(cell.path.empty() ? "root" : cell.path));
    xml_.writeTextElement("description",
                          Text("Level " + std::to_string(octant.level) + ", stratum " +
                               std::to_string(octant.stratum) + ": " + Metres(octant.base_m) +
                               " to " + Metres(octant.top_m)));
    xml_.writeTextElement("styleUrl", "#octant");
    xml_.writeStartElement("MultiGeometry");
    const Corner south_west{cell.west_deg, cell.south_deg};
    const Corner south_east{cell.east_deg, cell.south_deg};
    const Corner north_east{cell.east_deg, cell.north_deg};
    const Corner north_west{cell.west_deg, cell.north_deg};
    const double base = octant.base_m;
    const double top = octant.top_m;
    // Seen from outside every face goes round against the clock.
    WriteFace({{north_west, base}, {north_east, base}, {south_east, base}, {south_west, base}});
    WriteFace({{south_west, top}, {south_east, top}, {north_east, top}, {north_west, top}});
    WriteWall(south_west, south_east, base, top);
    WriteWall(south_east, north_east, base, top);
    WriteWall(north_east, north_west, base, top);
    WriteWall(north_west, south_west, base, top);
    xml_.writeEndElement();
    xml_.writeEndElement();
  }

 private:
  struct Corner {
    double lng_deg;
    double lat_deg;
  };
  struct Vertex {
    Corner corner;
    double altitude_m;
  };

  void WriteStyle() {
    xml_.writeStartElement("Style");
    xml_.writeAttribute("id", "octant");
    xml_.writeStartElement("LineStyle");
    xml_.writeTextElement("color", "ff2f46d1");
    xml_.writeTextElement("width", "2");
    xml_.writeEndElement();
    xml_.writeStartElement("PolyStyle");
    xml_.writeTextElement("color", "402f46d1");
    xml_.writeEndElement();
    xml_.writeEndElement();
  }

  void WriteWall(const Corner& from, const Corner& to, double base, double top) {
    WriteFace({{from, base}, {to, base}, {to, top}, {from, top}});
  }

  void WriteFace(const std::vector<Vertex>& face) {
    std::string ring;
    for (const Vertex& vertex : face) {
      ring += Position(vertex) + " ";
    }
    ring += Position(face.front());
    xml_.writeStartElement("Polygon");
    xml_.writeTextElement("altitudeMode", "absolute");
    xml_.writeStartElement("outerBoundaryIs");
    xml_.writeStartElement("LinearRing");
    xml_.writeTextElement("coordinates", Text(ring));
    xml_.writeEndElement();
    xml_.writeEndElement();
    xml_.writeEndElement();
  }

  static std::string Position(const Vertex& vertex) {
    return FixedText(vertex.corner.lng_deg, 9) + "," + FixedText(vertex.corner.lat_deg, 9) + "," +
           FixedText(vertex.altitude_m, kMetreDecimals);
  }

  QXmlStreamWriter xml_;
};

}  // namespace

std::string OctantsText(const std::vector<Octant>& octants) {
  std::string text;
  for (const Octant& octant : octants) {
    text += (text.empty() ? "" : "\n") + Words(octant);
  }
  return text;
}

std::string OctantsJson(const std::vector<Octant>& octants) {
  Json rows = Json::array();
  for (const Octant& octant : octants) {
    rows.push_back(OctantJson(octant));
  }
  return Json{{"count", octants.size()}, {"octants", std::move(rows)}}.dump(2) + "\n";
}

std::string OctantsKml(const std::vector<Octant>& octants) {
  QByteArray bytes;
  {
    BoxWriter writer(&bytes);
    for (const Octant& octant : octants) {
      if (octant.cell && octant.cell->is_on_globe) {
        writer.Write(octant);
      }
    }
  }
  return bytes.toStdString();
}

}  // namespace command
}  // namespace pelorin
