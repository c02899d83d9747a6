// SPDX-License-Identifier: Apache-2.0
#include "apps/command/elevation/gpx_track.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <pugixml.hpp>
#include <sstream>

#include "apps/command/input_file.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {
namespace {

// Every blank is kept, so that only the heights differ in the file that is written.
constexpr unsigned kParseAll = pugi::parse_full | pugi::parse_ws_pcdata;

// A day of a track has less than a hundredth of that.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;

// The name behind a prefix.
const char* LocalName(const pugi::xml_node& node) {
  const char* const colon = std::strchr(node.name(), ':');
  return colon == nullptr ? node.name() : colon + 1;
}

bool Is(const pugi::xml_node& node, const char* name) {
  return std::strcmp(LocalName(node), name) == 0;
}

bool IsPoint(const pugi::xml_node& node) {
  return Is(node, "trkpt") || Is(node, "rtept") || Is(node, "wpt");
}

pugi::xml_node Child(const pugi::xml_node& parent, const char* name) {
  for (const pugi::xml_node& child : parent.children()) {
    if (Is(child, name)) {
      return child;
    }
  }
  return {};
}

std::string Trimmed(const std::string& text) {
  const char* const kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string::npos
             ? std::string()
             : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool ParsePlace(const pugi::xml_node& point, LatLng* place) {
  return ParseNumber(Trimmed(point.attribute("lat").value()), -90.0, 90.0, &place->lat_deg) &&
         ParseNumber(Trimmed(point.attribute("lon").value()), -180.0, 180.0, &place->lng_deg);
}

std::optional<double> RecordedHeight(const pugi::xml_node& point) {
  double metres = 0.0;
  const std::string text = Trimmed(Child(point, "ele").child_value());
  return ParseNumber(text, -1e6, 1e6, &metres) ? std::optional<double>(metres) : std::nullopt;
}

}  // namespace

struct GpxTrack::Document {
  pugi::xml_document xml;
  std::vector<pugi::xml_node> nodes;  // Of the points.
};

// Walks the document, however deep, without recursion.
class GpxTrack::Collector : public pugi::xml_tree_walker {
 public:
  explicit Collector(GpxTrack* track) : track_(track) {}

  bool for_each(pugi::xml_node& node) override {
    if (Is(node, "trkseg") || Is(node, "rte")) {
      ++line_;
    }
    const bool names = Is(node, "name") && (Is(node.parent(), "trk") || Is(node.parent(), "rte"));
    if (names && track_->name_.empty()) {
      track_->name_ = Trimmed(node.child_value());
    }
    return !IsPoint(node) || AddPoint(node);
  }

  std::ptrdiff_t bad_offset() const { return bad_offset_; }

 private:
  bool AddPoint(const pugi::xml_node& node) {
    Point point;
    if (!ParsePlace(node, &point.place)) {
      bad_offset_ = node.offset_debug();
      return false;
    }
    point.recorded_m = RecordedHeight(node);
    point.line = Is(node, "wpt") ? -1 : line_;
    track_->points_.push_back(point);
    track_->document_->nodes.push_back(node);
    return true;
  }

  GpxTrack* const track_;
  int line_ = -1;
  std::ptrdiff_t bad_offset_ = -1;
};

GpxTrack::GpxTrack() : document_(std::make_unique<Document>()) {}
GpxTrack::~GpxTrack() = default;

Outcome GpxTrack::Open(const std::string& path) {
  std::string text;
  if (Outcome outcome = ReadInput(path, kMostBytes, &text); !outcome.ok()) {
    return outcome;
  }
  const pugi::xml_parse_result parsed =
      document_->xml.load_buffer(text.data(), text.size(), kParseAll);
  if (!parsed) {
    return Outcome::Fail(ExitCode::kDataError, parsed.description(),
                         InputName(path) + ", byte " + std::to_string(parsed.offset),
                         "give a GPX file");
  }
  if (!Is(document_->xml.document_element(), "gpx")) {
    return Outcome::Fail(ExitCode::kDataError, "the file is XML, but not GPX", InputName(path));
  }
  Collector collector(this);
  if (!document_->xml.traverse(collector)) {
    return Outcome::Fail(ExitCode::kDataError, "a point without a place on the planet",
                         InputName(path) + ", byte " + std::to_string(collector.bad_offset()));
  }
  return Outcome::Done();
}

std::string GpxTrack::WithHeights(const std::vector<double>& heights_m) {
  for (std::size_t i = 0; i < document_->nodes.size() && i < heights_m.size(); ++i) {
    pugi::xml_node& point = document_->nodes[i];
    pugi::xml_node height = Child(point, "ele");
    if (!height) {
      // The first of a point's elements, where the schema wants it, with the point's own prefix.
      const std::string prefix(point.name(), LocalName(point));
      height = point.prepend_child((prefix + "ele").c_str());
    }
    height.text().set(ShortestText(std::round(heights_m[i] * 100.0) / 100.0 + 0.0).c_str());
  }
  for (pugi::xml_node& node : document_->xml.children()) {
    // What is written is UTF-8, whatever was read.
    if (node.type() == pugi::node_declaration && node.attribute("encoding")) {
      node.attribute("encoding").set_value("UTF-8");
    }
  }
  std::ostringstream text;
  document_->xml.save(text, "", pugi::format_raw | pugi::format_no_declaration,
                      pugi::encoding_utf8);
  return text.str();
}

}  // namespace command
}  // namespace pelorin
