// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/harbour_plan.h"

#include <algorithm>
#include <cmath>

namespace pelorin {

namespace {

// Open ocean: nobody's streets are drawn over.
constexpr LatLng kMarketSquare{47.5, -24.5};
constexpr double kCurveStepMetres = 6.0;

constexpr std::uint32_t kMainArgb = 0xFFF2C14E;
constexpr std::uint32_t kStreetArgb = 0xFFFFFFFF;
constexpr std::uint32_t kLaneArgb = 0xFFD9D2C5;
constexpr std::uint32_t kPathArgb = 0xFF9FB8A0;
constexpr std::uint32_t kQuayArgb = 0xFF6FA8DC;
constexpr std::uint32_t kStationArgb = 0xFFC27BA0;

constexpr std::int32_t kGroundStorey = 0;
constexpr std::int32_t kPlatformStorey = 1;

double Between(double a, double b, double c, double d, double t) {
  return 0.5 * (2.0 * b + (c - a) * t + (2.0 * a - 5.0 * b + 4.0 * c - d) * t * t +
                (3.0 * b - a - 3.0 * c + d) * t * t * t);
}

PlanStreet Make(const std::string& name, std::int32_t rank, std::uint32_t argb, double half_width_m,
                std::int32_t first_number, std::vector<PlanPoint> points) {
  PlanStreet street;
  street.name = name;
  street.rank = rank;
  street.road_argb = argb;
  street.half_width_m = half_width_m;
  street.first_number = first_number;
  street.points = std::move(points);
  return street;
}

PlanStreet MainStreet(const std::string& name, std::vector<PlanPoint> points) {
  return Make(name, 1, kMainArgb, 8.0, 1, std::move(points));
}

PlanStreet SideStreet(const std::string& name, std::vector<PlanPoint> points) {
  return Make(name, 2, kStreetArgb, 6.0, 1, std::move(points));
}

PlanStreet Lane(const std::string& name, std::vector<PlanPoint> points) {
  return Make(name, 3, kLaneArgb, 4.0, 1, std::move(points));
}

// A way without houses.
PlanStreet Path(const std::string& name, std::uint32_t argb, std::vector<PlanPoint> points) {
  PlanStreet path = Make(name, 4, argb, 3.0, 0, std::move(points));
  path.left_houses = false;
  path.right_houses = false;
  return path;
}

PlanStreet StationWay(const std::string& name, std::int32_t storey, const std::string& level_id,
                      std::vector<PlanPoint> points) {
  PlanStreet way = Path(name, kStationArgb, std::move(points));
  way.half_width_m = 9.0;
  way.curved = false;
  way.storey = storey;
  way.first_storey = storey;
  way.last_storey = storey;
  way.level_id = level_id;
  return way;
}

void AddWaterfront(std::vector<PlanStreet>* streets) {
  // Seen from its west end, houses stand on the left and the water lies on the right.
  PlanStreet quay = MainStreet("Harbour Quay", {{-250, -180},
                                                {-180, -125},
                                                {-143, -55},
                                                {-68, -2},
                                                {18, 8},
                                                {105, -20},
                                                {157, -85},
                                                {182, -148},
                                                {245, -195}});
  quay.road_argb = kQuayArgb;
  quay.right_houses = false;
  streets->push_back(quay);
  streets->push_back(
      Path("The Mole", kQuayArgb, {{182, -148}, {160, -190}, {110, -218}, {50, -228}, {-8, -216}}));
  streets->push_back(Path("Fish Pier", kQuayArgb, {{-143, -55}, {-100, -82}, {-62, -112}}));
}

void AddMarket(std::vector<PlanStreet>* streets) {
  PlanStreet square = Make("Market Square", 0, kMainArgb, 12.0, 1,
                           {{-25, 50}, {45, 55}, {40, 105}, {-30, 100}, {-25, 50}});
  square.curved = false;
  streets->push_back(square);
  streets->push_back(SideStreet("Ferry Street", {{18, 8}, {36, 28}, {45, 55}}));
  streets->push_back(Lane("Rope Walk", {{-68, -2}, {-52, 28}, {-25, 50}}));
  streets->push_back(
      MainStreet("High Street", {{-30, 100}, {-60, 150}, {-110, 190}, {-150, 245}, {-175, 310}}));
  streets->push_back(
      SideStreet("Church Street", {{40, 105}, {62, 150}, {50, 200}, {20, 240}, {10, 335}}));
}

void AddHill(std::vector<PlanStreet>* streets) {
  streets->push_back(
      Lane("Lantern Lane",
           {{-60, 150}, {-120, 130}, {-175, 150}, {-215, 190}, {-195, 232}, {-150, 245}}));
  streets->push_back(Lane("Cooper's Steps", {{-175, 150}, {-205, 85}, {-230, 20}}));
  streets->push_back(Path("Beacon Lane", kPathArgb, {{-215, 190}, {-262, 192}, {-305, 165}}));
  // The lane ends, the path begins nine metres on, and nobody has linked them.
  streets->push_back(Lane("Windmill Lane", {{-150, 245}, {-95, 266}, {-50, 272}}));
  streets->push_back(Path("", kPathArgb, {{-41, 272}, {-10, 262}, {20, 240}}));
}

void AddTown(std::vector<PlanStreet>* streets) {
  streets->push_back(MainStreet("Ring Road", {{-250, -180},
                                              {-345, -90},
                                              {-385, 40},
                                              {-355, 170},
                                              {-280, 260},
                                              {-175, 310},
                                              {10, 335},
                                              {170, 305},
                                              {290, 215},
                                              {345, 80},
                                              {335, -60},
                                              {245, -195}}));
  streets->push_back(SideStreet(
      "Sailmaker Street", {{-385, 40}, {-305, 32}, {-230, 20}, {-150, 26}, {-90, 46}, {-25, 50}}));
  streets->push_back(Lane("Net Lane", {{-230, 20}, {-212, -52}, {-180, -125}}));
  streets->push_back(
      SideStreet("Tide Street", {{45, 55}, {110, 60}, {170, 40}, {250, 60}, {345, 80}}));
  streets->push_back(Lane("Salt Lane", {{170, 40}, {168, -22}, {157, -85}}));
  streets->push_back(
      SideStreet("Orchard Way", {{40, 105}, {110, 128}, {180, 150}, {240, 188}, {290, 215}}));
  streets->push_back(Lane("Chapel Rise", {{180, 150}, {190, 225}, {170, 305}}));
  streets->push_back(SideStreet("Shipyard Road", {{335, -60}, {282, -82}, {225, -70}, {157, -85}}));
  // Another pair of ends that look at each other over a gap.
  streets->push_back(Lane("Linden Close", {{180, 150}, {208, 115}, {230, 96}}));
  streets->push_back(Lane("Linden Walk", {{237, 91}, {247, 78}, {250, 60}}));
}

// The platforms lie right above the concourse; a stair in the middle leads up.
void AddStation(std::vector<PlanStreet>* streets) {
  PlanStreet approach = SideStreet("Station Road", {{50, 200}, {74, 226}, {95, 240}});
  streets->push_back(approach);
  streets->push_back(StationWay("Station Concourse", kGroundStorey, "station-ground",
                                {{95, 240}, {122.5, 251}, {150, 262}}));
  PlanStreet stair = StationWay("Station Stair", kGroundStorey, "station-ground",
                                {{150, 262}, {138, 257.2}, {122.5, 251}});
  stair.last_storey = kPlatformStorey;
  streets->push_back(stair);
  streets->push_back(StationWay("Platforms", kPlatformStorey, "station-platforms",
                                {{67.5, 229}, {95, 240}, {122.5, 251}, {150, 262}, {177.5, 273}}));
}

// Too far out for any street: a piece of its own.
void AddIslet(std::vector<PlanStreet>* streets) {
  PlanStreet path =
      Path("Islet Path", kPathArgb,
           {{20, -380}, {66, -398}, {78, -440}, {40, -470}, {-8, -452}, {-14, -408}, {20, -380}});
  streets->push_back(path);
}

std::vector<PlanStreet> MakeStreets() {
  std::vector<PlanStreet> streets;
  AddWaterfront(&streets);
  AddMarket(&streets);
  AddHill(&streets);
  AddTown(&streets);
  AddStation(&streets);
  AddIslet(&streets);
  return streets;
}

PlanShape Area(const std::string& kind, const std::string& name, bool curved,
               std::vector<PlanPoint> points) {
  return {kind, name, true, curved, std::move(points)};
}

std::vector<PlanShape> MakeShapes() {
  return {
      Area("sea", "Gull Sound", false, {{-620, -560}, {620, -560}, {620, 520}, {-620, 520}}),
      Area("land", "", true,
           {{-330, -240}, {-262, -205}, {-190, -150}, {-152, -75}, {-75, -18},   {18, -9},
            {96, -38},    {141, -93},   {166, -158},  {228, -214}, {320, -235},  {420, -190},
            {480, -80},   {470, 70},    {430, 210},   {330, 340},  {180, 410},   {0, 430},
            {-180, 405},  {-330, 350},  {-440, 230},  {-490, 60},  {-460, -110}, {-400, -210}}),
      Area("land", "Gull Islet", true,
           {{20, -355}, {90, -375}, {108, -440}, {50, -500}, {-25, -480}, {-45, -405}}),
      Area("quay", "", true,
           {{-190, -150},
            {-152, -75},
            {-75, -18},
            {18, -9},
            {96, -38},
            {141, -93},
            {166, -158},
            {178, -150},
            {151, -87},
            {101, -27},
            {18, 2},
            {-71, -8},
            {-148, -60},
            {-185, -130}}),
      Area("mole", "The Mole", true,
           {{172, -150},
            {152, -182},
            {106, -209},
            {50, -219},
            {-8, -207},
            {-18, -216},
            {-8, -225},
            {50, -237},
            {114, -227},
            {168, -197},
            {190, -160}}),
      Area("mole", "Fish Pier", false,
           {{-146, -63}, {-103, -90}, {-63, -121}, {-53, -108}, {-97, -75}, {-137, -47}}),
      Area("square", "Market Square", false, {{-25, 50}, {45, 55}, {40, 105}, {-30, 100}}),
      Area("park", "Chapel Garden", true,
           {{92, 150}, {155, 162}, {168, 215}, {130, 232}, {78, 205}}),
      Area("park", "Beacon Hill", true,
           {{-250, 205},
            {-268, 232},
            {-318, 215},
            {-338, 165},
            {-318, 120},
            {-270, 130},
            {-240, 165}}),
      Area("water", "Mill Pond", true, {{-95, 300}, {-50, 290}, {-20, 300}, {-50, 316}}),
      {"rail",
       "",
       false,
       true,
       {{-20, 196},
        {67.5, 229},
        {95, 240},
        {122.5, 251},
        {150, 262},
        {177.5, 273},
        {260, 320},
        {330, 340}}},
  };
}

}  // namespace

const std::vector<PlanStreet>& HarbourStreets() {
  static const std::vector<PlanStreet> streets = MakeStreets();
  return streets;
}

const std::vector<PlanShape>& HarbourShapes() {
  static const std::vector<PlanShape> shapes = MakeShapes();
  return shapes;
}

const std::vector<PlanSight>& HarbourSights() {
  static const std::vector<PlanSight> sights = {
      {"lighthouse", "Mole Light", {-14, -216}, 14.0, 90.0},
      {"town-hall", "Town Hall", {8, 118}, 18.0, 60.0},
      {"fountain", "Herring Fountain", {8, 78}, 3.0, 45.0},
      {"church", "Sailors' Church", {82, 178}, 25.0, 60.0},
      {"fish-hall", "Fish Hall", {-118, -30}, 8.0, 50.0},
      {"beacon", "Beacon Tower", {-312, 170}, 12.0, 60.0},
      {"windmill", "Old Windmill", {-46, 284}, 15.0, 50.0},
      {"clock", "Station Clock", {122.5, 258}, 6.0, 35.0},
  };
  return sights;
}

std::vector<PlanPoint> CurveThrough(const std::vector<PlanPoint>& points, bool closed) {
  const std::size_t count = points.size();
  if (count < 3) {
    return points;
  }
  const std::size_t spans = closed ? count : count - 1;
  const auto at = [&](std::ptrdiff_t i) {
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(count);
    const std::ptrdiff_t index = closed ? (i + n) % n : std::clamp<std::ptrdiff_t>(i, 0, n - 1);
    return points[static_cast<std::size_t>(index)];
  };
  std::vector<PlanPoint> curve;
  for (std::size_t span = 0; span < spans; ++span) {
    const std::ptrdiff_t i = static_cast<std::ptrdiff_t>(span);
    const PlanPoint a = at(i - 1);
    const PlanPoint b = at(i);
    const PlanPoint c = at(i + 1);
    const PlanPoint d = at(i + 2);
    const int steps = std::max(
        1, static_cast<int>(std::lround(std::hypot(c.x - b.x, c.y - b.y) / kCurveStepMetres)));
    curve.push_back(b);
    for (int step = 1; step < steps; ++step) {
      const double t = static_cast<double>(step) / steps;
      curve.push_back({Between(a.x, b.x, c.x, d.x, t), Between(a.y, b.y, c.y, d.y, t)});
    }
  }
  if (!closed) {
    curve.push_back(points.back());
  }
  return curve;
}

std::vector<PlanPoint> LineOf(const PlanStreet& street) {
  if (!street.curved) {
    return street.points;
  }
  const PlanPoint& first = street.points.front();
  const PlanPoint& last = street.points.back();
  if (first.x != last.x || first.y != last.y) {
    return CurveThrough(street.points, false);
  }
  std::vector<PlanPoint> ring(street.points.begin(), street.points.end() - 1);
  ring = CurveThrough(ring, true);
  ring.push_back(first);
  return ring;
}

double DistanceToLine(const PlanPoint& p, const PlanPoint& a, const PlanPoint& b) {
  const double x = b.x - a.x;
  const double y = b.y - a.y;
  const double length = x * x + y * y;
  const double t =
      length == 0.0 ? 0.0 : std::clamp(((p.x - a.x) * x + (p.y - a.y) * y) / length, 0.0, 1.0);
  return std::hypot(p.x - a.x - t * x, p.y - a.y - t * y);
}

bool Inside(const PlanPoint& p, const std::vector<PlanPoint>& ring) {
  bool inside = false;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
    const PlanPoint& a = ring[i];
    const PlanPoint& b = ring[j];
    if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x) {
      inside = !inside;
    }
  }
  return inside;
}

LatLng PlaceOf(const PlanPoint& point) {
  const double narrowing = std::cos(kMarketSquare.lat_deg * kPi / 180.0);
  return {kMarketSquare.lat_deg + point.y / kMetresPerDegree,
          kMarketSquare.lng_deg + point.x / (kMetresPerDegree * narrowing)};
}

}  // namespace pelorin
