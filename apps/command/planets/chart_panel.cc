// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/chart_panel.h"

#include <algorithm>
#include <cmath>

#include "apps/command/planets/svg_text.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec3;

constexpr double kRadians = 0.017453292519943295;
constexpr std::size_t kMostDots = 80;
/// An orbit or way smaller than this is hidden by the dot of its body.
constexpr double kLeastReachPx = 7.0;

struct Box {
  double left, top, right, bottom;
};

bool Overlap(const Box& a, const Box& b) {
  return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

/// 1, 2 or 5 times a power of ten: about four of them make `radius`.
double RingStep(double radius) {
  const double decade = std::pow(10.0, std::floor(std::log10(radius / 3.0)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (radius / (factor * decade) <= 5.0) {
      return factor * decade;
    }
  }
  return 10.0 * decade;
}

/// With as many decimals as the distance between the rings has.
std::string DistanceText(double au, double step) {
  const int decimals = step >= 1.0 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
  return SvgFixed(au, decimals) + " au";
}

class PanelDrawing {
 public:
  explicit PanelDrawing(const ChartPanel& panel)
      : panel_(panel), radius_px_(panel.size_px / 2.0 - 22.0),
        middle_x_(panel.left_px + panel.size_px / 2.0),
        middle_y_(panel.top_px + panel.size_px / 2.0) {}

  std::string Draw() {
    svg_ = "<g class=\"panel\">\n";
    Grid();
    for (const ChartBody& body : panel_.bodies) {
      Orbit(body);
      Way(body);
    }
    for (const ChartBody& body : panel_.bodies) {
      Dot(body);
    }
    for (const ChartBody& body : panel_.bodies) {
      Name(body);
    }
    return svg_ + "</g>\n";
  }

 private:
  double Scale() const { return radius_px_ / panel_.radius_au; }
  double X(const Vec3<double>& at) const { return middle_x_ + at.x * Scale(); }
  double Y(const Vec3<double>& at) const { return middle_y_ - at.y * Scale(); }
  bool IsInside(const Vec3<double>& at) const { return std::hypot(at.x, at.y) <= panel_.radius_au; }
  std::string Point(const Vec3<double>& at) const { return Svg(X(at)) + "," + Svg(Y(at)); }

  void Circle(double radius_px, const char* kind) {
    svg_ += std::string("<circle class=\"") + kind + "\"" + Attribute("cx", middle_x_) +
            Attribute("cy", middle_y_) + Attribute("r", radius_px) + "/>\n";
  }

  void Text(double x, double y, const char* kind, const char* anchor, const std::string& text) {
    svg_ += std::string("<text class=\"") + kind + "\"" + Attribute("x", x) + Attribute("y", y) +
            " text-anchor=\"" + anchor + "\">" + text + "</text>\n";
  }

  void Grid() {
    Circle(radius_px_, "rim");
    const bool is_small = panel_.size_px < 400.0;
    for (int angle = 0; angle < 360; angle += 30) {
      const double c = std::cos(angle * kRadians);
      const double s = std::sin(angle * kRadians);
      svg_ += "<line class=\"spoke\"" + Attribute("x1", middle_x_ + c * radius_px_ * 0.04) +
              Attribute("y1", middle_y_ - s * radius_px_ * 0.04) +
              Attribute("x2", middle_x_ + c * radius_px_) +
              Attribute("y2", middle_y_ - s * radius_px_) + "/>\n";
      if (!is_small || angle % 90 == 0) {
        Text(middle_x_ + c * (radius_px_ + 12.0), middle_y_ - s * (radius_px_ + 12.0) + 4.0,
             "degrees", "middle", std::to_string(angle) + "°");
      }
    }
    const double step = RingStep(panel_.radius_au);
    for (int ring = 1; ring * step < panel_.radius_au * 0.98; ++ring) {
      Circle(ring * step * Scale(), "ring");
      const double y = middle_y_ + ring * step * Scale() - 4.0;
      Text(middle_x_ + 3.0, y, "distance", "start", DistanceText(ring * step, step));
      taken_.push_back({middle_x_, y - 11.0, middle_x_ + 46.0, y + 2.0});
    }
    Text(panel_.left_px, panel_.top_px - 4.0, "title", "start", panel_.title);
  }

  void Polyline(const std::string& points, const ChartBody& body, const char* kind) {
    if (points.find(' ') != std::string::npos) {
      svg_ += std::string("<polyline class=\"") + kind + "\" stroke=\"" + body.colour +
              "\" points=\"" + points + "\"/>\n";
    }
  }

  // Pieces on either side of the ecliptic share the point where they meet; what is outside of the
  // rim is left out.
  void Orbit(const ChartBody& body) {
    if (SpanPx(body.orbit) < kLeastReachPx) {
      return;
    }
    std::string piece;
    bool north = true;
    for (std::size_t i = 0; i < body.orbit.size(); ++i) {
      const Vec3<double>& at = body.orbit[i];
      if (!IsInside(at)) {
        Polyline(piece, body, north ? "north" : "south");
        piece.clear();
        continue;
      }
      if ((at.z >= 0.0) != north) {
        Polyline(piece, body, north ? "north" : "south");
        piece = piece.empty() ? "" : Point(body.orbit[i - 1]);
        north = !north;
      }
      piece += (piece.empty() ? "" : " ") + Point(at);
    }
    Polyline(piece, body, north ? "north" : "south");
  }

  double SpanPx(const std::vector<Vec3<double>>& points) const {
    double least_x = 0.0, most_x = 0.0, least_y = 0.0, most_y = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      least_x = i == 0 ? X(points[i]) : std::min(least_x, X(points[i]));
      most_x = i == 0 ? X(points[i]) : std::max(most_x, X(points[i]));
      least_y = i == 0 ? Y(points[i]) : std::min(least_y, Y(points[i]));
      most_y = i == 0 ? Y(points[i]) : std::max(most_y, Y(points[i]));
    }
    return std::max(most_x - least_x, most_y - least_y);
  }

  void Way(const ChartBody& body) {
    if (body.way.size() < 2 || SpanPx(body.way) < kLeastReachPx || IsCovered(body)) {
      return;
    }
    std::string points;
    const Vec3<double>* last = nullptr;
    for (const Vec3<double>& at : body.way) {
      if (!IsInside(at)) {
        Polyline(points, body, "way");
        points.clear();
        last = nullptr;
      } else if (last == nullptr || DistancePx(at, *last) >= 1.0 || &at == &body.way.back()) {
        points += (points.empty() ? "" : " ") + Point(at);
        last = &at;
      }
    }
    Polyline(points, body, "way");
    if (body.track.size() > kMostDots) {
      return;
    }
    for (const Vec3<double>& at : body.track) {
      if (IsInside(at)) {
        svg_ += "<circle fill=\"" + body.colour + "\"" + Attribute("cx", X(at)) +
                Attribute("cy", Y(at)) + " r=\"2.2\"/>\n";
      }
    }
  }

  double DistancePx(const Vec3<double>& a, const Vec3<double>& b) const {
    return std::hypot(a.x - b.x, a.y - b.y) * Scale();
  }

  bool IsShown(const ChartBody& body) const { return IsInside(body.track.back()); }
  // True if it stays under the dot of another body all the way, as the Moon does under the Earth's:
  // that one stands for both.
  bool IsCovered(const ChartBody& body) const {
    for (const ChartBody& other : panel_.bodies) {
      if (&other == &body) {
        return false;
      }
      bool is_under = true;
      for (std::size_t i = 0; i < body.way.size() && is_under; ++i) {
        is_under = DistancePx(body.way[i], other.way[i]) < other.dot_px;
      }
      if (is_under) {
        return true;
      }
    }
    return false;
  }
  bool IsNamed(const ChartBody& body) const {
    return IsShown(body) && !IsCovered(body) &&
           (body.reach_au >= panel_.inner_au || body.name == panel_.centre);
  }

  void Dot(const ChartBody& body) {
    if (!IsShown(body)) {
      return;
    }
    const Vec3<double>& at = body.track.back();
    const double radius = IsNamed(body) ? body.dot_px : std::min(body.dot_px, 2.0);
    if (body.name == "sun") {
      svg_ += "<circle fill=\"url(#glow)\"" + Attribute("cx", X(at)) + Attribute("cy", Y(at)) +
              Attribute("r", radius * 3.5) + "/>\n";
    }
    svg_ += "<circle class=\"body\" fill=\"" + body.colour + "\"" + Attribute("cx", X(at)) +
            Attribute("cy", Y(at)) + Attribute("r", radius) + "><title>" + body.name +
            "</title></circle>\n";
    taken_.push_back({X(at) - radius, Y(at) - radius, X(at) + radius, Y(at) + radius});
  }

  // The first of eight places around the dot where no other name and no dot stands.
  void Name(const ChartBody& body) {
    if (!IsNamed(body)) {
      return;
    }
    const Vec3<double>& at = body.track.back();
    const double away = body.dot_px + 5.0;
    const double width = 7.2 * static_cast<double>(body.name.size());
    const double outwards = std::atan2(at.y, at.x);
    Box best{};
    bool is_free = false;
    for (int attempt = 0; attempt < 8 && !is_free; ++attempt) {
      // Outwards first, then alternately to its left and right.
      const double turn = ((attempt + 1) / 2) * (attempt % 2 == 0 ? 45.0 : -45.0) * kRadians;
      const double c = std::cos(outwards + turn);
      const double s = std::sin(outwards + turn);
      const double x = X(at) + c * (away + width / 2.0);
      const double y = Y(at) - s * (away + 7.0);
      const Box box{x - width / 2.0, y - 7.0, x + width / 2.0, y + 7.0};
      is_free = std::none_of(taken_.begin(), taken_.end(),
                             [&box](const Box& other) { return Overlap(box, other); });
      if (is_free || attempt == 0) {
        best = box;
      }
    }
    taken_.push_back(best);
    Text((best.left + best.right) / 2.0, best.bottom - 3.0, "name", "middle", body.name);
  }

  const ChartPanel& panel_;
  const double radius_px_;
  const double middle_x_;
  const double middle_y_;
  std::string svg_;
  std::vector<Box> taken_;
};

}  // namespace

std::string PanelSvg(const ChartPanel& panel) {
  return PanelDrawing(panel).Draw();
}

}  // namespace command
}  // namespace pelorin
