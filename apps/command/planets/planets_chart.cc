// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/planets_chart.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "apps/command/planets/chart_bodies.h"
#include "apps/command/planets/chart_panel.h"
#include "apps/command/planets/dates.h"
#include "apps/command/planets/svg_text.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kWidth = 1600.0;
constexpr double kHeight = 1000.0;
constexpr double kMargin = 32.0;
constexpr double kTop = 92.0;
constexpr double kLarge = 640.0;
constexpr double kSmall = 226.0;
constexpr double kCardTop = 762.0;
/// What reaches less than this part of a panel's radius gets a panel of its own.
constexpr double kInnerPart = 1.0 / 12.0;
constexpr std::size_t kMostPanels = 3;

const char* const kHead =
    "<style>\n"
    "text{font-family:system-ui,'DejaVu Sans',sans-serif;fill:#d9e2f5}\n"
    ".head{font-size:26px;font-weight:600}.sub{font-size:14px;fill:#93a3c4}\n"
    ".title{font-size:15px;font-weight:600}.name{font-size:13px;paint-order:stroke;stroke:#0b1022;"
    "stroke-width:3px}\n"
    ".degrees,.distance{font-size:10.5px;fill:#6f80a6}\n"
    ".rim{fill:#0e1631;stroke:#33436e}.ring{fill:none;stroke:#24325a}\n"
    ".spoke{stroke:#1b2749}\n"
    ".north,.south,.way{fill:none;stroke-linejoin:round}\n"
    ".north{stroke-width:1.4;opacity:.85}\n"
    ".south{stroke-width:1.2;opacity:.4;stroke-dasharray:5 3}\n"
    ".way{stroke-width:1.6;opacity:.9}\n"
    ".body{stroke:#0b1022}.card{fill:#0e1631;stroke:#24325a}\n"
    ".axis{stroke:#d9e2f5;stroke-width:1.4}.row{font-size:12px;fill:#b9c5e0}\n"
    ".warning{font-size:14px;fill:#ffb45e}\n"
    "</style>\n"
    "<defs><radialGradient id=\"glow\"><stop offset=\"0\" stop-color=\"#ffd75e\" "
    "stop-opacity=\".75\"/><stop offset=\"1\" stop-color=\"#ffd75e\" stop-opacity=\"0\"/>"
    "</radialGradient><radialGradient id=\"shade\" cx=\".35\" cy=\".35\" r=\".75\">"
    "<stop offset=\".4\" stop-color=\"#000\" stop-opacity=\"0\"/><stop offset=\"1\" "
    "stop-color=\"#000\" stop-opacity=\".55\"/></radialGradient></defs>\n";

std::string Text(double x, double y, const char* kind, const std::string& text,
                 const char* anchor = "start") {
  return std::string("<text class=\"") + kind + "\"" + Attribute("x", x) + Attribute("y", y) +
         " text-anchor=\"" + anchor + "\">" + text + "</text>\n";
}

std::string Dates(const PlanetsRequest& request) {
  const std::string last = DateText(request.dates.back());
  return request.dates.size() == 1 ? last
                                   : DateText(request.dates.front()) + " to " + last + ", " +
                                         std::to_string(request.dates.size()) + " dates";
}

// From the whole system inwards: each panel leaves what is tiny in it to the next.
std::vector<ChartPanel> NestedPanels(const std::vector<ChartBody>& bodies,
                                     const std::string& centre) {
  std::vector<ChartPanel> panels;
  double limit = HUGE_VAL;
  while (panels.size() < kMostPanels) {
    double reach = 0.0;
    for (const ChartBody& body : bodies) {
      // The Sun's own orbit is nothing that could be shown.
      if (body.name != centre && body.reach_au < limit && body.reach_au > 1e-6) {
        reach = std::max(reach, body.reach_au);
      }
    }
    if (reach == 0.0) {
      break;
    }
    ChartPanel panel;
    panel.centre = centre;
    panel.bodies = bodies;
    panel.radius_au = reach * 1.07;
    panel.inner_au = reach * kInnerPart;
    limit = panel.inner_au;
    panels.push_back(std::move(panel));
  }
  return panels;
}

std::vector<ChartPanel> Panels(const std::vector<ChartBody>& bodies, const std::string& centre) {
  std::vector<ChartPanel> panels = NestedPanels(bodies, centre);
  const auto is_shown = [&bodies](const char* name) {
    return std::any_of(bodies.begin(), bodies.end(),
                       [name](const ChartBody& body) { return body.name == name; });
  };
  if (centre != "earth" && centre != "moon" && is_shown("earth") && is_shown("moon")) {
    std::vector<ChartBody> pair = SeenFrom(bodies, "earth");
    pair.erase(std::remove_if(pair.begin(), pair.end(),
                              [](const ChartBody& body) {
                                return body.name != "earth" && body.name != "moon";
                              }),
               pair.end());
    for (ChartBody& body : pair) {
      if (body.name == "earth") {
        body.orbit.clear();
      }
    }
    std::vector<ChartPanel> inset = NestedPanels(SeenFrom(pair, "earth"), "earth");
    if (!inset.empty()) {
      panels.push_back(inset.front());
    }
  }
  return panels;
}

// The two widest large, the inner one on the left; the others small in the right column. The large
// ones stand in the middle unless two of them share the width with that.
void Place(std::vector<ChartPanel>* panels, const std::string& centre) {
  const std::size_t nested = static_cast<std::size_t>(
      std::count_if(panels->begin(), panels->end(),
                    [&centre](const ChartPanel& panel) { return panel.centre == centre; }));
  const std::size_t large = std::max<std::size_t>(std::min<std::size_t>(nested, 2), 1);
  constexpr double kColumn = kLarge + 16.0;
  const double width = static_cast<double>(large) * kColumn - 16.0;
  const bool is_full = large == 2 && panels->size() > large;
  const double left = is_full ? kMargin : (kWidth - width) / 2.0;
  double small_top = kTop;
  for (std::size_t i = 0; i < panels->size(); ++i) {
    ChartPanel& panel = (*panels)[i];
    if (i < large) {
      panel.left_px = left + static_cast<double>(large - 1 - i) * kColumn;
      panel.top_px = kTop;
      panel.size_px = kLarge;
      panel.title = large == 1 ? "around the " + panel.centre
                    : i == 0   ? "outer part"
                               : "inner part";
    } else {
      panel.left_px = kWidth - kMargin - kSmall;
      panel.top_px = small_top;
      panel.size_px = kSmall;
      panel.title = panel.centre == centre ? "innermost part" : "around the " + panel.centre;
      small_top += kSmall + 24.0;
    }
  }
}

std::string Degrees(double angle) {
  return std::isfinite(angle) ? SvgFixed(angle, 1) + "°" : "–";
}

std::string Distance(double au) {
  return au > 0.0 ? SvgFixed(au, au >= 10.0 ? 2 : au >= 0.1 ? 3 : 5) + " au" : "–";
}

// A body as seen from the plane of the ecliptic, with its axis as its roll tilts it.
std::string Globe(const ChartBody& body, double x, double y, double radius) {
  const double tilt = body.place.roll_deg - 90.0;
  std::string svg = "<g transform=\"translate(" + Svg(x) + " " + Svg(y) + ") rotate(" + Svg(tilt) +
                    ")\">\n<line class=\"axis\" x1=\"0\" x2=\"0\"" +
                    Attribute("y1", -radius - 9.0) + Attribute("y2", radius + 9.0) + "/>\n";
  if (body.name == "saturn") {
    svg += "<ellipse fill=\"none\" stroke=\"#cbb67c\" stroke-width=\"4\" opacity=\".8\"" +
           Attribute("rx", radius * 1.8) + Attribute("ry", radius * 0.42) + "/>\n";
  }
  svg += "<circle fill=\"" + body.colour + "\"" + Attribute("r", radius) + "/>\n";
  if (body.name == "saturn") {  // The near half of the ring passes before the disc.
    svg += "<path fill=\"none\" stroke=\"#cbb67c\" stroke-width=\"4\" opacity=\".9\" d=\"M" +
           Svg(-radius * 1.8) + " 0A" + Svg(radius * 1.8) + " " + Svg(radius * 0.42) + " 0 0 0 " +
           Svg(radius * 1.8) + " 0\"/>\n";
  }
  svg += "<ellipse fill=\"none\" stroke=\"#0b1022\" opacity=\".45\"" + Attribute("rx", radius) +
         Attribute("ry", radius * 0.22) + "/>\n";
  // An arrow head at the north end of the axis.
  svg += "<path fill=\"#d9e2f5\" d=\"M-3.5 " + Svg(-radius - 8.0) + "L0 " + Svg(-radius - 15.0) +
         "L3.5 " + Svg(-radius - 8.0) + "Z\"/>\n</g>\n";
  if (body.name != "sun") {
    svg += "<circle fill=\"url(#shade)\"" + Attribute("cx", x) + Attribute("cy", y) +
           Attribute("r", radius) + "/>\n";
  }
  return svg;
}

std::string Cards(const std::vector<ChartBody>& bodies, const Sky& sky) {
  std::string svg;
  const double width =
      std::min((kWidth - 2.0 * kMargin) / static_cast<double>(bodies.size()), 240.0);
  double left = (kWidth - width * static_cast<double>(bodies.size())) / 2.0;
  for (const ChartBody& body : bodies) {
    const double middle = left + width / 2.0;
    // Sizes by their logarithm: the Sun is four hundred times the Moon.
    const double radius = 15.0 + 5.0 * std::log(sky.RecordOf(body.name).radius / 0.27);
    svg += "<rect class=\"card\" rx=\"8\"" + Attribute("x", left + 3.0) + Attribute("y", kCardTop) +
           Attribute("width", width - 6.0) + " height=\"212\"/>\n" +
           Globe(body, middle, kCardTop + 66.0, std::min(radius, 36.0)) +
           Text(middle, kCardTop + 136.0, "title", body.name, "middle");
    const std::pair<const char*, std::string> rows[] = {
        {"distance", Distance(body.place.distance_au)},
        {"longitude", Degrees(body.place.longitude_deg)},
        {"latitude", Degrees(body.place.latitude_deg)},
        {"spin", Degrees(body.place.spin_deg)}};
    double y = kCardTop + 156.0;
    for (const auto& [name, value] : rows) {
      svg += Text(left + 13.0, y, "row", name) + Text(left + width - 13.0, y, "row", value, "end");
      y += 15.0;
    }
    left += width;
  }
  return svg;
}

}  // namespace

std::string PlanetsChart(const PlanetsRequest& request, const Sky& sky) {
  const std::vector<ChartBody> bodies = ChartBodies(request, sky);
  std::vector<ChartPanel> panels = Panels(bodies, request.relative_to);
  Place(&panels, request.relative_to);
  std::string svg =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\""
      " viewBox=\"0 0 " +
      Svg(kWidth) + " " + Svg(kHeight) + "\" role=\"img\">\n<title>The solar system, " +
      Dates(request) + "</title>\n" + kHead +
      "<rect width=\"100%\" height=\"100%\" fill=\"#0b1022\"/>\n";
  svg += Text(kMargin, 42.0, "head", "The solar system around the " + request.relative_to);
  std::string drawn;
  for (const ChartPanel& panel : panels) {
    drawn += PanelSvg(panel);
  }
  const bool has_dashes = drawn.find("class=\"south\"") != std::string::npos;
  svg += Text(kMargin, 66.0, "sub",
              Dates(request) +
                  " · seen from the north pole of the ecliptic, 0° towards the "
                  "equinox of the date" +
                  (has_dashes ? " · dashed where south of the ecliptic" : ""));
  if (!std::all_of(request.dates.begin(), request.dates.end(), IsInUsefulRange)) {
    svg += Text(kWidth - kMargin, 42.0, "warning",
                "outside of the years 1600 to 2399, for which the elements are meant", "end");
  }
  svg += drawn;
  return svg + Cards(bodies, sky) + "</svg>\n";
}

}  // namespace command
}  // namespace pelorin
