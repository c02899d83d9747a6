// SPDX-License-Identifier: Apache-2.0
// Draws what the library makes of a small crossing, as three SVG pictures in the folder that it is
// given: the roads that it finds, the corridor that holds a camera, and the rounded corners.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "spatial/graph/multi_constraint_builder.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/pano_road_creator.h"

using nimbara::HeapManager;
using nimbara::RefPtr;
using nimbara::Vec2;
using nimbara::spatial::ConnectedPano;
using nimbara::spatial::MultiConstraintBuilder;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoRoad;
using nimbara::spatial::PanoRoadCreator;

namespace {

// A stored unit is half a great circle.
constexpr double kMetre = 1.0 / 20015118.0;

// Places in metres east and north of the crossing, which is the first; each street starts at one
// that is there already.
struct Street {
  std::size_t from;
  std::vector<Vec2<double>> places;
};
const std::vector<Street> kStreets = {
    {0, {{-10, 0.5}, {-20, 0}, {-30, -1.5}, {-40, -4}}},
    {0, {{10, -1}, {20, -3}, {29, -7}, {37, -13}}},
    {0, {{1.5, 10}, {4.5, 19.5}, {9, 28}}},
    {3, {{-29, 8.5}, {-30, 18.5}, {-28, 28}}},
};

class Crossing {
 public:
  Crossing() {
    Enter({0, 0});
    for (const Street& street : kStreets) {
      std::size_t last = street.from;
      for (const Vec2<double>& place : street.places) {
        const std::size_t next = Enter(place);
        Link(last, next);
        Link(next, last);
        last = next;
      }
    }
    for (const RefPtr<PanoramaData>& record : records_) {
      graph_.AddPano(record->pano_id, record.get());
    }
  }

  const PanoGraph& graph() const { return graph_; }
  const PanoramaData& middle() const { return *records_.front(); }
  const std::vector<std::pair<std::size_t, std::size_t>>& links() const { return links_; }
  const PanoramaData& record(std::size_t i) const { return *records_[i]; }
  std::size_t size() const { return records_.size(); }

 private:
  std::size_t Enter(const Vec2<double>& metres) {
    const std::size_t number = records_.size();
    RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap())
                                    PanoramaData(QString::number(number)));
    record->position = {metres.x * kMetre, metres.y * kMetre, 0.0};
    records_.push_back(record);
    return number;
  }
  void Link(std::size_t from, std::size_t to) {
    ConnectedPano link;
    link.pano_id = QString::number(to);
    records_[from]->links.push_back(link);
    links_.emplace_back(from, to);
  }

  std::vector<RefPtr<PanoramaData>> records_;
  std::vector<std::pair<std::size_t, std::size_t>> links_;
  PanoGraph graph_;
};

// A picture in metres, north up.
class Drawing {
 public:
  Drawing(double west, double south, double east, double north, double pixels_a_metre)
      : west_(west), north_(north), scale_(pixels_a_metre) {
    const double width = (east - west) * scale_;
    const double height = (north - south) * scale_;
    svg_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << height
         << "\" font-family=\"sans-serif\" font-size=\"13\">\n"
         << "<rect width=\"100%\" height=\"100%\" fill=\"#f7f5f0\"/>\n";
  }

  void Line(const Vec2<double>& a, const Vec2<double>& b, const char* style) {
    svg_ << "<line x1=\"" << X(a) << "\" y1=\"" << Y(a) << "\" x2=\"" << X(b) << "\" y2=\"" << Y(b)
         << "\" " << style << "/>\n";
  }
  void Dot(const Vec2<double>& at, double radius_px, const char* style) {
    svg_ << "<circle cx=\"" << X(at) << "\" cy=\"" << Y(at) << "\" r=\"" << radius_px << "\" "
         << style << "/>\n";
  }
  void Box(const Vec2<double>& corner, double width, double height, const char* style) {
    svg_ << "<rect x=\"" << X(corner) << "\" y=\"" << Y(corner) << "\" width=\"" << width * scale_
         << "\" height=\"" << height * scale_ << "\" shape-rendering=\"crispEdges\" " << style
         << "/>\n";
  }
  void Text(const Vec2<double>& at, const std::string& text) {
    svg_ << "<text x=\"" << X(at) << "\" y=\"" << Y(at) << "\" fill=\"#333\">" << text
         << "</text>\n";
  }

  bool Save(const std::string& file) {
    std::ofstream out(file, std::ios::binary);
    out << svg_.str() << "</svg>\n";
    return out.flush().good();
  }

 private:
  double X(const Vec2<double>& metres) const { return Tenths((metres.x - west_) * scale_); }
  double Y(const Vec2<double>& metres) const { return Tenths((north_ - metres.y) * scale_); }
  static double Tenths(double pixels) { return static_cast<int>(pixels * 10.0 + 0.5) / 10.0; }

  const double west_;
  const double north_;
  const double scale_;
  std::ostringstream svg_;
};

Vec2<double> InMetres(const PanoramaData& pano) {
  return {pano.position.x / kMetre, pano.position.y / kMetre};
}

void DrawLinks(const Crossing& crossing, Drawing* drawing) {
  for (const auto& link : crossing.links()) {
    drawing->Line(InMetres(crossing.record(link.first)), InMetres(crossing.record(link.second)),
                  "stroke=\"#555\" stroke-width=\"1\"");
  }
  for (std::size_t i = 0; i < crossing.size(); ++i) {
    drawing->Dot(InMetres(crossing.record(i)), 3, "fill=\"#fff\" stroke=\"#333\"");
  }
}

bool DrawChains(const Crossing& crossing, const std::string& file) {
  static const char* const kColours[] = {"#1b6ca8", "#c8553d", "#588157", "#8e5aa8", "#d4a017"};
  Drawing drawing(-48, -20, 48, 34, 9);
  PanoRoadCreator creator;
  creator.CreateRoadsOutward(crossing.middle(), crossing.graph());
  std::size_t number = 0;
  for (const PanoRoad* road : creator.roads) {
    if (road == nullptr) {
      continue;
    }
    const std::string colour = kColours[number++ % 5];
    const std::string style =
        "stroke=\"" + colour + "\" stroke-width=\"6\" stroke-linecap=\"round\"";
    for (std::size_t i = 1; i < road->panos.size(); ++i) {
      drawing.Line(InMetres(*road->panos[i - 1]), InMetres(*road->panos[i]), style.c_str());
    }
    const Vec2<double> end = InMetres(*road->panos.back());
    drawing.Text({end.x + 1.5, end.y + 1.5},
                 "road " + std::to_string(number) + ": " + std::to_string(road->panos.size()));
  }
  for (std::size_t i = 0; i < crossing.size(); ++i) {
    drawing.Dot(InMetres(crossing.record(i)), 4, "fill=\"#fff\" stroke=\"#333\"");
  }
  drawing.Dot({0, 0}, 7, "fill=\"none\" stroke=\"#000\" stroke-width=\"2\"");
  return drawing.Save(file);
}

// The shades of depth 0 to 1 metre, 1 to 2, and so on; the last goes on.
constexpr const char* kDepths[] = {"fill=\"#d7e6ef\"", "fill=\"#b5d2e3\"", "fill=\"#8fbcd6\"",
                                   "fill=\"#68a3c6\""};
constexpr const char* kByFillet = "fill=\"#f2c48d\"";

class Camera {
 public:
  // The corridor is taken a tenth as wide as the records say, to fit a picture of ten-metre links.
  explicit Camera(const Crossing& crossing) : streets_(crossing.graph()) {
    streets_.SetActivePano(crossing.middle().pano_id, 0.1, 0.0);
  }
  ~Camera() { streets_.DeleteConstraintBuilders(); }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  double Depth(const Vec2<double>& metres, bool with_fillets) {
    streets_.fillets_enabled = with_fillets;
    streets_.SetView({metres.x * kMetre, metres.y * kMetre}, 0.0);
    return streets_.GetCollisionDepth() / kMetre;
  }
  Vec2<double> Edge() const {
    const Vec2<double> point = streets_.GetCollisionPoint();
    return {point.x / kMetre, point.y / kMetre};
  }

 private:
  MultiConstraintBuilder streets_;
};

// Null outside the walkable area.
const char* Shade(Camera* camera, const Vec2<double>& at, bool with_fillets) {
  const double depth = camera->Depth(at, with_fillets);
  if (depth < 0.0) {
    return nullptr;
  }
  if (with_fillets && camera->Depth(at, false) < 0.0) {
    return kByFillet;
  }
  return kDepths[depth < 3.0 ? static_cast<int>(depth) : 3];
}

void DrawArea(const Crossing& crossing, const Vec2<double>& low, const Vec2<double>& high,
              double step, bool with_fillets, Drawing* drawing) {
  Camera camera(crossing);
  const int columns = static_cast<int>((high.x - low.x) / step);
  const int rows = static_cast<int>((high.y - low.y) / step);
  for (int row = 0; row < rows; ++row) {
    const double y = low.y + (row + 0.5) * step;
    int begin = 0;
    const char* shade = nullptr;
    for (int column = 0; column <= columns; ++column) {
      const char* here = column == columns
                             ? nullptr
                             : Shade(&camera, {low.x + (column + 0.5) * step, y}, with_fillets);
      if (here == shade) {
        continue;
      }
      if (shade != nullptr) {
        drawing->Box({low.x + begin * step, y + 0.5 * step}, (column - begin) * step, step, shade);
      }
      begin = column;
      shade = here;
    }
  }
}

bool DrawCorridors(const Crossing& crossing, const std::string& file) {
  Drawing drawing(-26, -14, 26, 26, 16);
  DrawArea(crossing, {-26, -14}, {26, 26}, 0.25, false, &drawing);
  DrawLinks(crossing, &drawing);
  Camera camera(crossing);
  const Vec2<double> views[] = {{-12, 2}, {-17, 6}, {13, -7}, {8, 12}, {0, 17}};
  for (const Vec2<double>& view : views) {
    const double depth = camera.Depth(view, false);
    drawing.Line(view, camera.Edge(), "stroke=\"#c8553d\" stroke-width=\"2\"");
    drawing.Dot(camera.Edge(), 3, "fill=\"#c8553d\"");
    drawing.Dot(view, 4, "fill=\"#000\"");
    char text[32];
    std::snprintf(text, sizeof text, "%+.1f m", depth);
    drawing.Text({view.x + 0.6, view.y + 0.6}, text);
  }
  return drawing.Save(file);
}

bool DrawFillets(const Crossing& crossing, const std::string& file) {
  Drawing drawing(-13, -9, 13, 13, 30);
  DrawArea(crossing, {-13, -9}, {13, 13}, 0.125, true, &drawing);
  DrawLinks(crossing, &drawing);
  return drawing.Save(file);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: draw_streets FOLDER\n", stderr);
    return 2;
  }
  const std::string stem = std::string(argv[1]) + "/streets-";
  const Crossing crossing;
  if (!DrawChains(crossing, stem + "chains.svg") ||
      !DrawCorridors(crossing, stem + "corridors.svg") ||
      !DrawFillets(crossing, stem + "fillets.svg")) {
    std::fprintf(stderr, "draw_streets: cannot write to %s\n", argv[1]);
    return 1;
  }
  std::puts("three pictures");
  return 0;
}
