// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>
#include <exception>
#include <new>
#include <osmium/handler.hpp>
#include <osmium/io/any_compression.hpp>
#include <osmium/io/pbf_input.hpp>
#include <osmium/io/reader.hpp>
#include <osmium/io/xml_input.hpp>
#include <osmium/osm/node.hpp>
#include <osmium/osm/way.hpp>
#include <osmium/thread/pool.hpp>
#include <osmium/visitor.hpp>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "apps/importer/street_source.h"
#include "apps/importer/street_tags.h"

namespace pelorin {

namespace {

struct OsmStreet {
  std::int64_t way = 0;
  Street street;
  std::vector<std::int64_t> nodes;
};

using NodePlaces = std::unordered_map<std::int64_t, osmium::Location>;

std::string Tag(const osmium::Way& way, const char* key) {
  return way.tags().get_value_by_key(key, "");
}

// The day of a survey on the ground, or else of another look at it.
std::string DateOf(const osmium::Way& way) {
  const std::string surveyed = Tag(way, "survey:date");
  return SeenDate(surveyed).empty() ? Tag(way, "check_date") : surveyed;
}

StreetTags TagsOf(const osmium::Way& way) {
  return {Tag(way, "highway"), Tag(way, "name"), Tag(way, "level"),   Tag(way, "area"),
          Tag(way, "access"),  Tag(way, "foot"), Tag(way, "service"), Tag(way, "footway"),
          Tag(way, "indoor"),  DateOf(way)};
}

// Collects the streets, whose nodes can stand anywhere in the file.
class WayHandler : public osmium::handler::Handler {
 public:
  WayHandler(std::vector<OsmStreet>* streets, StreetSource* source)
      : streets_(streets), source_(source) {}

  void way(const osmium::Way& way) {
    ++source_->lines_read;
    const StreetTags tags = TagsOf(way);
    if (!way.visible() || tags.highway.empty() || way.nodes().size() < 2) {
      return;
    }
    std::optional<Street> street = StreetFromTags(tags);
    if (!street || !ways_.insert(way.id()).second) {
      return;
    }
    OsmStreet found{way.id(), *std::move(street), {}};
    for (const osmium::NodeRef& node : way.nodes()) {
      found.nodes.push_back(node.ref());
    }
    streets_->push_back(std::move(found));
  }

 private:
  std::vector<OsmStreet>* streets_;
  StreetSource* source_;
  std::unordered_set<std::int64_t> ways_;
};

// Fills in the places of the nodes that are wanted.
class NodeHandler : public osmium::handler::Handler {
 public:
  explicit NodeHandler(NodePlaces* places) : places_(places) {}

  void node(const osmium::Node& node) {
    const auto wanted = places_->find(node.id());
    if (wanted != places_->end() && node.visible() && node.location().valid()) {
      wanted->second = node.location();
    }
  }

 private:
  NodePlaces* places_;
};

// A name that starts with a protocol or is a single dash would be more than a file to the reader.
std::string PlainPath(const std::string& path) {
  return path[0] == '/' ? path : "./" + path;
}

std::string FormatText(const std::string& path, ImportFormat format) {
  if (format == ImportFormat::kOsmPbf) {
    return "pbf";
  }
  switch (PackingOf(path)) {
  case Packing::kGzip:
    return "osm.gz";
  case Packing::kBzip2:
    return "osm.bz2";
  case Packing::kNone:
    break;
  }
  return "osm";
}

template <typename Handler>
void ReadPass(const std::string& path, const std::string& format,
              osmium::osm_entity_bits::type entities, Handler* handler, StreetSource* source) {
  // A pool of its own: the shared one would live on into the unloading of the program.
  osmium::thread::Pool pool(1);
  osmium::io::Reader reader(osmium::io::File(PlainPath(path), format), entities,
                            osmium::io::read_meta::no, pool);
  std::uint64_t passed = 0;
  while (osmium::memory::Buffer buffer = reader.read()) {
    osmium::apply(buffer, *handler);
    const std::uint64_t offset = reader.offset();
    if (source->on_bytes) {
      source->on_bytes(offset - std::min(passed, offset));
    }
    passed = std::max(passed, offset);
  }
  reader.close();
}

// A way runs as far as its points are there; where some are missing, it is cut.
void AddPieces(const std::string& path, const OsmStreet& osm, const NodePlaces& places,
               StreetSource* source) {
  std::uint64_t missing = 0;
  Street piece = osm.street;
  const auto finish_piece = [&] {
    if (piece.points.size() >= 2) {
      source->streets.push_back(piece);
    }
    piece.points.clear();
  };
  for (const std::int64_t node : osm.nodes) {
    const osmium::Location location = places.at(node);
    if (!location.valid()) {
      ++missing;
      finish_piece();
      continue;
    }
    piece.points.push_back({{location.lat(), location.lon()}, NodeKey::OfNumber(node)});
  }
  finish_piece();
  if (missing > 0) {
    source->Warn(path + ": way " + std::to_string(osm.way) + ": " + std::to_string(missing) +
                 " of its points are not in the file; it is cut there");
  }
}

void ReadStreets(const std::string& path, const std::string& format, StreetSource* source) {
  std::vector<OsmStreet> streets;
  WayHandler ways(&streets, source);
  ReadPass(path, format, osmium::osm_entity_bits::way, &ways, source);
  NodePlaces places;
  for (const OsmStreet& street : streets) {
    for (const std::int64_t node : street.nodes) {
      places.emplace(node, osmium::Location());
    }
  }
  NodeHandler nodes(&places);
  ReadPass(path, format, osmium::osm_entity_bits::node, &nodes, source);
  // Files differ in the order of their ways; what is made of them shall not.
  std::sort(streets.begin(), streets.end(),
            [](const OsmStreet& a, const OsmStreet& b) { return a.way < b.way; });
  for (const OsmStreet& street : streets) {
    AddPieces(path, street, places, source);
  }
}

}  // namespace

void ReadOsm(const std::string& path, ImportFormat format, StreetSource* source) {
  source->has_osm_data = true;
  try {
    ReadStreets(path, FormatText(path, format), source);
  } catch (const Cancelled&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& fault) {
    // The reader's own messages name line and column where there are lines.
    throw InputFault(path + ": damaged or not OpenStreetMap data: " + fault.what());
  }
}

}  // namespace pelorin
