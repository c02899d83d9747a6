// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/tessellation.h"

#include <geos_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace pelorin {
namespace {

// The triangulation works through all ears of a polygon for each triangle of it.
constexpr std::size_t kMaxPoints = 100000;
// The repair of an outline takes up to seconds for a thousand places where it crosses or touches
// itself, most of a minute for five thousand. One that was drawn has a few, or shares a boundary.
constexpr std::size_t kMaxMeetings = 1000;

bool Before(const PlanePoint& a, const PlanePoint& b) {
  return a.x < b.x || (a.x == b.x && a.y < b.y);
}

// Twice the area, above 0 for counter-clockwise.
double TwiceTheArea(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
  return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

double TwiceTheArea(const PlaneRing& ring) {
  double sum = 0.0;
  for (std::size_t i = 2; i < ring.size(); ++i) {
    sum += TwiceTheArea(ring[0], ring[i - 1], ring[i]);
  }
  return sum;
}

// From the point that comes first by `Before`.
struct Segment {
  PlanePoint from;
  PlanePoint to;
};

bool IsOnOneSide(const Segment& segment, const Segment& line) {
  const double from = TwiceTheArea(line.from, line.to, segment.from);
  const double to = TwiceTheArea(line.from, line.to, segment.to);
  return (from < 0.0 && to < 0.0) || (from > 0.0 && to > 0.0);
}

// Whether two segments, each of which begins before the other ends, have a point in common.
bool Meet(const Segment& a, const Segment& b) {
  const auto [a_low, a_high] = std::minmax(a.from.y, a.to.y);
  const auto [b_low, b_high] = std::minmax(b.from.y, b.to.y);
  return a_low <= b_high && b_low <= a_high && !IsOnOneSide(a, b) && !IsOnOneSide(b, a);
}

// Throws for outlines of which too many segments cross, touch or cover each other.
void CheckMeetings(const std::vector<PlaneRing>& rings) {
  std::vector<Segment> segments;
  for (const PlaneRing& ring : rings) {
    for (std::size_t i = 0; i < ring.size(); ++i) {
      const PlanePoint& next = ring[(i + 1) % ring.size()];
      segments.push_back(Before(ring[i], next) ? Segment{ring[i], next} : Segment{next, ring[i]});
    }
  }
  std::sort(segments.begin(), segments.end(),
            [](const Segment& a, const Segment& b) { return Before(a.from, b.from); });
  // Each meets the one behind it.
  const std::size_t most = segments.size() + kMaxMeetings;
  std::size_t meetings = 0;
  for (auto a = segments.begin(); a != segments.end(); ++a) {
    for (auto b = a + 1; b != segments.end() && !Before(a->to, b->from); ++b) {
      meetings += Meet(*a, *b) ? 1 : 0;
      if (meetings > most) {
        throw TessellationFault("it crosses or touches itself more than " +
                                std::to_string(kMaxMeetings) + " times");
      }
    }
  }
}

// Finds the position of a point by its coordinates. Where two contours touch, either will do.
class PointFinder {
 public:
  explicit PointFinder(const std::vector<PlanePoint>& points) : points_(points) {
    for (int i = 0; i < static_cast<int>(points.size()); ++i) {
      order_.push_back(i);
    }
    std::sort(order_.begin(), order_.end(), [this](int a, int b) { return Before(At(a), At(b)); });
  }

  int Find(const PlanePoint& point) const {
    const auto found =
        std::lower_bound(order_.begin(), order_.end(), point,
                         [this](int i, const PlanePoint& sought) { return Before(At(i), sought); });
    if (found == order_.end() || Before(point, At(*found))) {
      throw TessellationFault("a triangle has a corner that the outline has not");
    }
    return *found;
  }

 private:
  const PlanePoint& At(int i) const { return points_[static_cast<std::size_t>(i)]; }

  const std::vector<PlanePoint>& points_;
  std::vector<int> order_;
};

}  // namespace

// The library behind its handle. Whatever it refuses is thrown.
class Tessellator::Geos {
 public:
  struct Deleter {
    GEOSContextHandle_t handle;
    void operator()(GEOSGeometry* geometry) const { GEOSGeom_destroy_r(handle, geometry); }
  };
  using Geometry = std::unique_ptr<GEOSGeometry, Deleter>;

  Geos() : handle_(GEOS_init_r()) {
    GEOSContext_setErrorMessageHandler_r(
        handle_,
        [](const char* message, void* text) { *static_cast<std::string*>(text) = message; },
        &message_);
  }
  ~Geos() { GEOS_finish_r(handle_); }
  Geos(const Geos&) = delete;
  Geos& operator=(const Geos&) = delete;

  // A sound polygon of these rings; whether it had to be repaired.
  Geometry SoundPolygonOf(const std::vector<PlaneRing>& rings, bool* repaired) {
    std::size_t points = 0;
    for (const PlaneRing& ring : rings) {
      points += ring.size();
    }
    if (points > kMaxPoints) {
      throw TessellationFault("more than " + std::to_string(kMaxPoints) + " points");
    }
    Geometry polygon = PolygonOf(rings);
    const char valid = GEOSisValid_r(handle_, polygon.get());
    if (valid == 2) {
      throw Fault();
    }
    *repaired = valid == 0;
    if (valid != 0) {
      return polygon;
    }
    CheckMeetings(rings);
    return Checked(GEOSMakeValid_r(handle_, polygon.get()));
  }

  Geometry OnGrid(const GEOSGeometry& geometry, double step) {
    return Checked(GEOSGeom_setPrecision_r(handle_, &geometry, step, 0));
  }

  Geometry Without(const GEOSGeometry& geometry, const GEOSGeometry& other) {
    return Checked(GEOSDifference_r(handle_, &geometry, &other));
  }

  double AreaOf(const GEOSGeometry& geometry) {
    double area = 0.0;
    if (GEOSArea_r(handle_, &geometry, &area) == 0) {
      throw Fault();
    }
    return area;
  }

  Geometry Triangles(const GEOSGeometry& polygon) {
    return Checked(GEOSConstrainedDelaunayTriangulation_r(handle_, &polygon));
  }

  // All polygons of which `geometry` is made, none of them empty.
  void CollectPolygons(const GEOSGeometry& geometry, std::vector<const GEOSGeometry*>* polygons) {
    if (GEOSisEmpty_r(handle_, &geometry) != 0) {
      return;
    }
    const int type = GEOSGeomTypeId_r(handle_, &geometry);
    if (type == GEOS_POLYGON) {
      polygons->push_back(&geometry);
    } else if (type == GEOS_MULTIPOLYGON || type == GEOS_GEOMETRYCOLLECTION) {
      const int count = GEOSGetNumGeometries_r(handle_, &geometry);
      for (int i = 0; i < count; ++i) {
        CollectPolygons(*GEOSGetGeometryN_r(handle_, &geometry, i), polygons);
      }
    }
  }

  // The outer ring, then the holes, without their closing points.
  std::vector<PlaneRing> RingsOf(const GEOSGeometry& polygon) {
    std::vector<PlaneRing> rings;
    rings.push_back(PointsOf(GEOSGetExteriorRing_r(handle_, &polygon)));
    const int holes = GEOSGetNumInteriorRings_r(handle_, &polygon);
    for (int i = 0; i < holes; ++i) {
      rings.push_back(PointsOf(GEOSGetInteriorRingN_r(handle_, &polygon, i)));
    }
    return rings;
  }

 private:
  TessellationFault Fault() const { return TessellationFault(message_); }

  Geometry PolygonOf(const std::vector<PlaneRing>& rings) {
    Geometry outer = RingOf(rings.front());
    std::vector<Geometry> holes;
    for (std::size_t i = 1; i < rings.size(); ++i) {
      holes.push_back(RingOf(rings[i]));
    }
    // The polygon takes the rings over, also where it fails.
    std::vector<GEOSGeometry*> given;
    for (Geometry& hole : holes) {
      given.push_back(hole.release());
    }
    return Checked(GEOSGeom_createPolygon_r(handle_, outer.release(), given.data(),
                                            static_cast<unsigned>(given.size())));
  }

  Geometry Checked(GEOSGeometry* geometry) {
    if (geometry == nullptr) {
      throw Fault();
    }
    return Geometry(geometry, Deleter{handle_});
  }

  Geometry RingOf(const PlaneRing& ring) {
    PlaneRing closed = ring;
    closed.push_back(ring.front());
    std::vector<double> numbers;
    for (const PlanePoint& point : closed) {
      numbers.insert(numbers.end(), {point.x, point.y});
    }
    GEOSCoordSequence* const sequence = GEOSCoordSeq_copyFromBuffer_r(
        handle_, numbers.data(), static_cast<unsigned>(closed.size()), 0, 0);
    if (sequence == nullptr) {
      throw Fault();
    }
    return Checked(GEOSGeom_createLinearRing_r(handle_, sequence));
  }

  PlaneRing PointsOf(const GEOSGeometry* ring) {
    const GEOSCoordSequence* const sequence = GEOSGeom_getCoordSeq_r(handle_, ring);
    unsigned size = 0;
    if (sequence == nullptr || GEOSCoordSeq_getSize_r(handle_, sequence, &size) == 0 || size == 0) {
      throw Fault();
    }
    PlaneRing points;
    for (unsigned i = 0; i + 1 < size; ++i) {
      double x = 0.0;
      double y = 0.0;
      GEOSCoordSeq_getXY_r(handle_, sequence, i, &x, &y);
      points.push_back(PlanePoint(x, y));
    }
    return points;
  }

  GEOSContextHandle_t handle_;
  std::string message_ = "the geometry library gave up";
};

Tessellator::Tessellator(double step) : geos_(std::make_unique<Geos>()), step_(step) {}

Tessellator::~Tessellator() = default;

std::vector<TessellatedPolygon> Tessellator::Cut(const std::vector<PlaneRing>& rings,
                                                 bool* repaired) {
  const auto valid = geos_->SoundPolygonOf(rings, repaired);
  const auto on_grid = geos_->OnGrid(*valid, step_);
  std::vector<const GEOSGeometry*> polygons;
  geos_->CollectPolygons(*on_grid, &polygons);

  std::vector<TessellatedPolygon> parts;
  for (const GEOSGeometry* const polygon : polygons) {
    TessellatedPolygon part;
    for (PlaneRing& ring : geos_->RingsOf(*polygon)) {
      const bool is_outer = part.contour_sizes.empty();
      if ((TwiceTheArea(ring) > 0.0) != is_outer) {
        std::reverse(ring.begin(), ring.end());
      }
      part.points.insert(part.points.end(), ring.begin(), ring.end());
      part.contour_sizes.push_back(static_cast<int>(ring.size()));
    }
    const PointFinder finder(part.points);
    const auto triangulation = geos_->Triangles(*polygon);
    std::vector<const GEOSGeometry*> triangles;
    geos_->CollectPolygons(*triangulation, &triangles);
    for (const GEOSGeometry* const triangle : triangles) {
      const PlaneRing corners = geos_->RingsOf(*triangle).front();
      if (corners.size() != 3) {
        throw TessellationFault("a triangle has " + std::to_string(corners.size()) + " corners");
      }
      const bool turns_left = TwiceTheArea(corners) > 0.0;
      part.triangles.insert(part.triangles.end(),
                            {finder.Find(corners[0]), finder.Find(corners[turns_left ? 1 : 2]),
                             finder.Find(corners[turns_left ? 2 : 1])});
    }
    if (!part.triangles.empty()) {
      parts.push_back(std::move(part));
    }
  }
  return parts;
}

double Tessellator::CoveredShare(const std::vector<PlaneRing>& rings,
                                 const std::vector<const std::vector<PlaneRing>*>& others) {
  bool repaired = false;
  auto open = geos_->SoundPolygonOf(rings, &repaired);
  const double whole = geos_->AreaOf(*open);
  for (const std::vector<PlaneRing>* const other : others) {
    const auto cover = geos_->SoundPolygonOf(*other, &repaired);
    open = geos_->Without(*open, *cover);
  }
  return whole > 0.0 ? 1.0 - geos_->AreaOf(*open) / whole : 0.0;
}

}  // namespace pelorin
