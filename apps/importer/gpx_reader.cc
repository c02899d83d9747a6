// SPDX-License-Identifier: Apache-2.0
#include <expat.h>

#include <cmath>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/importer/street_source.h"
#include "apps/importer/street_tags.h"

namespace pelorin {

namespace {

constexpr std::size_t kMaxNameBytes = 1000;
// A GPX file has some six levels; this much is left for vendors.
constexpr std::size_t kMaxDepth = 256;

// Collects tracks and routes while expat walks the file. Expat is C: nothing may be thrown through
// it, so faults are kept and thrown by the caller.
class GpxHandler {
 public:
  GpxHandler(std::string path, XML_Parser parser, StreetSource* source)
      : path_(std::move(path)), parser_(parser), source_(source) {}

  void Start(const std::string& name, const XML_Char** attributes) {
    if (elements_.empty() && name != "gpx") {
      Stop("the file is XML, but not GPX");
      return;
    }
    if (elements_.size() >= kMaxDepth) {
      Stop("elements nested deeper than " + std::to_string(kMaxDepth));
      return;
    }
    elements_.push_back(name);
    text_.clear();
    if (name == "trk" || name == "rte") {
      name_.clear();
    }
    if (name == "trkseg" || name == "rte") {
      points_.clear();
      date_.clear();
    }
    if (name == "trkpt" || name == "rtept") {
      AddPoint(attributes);
    }
    if (name == "copyright" && source_->attribution.empty()) {
      source_->attribution = Attribute(attributes, "author");
    }
  }

  void Text(const XML_Char* text, int length) {
    if (text_.size() < kMaxNameBytes) {
      text_.append(text, static_cast<std::size_t>(length));
    }
  }

  void End(const std::string& name) {
    // The end of an empty element comes even after a stop.
    if (elements_.empty() || !fault_.empty() || exception_) {
      return;
    }
    elements_.pop_back();
    const std::string parent = elements_.empty() ? "" : elements_.back();
    if (name == "name" && (parent == "trk" || parent == "rte")) {
      name_ = text_;
    }
    if (name == "time" && (parent == "trkpt" || parent == "rtept") && date_.empty()) {
      date_ = SeenDate(text_);
    }
    if (name == "trkseg" || name == "rte") {
      segments_.push_back({std::move(points_), date_});
      points_ = {};
    }
    if (name == "trk" || name == "rte") {
      FinishLine();
    }
    text_.clear();
  }

  void Stop(const std::string& why) {
    if (fault_.empty()) {
      fault_ = path_ + ": line " + Line() + ": " + why;
    }
    XML_StopParser(parser_, XML_FALSE);
  }

  void Keep(std::exception_ptr exception) {
    exception_ = std::move(exception);
    XML_StopParser(parser_, XML_FALSE);
  }

  const std::string& fault() const { return fault_; }
  const std::exception_ptr& exception() const { return exception_; }
  std::string Line() const { return std::to_string(XML_GetCurrentLineNumber(parser_)); }

 private:
  struct Segment {
    std::vector<StreetPoint> points;
    std::string date;  // Of its first point with one; empty if none has.
  };

  static std::string Attribute(const XML_Char** attributes, const std::string& name) {
    for (; *attributes != nullptr; attributes += 2) {
      if (name == attributes[0]) {
        return attributes[1];
      }
    }
    return {};
  }

  void AddPoint(const XML_Char** attributes) {
    const std::optional<double> lat = NumberFromText(Attribute(attributes, "lat"));
    const std::optional<double> lng = NumberFromText(Attribute(attributes, "lon"));
    const LatLng place{lat.value_or(HUGE_VAL), lng.value_or(HUGE_VAL)};
    if (!IsValidLatLng(place)) {
      source_->Warn(path_ + ": line " + Line() +
                    ": a point without a place on the planet is stepped over");
      return;
    }
    points_.push_back({place, NodeKey::OfPlace(place)});
  }

  // The name of a track can stand behind its segments.
  void FinishLine() {
    for (Segment& segment : segments_) {
      ++source_->lines_read;
      StreetTags tags;
      tags.name = name_;
      tags.date = segment.date;
      Street street = *StreetFromTags(tags);
      street.points = std::move(segment.points);
      source_->streets.push_back(std::move(street));
    }
    segments_.clear();
  }

  std::string path_;
  XML_Parser parser_;
  StreetSource* source_;
  std::vector<std::string> elements_;
  std::string text_;
  std::string name_;
  std::vector<StreetPoint> points_;
  std::string date_;
  std::vector<Segment> segments_;
  std::string fault_;
  std::exception_ptr exception_;
};

std::string LocalName(const XML_Char* name) {
  const std::string full = name;
  const std::size_t colon = full.rfind(':');
  return colon == std::string::npos ? full : full.substr(colon + 1);
}

template <typename Step>
void Guarded(void* data, Step step) {
  GpxHandler* handler = static_cast<GpxHandler*>(data);
  try {
    step(handler);
  } catch (...) {
    handler->Keep(std::current_exception());
  }
}

void OnStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  Guarded(data, [&](GpxHandler* handler) { handler->Start(LocalName(name), attributes); });
}

void OnText(void* data, const XML_Char* text, int length) {
  Guarded(data, [&](GpxHandler* handler) { handler->Text(text, length); });
}

void OnEnd(void* data, const XML_Char* name) {
  Guarded(data, [&](GpxHandler* handler) { handler->End(LocalName(name)); });
}

// No GPX file needs entities of its own, and a few of them can stand for gigabytes.
void OnEntity(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
              const XML_Char*, const XML_Char*, const XML_Char*) {
  Guarded(data, [](GpxHandler* handler) { handler->Stop("entity declarations are not taken"); });
}

void Parse(XML_Parser parser, const std::string& path, const GpxHandler& handler,
           const std::string& bytes, bool is_final) {
  // A piece is a megabyte at most, which any int holds.
  const XML_Status status = XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()),
                                      is_final ? XML_TRUE : XML_FALSE);
  if (handler.exception()) {
    std::rethrow_exception(handler.exception());
  }
  if (!handler.fault().empty()) {
    throw InputFault(handler.fault());
  }
  if (status != XML_STATUS_OK) {
    throw InputFault(path + ": line " + handler.Line() +
                     ": not GPX, or damaged: " + XML_ErrorString(XML_GetErrorCode(parser)));
  }
}

}  // namespace

void ReadGpx(const std::string& path, StreetSource* source) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), &XML_ParserFree);
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  GpxHandler handler(path, parser.get(), source);
  XML_SetUserData(parser.get(), &handler);
  XML_SetElementHandler(parser.get(), OnStart, OnEnd);
  XML_SetCharacterDataHandler(parser.get(), OnText);
  XML_SetEntityDeclHandler(parser.get(), OnEntity);
  ReadUnpacked(path, [&](const std::string& bytes) {
    Parse(parser.get(), path, handler, bytes, false);
    if (source->on_bytes) {
      source->on_bytes(bytes.size());
    }
    return true;
  });
  Parse(parser.get(), path, handler, "", true);
}

}  // namespace pelorin
