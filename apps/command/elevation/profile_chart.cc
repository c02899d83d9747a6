// SPDX-License-Identifier: Apache-2.0
#include "apps/command/elevation/profile_chart.h"

#include <QString>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "apps/command/coordinates.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kWidth = 1120.0;
constexpr double kHeight = 430.0;
constexpr double kLeft = 66.0;
constexpr double kRight = 24.0;
constexpr double kTop = 66.0;
constexpr double kBottom = 44.0;
constexpr double kMapSide = 420.0;

std::string Escaped(const std::string& text) {
  return QString::fromStdString(text).toHtmlEscaped().toStdString();
}

// A coordinate of the drawing: a tenth of a pixel is more than anybody sees.
std::string At(double pixels) {
  return ShortestText(std::round(pixels * 10.0) / 10.0 + 0.0);
}

std::string Number(double value, double parts) {
  return ShortestText(std::round(value * parts) / parts + 0.0);
}

// 1, 2 or 5 times a power of ten, so that about `wanted` steps make `range`.
double NiceStep(double range, double wanted) {
  const double rough = std::max(range, 1e-9) / wanted;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (rough <= factor * power) {
      return factor * power;
    }
  }
  return 10.0 * power;
}

/// From metres to pixels.
struct Scale {
  double low_m;
  double high_m;
  double step_m;
  double length_m;

  explicit Scale(const Profile& profile)
      : low_m(profile.points[profile.lowest].height_m),
        high_m(profile.points[profile.highest].height_m), step_m(1.0),
        length_m(std::max(profile.length_m, 1.0)) {
    for (const ProfilePoint& point : profile.points) {
      low_m = std::min(low_m, point.recorded_m.value_or(low_m));
      high_m = std::max(high_m, point.recorded_m.value_or(high_m));
    }
    step_m = NiceStep(std::max(high_m - low_m, 10.0), 5.0);
    low_m = std::floor(low_m / step_m) * step_m;
    high_m = std::max(std::ceil(high_m / step_m) * step_m, low_m + step_m);
  }
  double X(double distance_m) const {
    return kLeft + distance_m / length_m * (kWidth - kLeft - kRight);
  }
  double Y(double height_m) const {
    return kHeight - kBottom - (height_m - low_m) / (high_m - low_m) * (kHeight - kTop - kBottom);
  }
};

std::string TextAt(double x, double y, const std::string& anchor, const std::string& style,
                   const std::string& text) {
  return "<text x=\"" + At(x) + "\" y=\"" + At(y) + "\" text-anchor=\"" + anchor + "\" class=\"" +
         style + "\">" + Escaped(text) + "</text>\n";
}

std::string Grid(const Scale& scale) {
  std::string svg;
  const int rows = static_cast<int>(std::lround((scale.high_m - scale.low_m) / scale.step_m));
  for (int i = 0; i <= rows; ++i) {
    const double metres = scale.low_m + i * scale.step_m;
    const std::string y = At(scale.Y(metres));
    svg += "<path class=\"grid\" d=\"M" + At(kLeft) + " " + y + "H" + At(kWidth - kRight) +
           "\"/>\n" +
           TextAt(kLeft - 8.0, scale.Y(metres) + 4.0, "end", "tick", Number(metres, 10.0));
  }
  const double step_m = NiceStep(scale.length_m, 9.0);
  const bool in_km = scale.length_m >= 2000.0;
  for (int i = 0; i * step_m <= scale.length_m * (1.0 + 1e-9); ++i) {
    const double metres = i * step_m;
    svg += "<path class=\"grid\" d=\"M" + At(scale.X(metres)) + " " + At(kTop) + "V" +
           At(kHeight - kBottom) + "\"/>\n" +
           TextAt(scale.X(metres), kHeight - kBottom + 18.0, "middle", "tick",
                  Number(in_km ? metres / 1000.0 : metres, 1000.0));
  }
  return svg +
         TextAt(kWidth - kRight, kHeight - 8.0, "end", "tick",
                in_km ? "km from the start" : "m from the start") +
         TextAt(kLeft - 8.0, kTop - 12.0, "end", "tick", "m");
}

/// The stretches of a profile as ranges of points, the end not included.
std::vector<std::pair<std::size_t, std::size_t>> Stretches(const Profile& profile) {
  std::vector<std::pair<std::size_t, std::size_t>> stretches;
  for (std::size_t i = 0; i < profile.points.size(); ++i) {
    if (i == 0 || profile.points[i].line != profile.points[i - 1].line) {
      stretches.emplace_back(i, i);
    }
    stretches.back().second = i + 1;
  }
  return stretches;
}

std::string Heights(const Profile& profile, const Scale& scale) {
  std::string areas;
  std::string lines;
  for (const auto& [from, to] : Stretches(profile)) {
    std::string line;
    for (std::size_t i = from; i < to; ++i) {
      const ProfilePoint& point = profile.points[i];
      line += (i == from ? "" : "L") + At(scale.X(point.distance_m)) + " " +
              At(scale.Y(point.height_m));
    }
    const std::string floor = At(kHeight - kBottom);
    areas += "<path class=\"ground\" d=\"M" + At(scale.X(profile.points[from].distance_m)) + " " +
             floor + "L" + line + "V" + floor + "Z\"/>\n";
    lines += "<path class=\"surface\" d=\"M" + line + "\"/>\n";
  }
  return areas + lines;
}

// Broken wherever the track says nothing.
std::string Recorded(const Profile& profile, const Scale& scale) {
  std::string path;
  bool open = false;
  for (std::size_t i = 0; i < profile.points.size(); ++i) {
    const ProfilePoint& point = profile.points[i];
    const bool starts = i == 0 || point.line != profile.points[i - 1].line;
    if (point.recorded_m) {
      path += (open && !starts ? "L" : "M") + At(scale.X(point.distance_m)) + " " +
              At(scale.Y(*point.recorded_m));
    }
    open = point.recorded_m.has_value();
  }
  return path.empty() ? ""
                      : "<path class=\"recorded\" d=\"" + path + "\"/>\n" +
                            TextAt(kWidth - kRight, kTop - 12.0, "end", "recorded-label",
                                   "dashed: as recorded in the track");
}

std::string Mark(const Profile& profile, const Scale& scale, std::size_t at, bool above) {
  const ProfilePoint& point = profile.points[at];
  const double x = scale.X(point.distance_m);
  const double y = scale.Y(point.height_m);
  const bool fits_below = y + 22.0 < kHeight - kBottom;
  const char* const anchor = x > kWidth - 90.0 ? "end" : x < kLeft + 40.0 ? "start" : "middle";
  return "<circle class=\"mark\" cx=\"" + At(x) + "\" cy=\"" + At(y) + "\" r=\"3.5\"/>\n" +
         TextAt(x, y + (above || !fits_below ? -9.0 : 17.0), anchor, "mark-label",
                Number(point.height_m, 1.0) + " m");
}

std::string Figures(const Profile& profile) {
  return Number(profile.length_m / 1000.0, 100.0) + " km · climb " + Number(profile.climb_m, 1.0) +
         " m · descent " + Number(profile.descent_m, 1.0) + " m · " +
         Number(profile.points[profile.lowest].height_m, 1.0) + " to " +
         Number(profile.points[profile.highest].height_m, 1.0) + " m";
}

const char kStyle[] =
    "text{font-family:system-ui,'DejaVu Sans',sans-serif;fill:#23312b}"
    ".title{font-size:19px;font-weight:600}.figures{font-size:13px;fill:#5b6b63}"
    ".tick{font-size:12px;fill:#6b7a72}.grid{stroke:#dfe6e2;fill:none}"
    ".ground{fill:url(#ground)}.surface{fill:none;stroke:#1f7a54;stroke-width:2;"
    "stroke-linejoin:round}"
    ".recorded{fill:none;stroke:#c2571a;stroke-width:1.3;stroke-dasharray:5 4}"
    ".recorded-label{font-size:12px;fill:#c2571a}"
    ".mark{fill:#fff;stroke:#123d2b;stroke-width:2}.mark-label{font-size:12px;font-weight:600;"
    "paint-order:stroke;stroke:#fff;stroke-width:3px}";

// From the water's edge to the snow.
std::string ColourOf(double part) {
  struct Stop {
    double at;
    std::array<double, 3> rgb;
  };
  constexpr std::array<Stop, 5> kRamp = {{{0.0, {38, 110, 150}},
                                          {0.25, {47, 143, 98}},
                                          {0.5, {196, 184, 70}},
                                          {0.75, {196, 106, 38}},
                                          {1.0, {133, 32, 56}}}};
  std::size_t i = 1;
  while (i + 1 < kRamp.size() && part > kRamp[i].at) {
    ++i;
  }
  const double t = std::clamp((part - kRamp[i - 1].at) / (kRamp[i].at - kRamp[i - 1].at), 0.0, 1.0);
  std::string colour = "rgb(";
  for (std::size_t k = 0; k < 3; ++k) {
    const double value = kRamp[i - 1].rgb[k] + t * (kRamp[i].rgb[k] - kRamp[i - 1].rgb[k]);
    colour += (k == 0 ? "" : ",") + std::to_string(std::lround(value));
  }
  return colour + ")";
}

// The places of the points on the map: from above, north up, in a square.
std::vector<std::pair<double, double>> MapPlaces(const Profile& profile) {
  const LatLng first = profile.points.front().place;
  const double narrowing = std::cos(first.lat_deg * kPi / 180.0);
  std::vector<std::pair<double, double>> flat;
  double west = 0.0;
  double east = 0.0;
  double south = 0.0;
  double north = 0.0;
  for (const ProfilePoint& point : profile.points) {
    const double x = std::remainder(point.place.lng_deg - first.lng_deg, 360.0) * narrowing;
    const double y = point.place.lat_deg - first.lat_deg;
    flat.emplace_back(x, y);
    west = std::min(west, x);
    east = std::max(east, x);
    south = std::min(south, y);
    north = std::max(north, y);
  }
  const double scale = (kMapSide - 40.0) / std::max({1e-9, east - west, north - south});
  for (auto& [x, y] : flat) {
    x = kMapSide / 2.0 + (x - (west + east) / 2.0) * scale;
    y = kMapSide / 2.0 - (y - (south + north) / 2.0) * scale;
  }
  return flat;
}

std::string MapSvg(const Profile& profile) {
  const std::vector<std::pair<double, double>> places = MapPlaces(profile);
  const auto place = [&places](std::size_t i) {
    return At(places[i].first) + " " + At(places[i].second);
  };
  const double low = profile.points[profile.lowest].height_m;
  const double range = std::max(1.0, profile.points[profile.highest].height_m - low);
  std::string svg = "<svg id=\"map\" viewBox=\"0 0 " + At(kMapSide) + " " + At(kMapSide) +
                    "\" role=\"img\" aria-label=\"The way from above\">\n";
  for (std::size_t i = 1; i < profile.points.size(); ++i) {
    if (profile.points[i].line != profile.points[i - 1].line) {
      continue;
    }
    const double middle = (profile.points[i - 1].height_m + profile.points[i].height_m) / 2.0;
    svg += "<path d=\"M" + place(i - 1) + "L" + place(i) + "\" stroke=\"" +
           ColourOf((middle - low) / range) + "\"/>\n";
  }
  return svg + "<circle id=\"here\" r=\"6\" cx=\"-20\" cy=\"-20\"/>\n</svg>\n";
}

std::string Row(const std::string& name, const std::string& value) {
  return "<dt>" + Escaped(name) + "</dt><dd>" + Escaped(value) + "</dd>\n";
}

std::string FigureList(const Profile& profile) {
  const ProfilePoint& lowest = profile.points[profile.lowest];
  const ProfilePoint& highest = profile.points[profile.highest];
  return "<dl>\n" + Row("Length", Number(profile.length_m / 1000.0, 1000.0) + " km") +
         Row("Points", std::to_string(profile.points.size())) +
         Row("Climb", Number(profile.climb_m, 1.0) + " m") +
         Row("Descent", Number(profile.descent_m, 1.0) + " m") +
         Row("Lowest", Number(lowest.height_m, 10.0) + " m at " + LatLngText(lowest.place)) +
         Row("Highest", Number(highest.height_m, 10.0) + " m at " + LatLngText(highest.place)) +
         "</dl>\n";
}

// What the pointer reads off: pixels of the chart, metres and kilometres; then pixels of the map.
std::string PointerData(const Profile& profile) {
  const Scale scale(profile);
  std::string data = "const points=[";
  for (const ProfilePoint& point : profile.points) {
    data += "[" + At(scale.X(point.distance_m)) + "," + At(scale.Y(point.height_m)) + "," +
            Number(point.height_m, 10.0) + "," + Number(point.distance_m / 1000.0, 1000.0) + "],";
  }
  data += "];\nconst places=[";
  for (const auto& [x, y] : MapPlaces(profile)) {
    data += "[" + At(x) + "," + At(y) + "],";
  }
  return data + "];\n";
}

const char kPageStyle[] = R"(
body{margin:0;background:#f3f6f4;color:#23312b;font:15px system-ui,'DejaVu Sans',sans-serif}
main{max-width:1160px;margin:28px auto;padding:0 20px}
.card{background:#fff;border-radius:12px;box-shadow:0 1px 4px #0002;padding:14px 18px}
.row{display:grid;grid-template-columns:420px 1fr;gap:20px;margin-top:20px}
svg{display:block;width:100%;height:auto}
#map path{fill:none;stroke-width:4;stroke-linecap:round}
#here,#cursor circle{fill:#fff;stroke:#123d2b;stroke-width:2.5}
#cursor path{stroke:#123d2b;stroke-dasharray:3 3}#cursor{visibility:hidden}
dl{display:grid;grid-template-columns:110px 1fr;row-gap:12px;margin:8px 0}
dt{color:#5b6b63}dd{margin:0;font-weight:600}
#readout{min-height:1.5em;color:#1f7a54;font-weight:600}
@media(max-width:900px){.row{grid-template-columns:1fr}}
)";

const char kPageScript[] = R"(
const chart=document.querySelector('#chart svg'),cursor=document.getElementById('cursor'),
 here=document.getElementById('here'),readout=document.getElementById('readout');
chart.addEventListener('pointermove',event=>{
 const box=chart.getBoundingClientRect(),x=(event.clientX-box.left)*chart.viewBox.baseVal.width/box.width;
 let low=0,high=points.length-1;
 while(low<high){const middle=(low+high)>>1;if(points[middle][0]<x)low=middle+1;else high=middle;}
 const p=points[low];
 cursor.style.visibility='visible';
 cursor.querySelector('path').setAttribute('d','M'+p[0]+' 66V386');
 cursor.querySelector('circle').setAttribute('cx',p[0]);
 cursor.querySelector('circle').setAttribute('cy',p[1]);
 readout.textContent=p[3]+' km along: '+p[2]+' m';
 here.setAttribute('cx',places[low][0]);here.setAttribute('cy',places[low][1]);
});
chart.addEventListener('pointerleave',()=>{cursor.style.visibility='hidden';});
)";

}  // namespace

std::string ProfileSvg(const Profile& profile) {
  const Scale scale(profile);
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + At(kWidth) + " " +
         At(kHeight) + "\" width=\"" + At(kWidth) + "\" height=\"" + At(kHeight) +
         "\" role=\"img\">\n<title>" + Escaped(profile.title) + "</title>\n<style>" + kStyle +
         "</style>\n<defs><linearGradient id=\"ground\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">"
         "<stop offset=\"0\" stop-color=\"#3fa777\" stop-opacity=\".75\"/>"
         "<stop offset=\"1\" stop-color=\"#cfe8dc\" "
         "stop-opacity=\".55\"/></linearGradient></defs>\n"
         "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n" +
         TextAt(kLeft, 26.0, "start", "title", profile.title) +
         TextAt(kLeft, 46.0, "start", "figures", Figures(profile)) + Grid(scale) +
         Heights(profile, scale) + Recorded(profile, scale) +
         (profile.lowest == profile.highest ? "" : Mark(profile, scale, profile.lowest, false)) +
         Mark(profile, scale, profile.highest, true) +
         "<g id=\"cursor\" visibility=\"hidden\"><path d=\"\"/><circle r=\"4\"/></g>\n</svg>\n";
}

std::string ProfileHtml(const Profile& profile) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" +
         Escaped(profile.title) + "</title>\n<style>" + kPageStyle +
         "</style></head>\n<body><main>\n<div class=\"card\" id=\"chart\">" + ProfileSvg(profile) +
         "</div>\n<div class=\"row\"><div class=\"card\">" + MapSvg(profile) +
         "</div><div class=\"card\">" + FigureList(profile) +
         "<p id=\"readout\">Move over the profile to read it off.</p></div></div>\n"
         "</main>\n<script>\n" +
         PointerData(profile) + kPageScript + "</script></body></html>\n";
}

}  // namespace command
}  // namespace pelorin
