// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "host/values.h"

namespace nimbara {
namespace test_support {

/// The walkable area from its definition alone, by looking at every link at every view: what
/// `MultiConstraintBuilder` is compared with. Plain numbers, no graph.
class CorridorTwin {
 public:
  struct Pano {
    Vec2<double> place;
    double radius = 0.0;
    std::vector<std::size_t> links;  ///< As declared; each leads both ways.
  };
  struct Result {
    double depth = 0.0;
    Vec2<double> edge;
    Vec2<double> normal;
  };
  struct Answer {
    std::vector<Result> corridors;  ///< Of each link.
    std::vector<Result> fillets;    ///< Of each panorama that has one for this view.
    /// The view lies so near to a limit (a fillet's reach, a wedge's side or its widest opening)
    /// that rounding decides.
    bool ambiguous = false;
  };
  struct Measures {
    double scale = 1.0;
    double offset = 0.0;
    double reach_factor = 2.0;
  };

  explicit CorridorTwin(std::vector<Pano> panos) : panos_(std::move(panos)), edges_(panos_.size()) {
    for (std::size_t from = 0; from < panos_.size(); ++from) {
      for (std::size_t to : panos_[from].links) {
        edges_[from].insert(to);
        edges_[to].insert(from);
      }
    }
  }

  Answer Look(std::size_t active, const Vec2<double>& view, const Measures& measures) const {
    Answer answer;
    std::set<std::pair<std::size_t, std::size_t>> links;
    std::set<std::size_t> corners = edges_[active];
    corners.insert(active);
    for (std::size_t from : corners) {
      for (std::size_t to : edges_[from]) {
        links.insert({std::min(from, to), std::max(from, to)});
      }
    }
    for (const auto& link : links) {
      answer.corridors.push_back(Corridor(panos_[link.first], panos_[link.second], view, measures));
    }
    for (std::size_t corner : corners) {
      AddFillet(panos_[corner], view, measures, &answer);
    }
    return answer;
  }

 private:
  static Result Corridor(const Pano& a, const Pano& b, const Vec2<double>& view,
                         const Measures& measures) {
    const double dx = b.place.x - a.place.x;
    const double dy = b.place.y - a.place.y;
    const double t = std::clamp(
        ((view.x - a.place.x) * dx + (view.y - a.place.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    const Vec2<double> nearest{a.place.x + t * dx, a.place.y + t * dy};
    const double distance = std::hypot(nearest.x - view.x, nearest.y - view.y);
    const double half = measures.scale * (a.radius + t * (b.radius - a.radius)) + measures.offset;
    const Vec2<double> normal{(nearest.x - view.x) / distance, (nearest.y - view.y) / distance};
    return {half - distance, {nearest.x - half * normal.x, nearest.y - half * normal.y}, normal};
  }

  // Angle from `from` to `to`, clockwise, 0 up to 2 pi.
  static double Clockwise(const Vec2<double>& from, const Vec2<double>& to) {
    const double angle = std::atan2(from.y * to.x - from.x * to.y, from.x * to.x + from.y * to.y);
    return angle < 0.0 ? angle + kTurn : angle;
  }

  void AddFillet(const Pano& pano, const Vec2<double>& view, const Measures& measures,
                 Answer* answer) const {
    const double half = measures.scale * pano.radius + measures.offset;
    const double reach = measures.reach_factor * half;
    const Vec2<double> out{view.x - pano.place.x, view.y - pano.place.y};
    const double away = std::hypot(out.x, out.y);
    answer->ambiguous |= std::abs(away - reach) < kNarrow * reach;
    if (pano.links.size() < 2 || away > reach) {
      return;
    }
    // The neighbours that the view comes to first when it turns clockwise and the other way.
    double right = kTurn;
    double left = kTurn;
    Vec2<double> before{};
    for (std::size_t link : pano.links) {
      const Vec2<double> to{panos_[link].place.x - pano.place.x,
                            panos_[link].place.y - pano.place.y};
      const double turn = Clockwise(out, to);
      right = std::min(right, turn);
      if (kTurn - turn < left) {
        left = kTurn - turn;
        const double length = std::hypot(to.x, to.y);
        before = {to.x / length, to.y / length};
      }
    }
    const double opening = left + right;
    answer->ambiguous |= right < kNarrow || left < kNarrow ||
                         std::abs(opening - kWidest) < kNarrow || opening > kTurn - kNarrow;
    const double bend = reach * std::tan(opening / 2.0);
    answer->ambiguous |= std::abs(bend - half) < kNarrow * half;
    if (opening > kWidest || bend < half) {
      return;
    }
    // On the bisector, half of the opening clockwise from `before`.
    const double c = std::cos(opening / 2.0);
    const double s = std::sin(opening / 2.0);
    const Vec2<double> bisector{before.x * c + before.y * s, before.y * c - before.x * s};
    const Vec2<double> centre{pano.place.x + bisector.x * reach / c,
                              pano.place.y + bisector.y * reach / c};
    const double distance = std::hypot(view.x - centre.x, view.y - centre.y);
    const Vec2<double> normal{(view.x - centre.x) / distance, (view.y - centre.y) / distance};
    const double radius = bend - half;
    answer->fillets.push_back(
        {distance - radius, {centre.x + radius * normal.x, centre.y + radius * normal.y}, normal});
  }

  static constexpr double kTurn = 2.0 * 3.14159265358979323846;
  static constexpr double kWidest = kTurn * 170.0 / 360.0;
  static constexpr double kNarrow = 1e-6;

  std::vector<Pano> panos_;
  std::vector<std::set<std::size_t>> edges_;
};

}  // namespace test_support
}  // namespace nimbara
