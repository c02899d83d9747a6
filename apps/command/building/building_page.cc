// SPDX-License-Identifier: Apache-2.0
#include "apps/command/building/building_page.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>

#include "apps/command/building/building_page_template.h"
#include "apps/command/html_page.h"
#include "util/geometry3d/mesh/shape_iterator.h"

namespace pelorin {
namespace command {
namespace {

using geometry3d::IndexSet;
using geometry3d::Material;
using geometry3d::Shape;
using geometry3d::ShapeTriangleIterator;
using geometry3d::Vector3;
using Json = nlohmann::ordered_json;

const Vector3<float> kPlainColor(0.75f, 0.75f, 0.75f);

std::string Base64(const std::vector<float>& numbers) {
  static_assert(sizeof(float) == 4);
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes(numbers.size() * sizeof(float), '\0');
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  // Three bytes are four digits; zeros fill the last three, which no reader of floats looks at.
  bytes.resize((bytes.size() + 2) / 3 * 3);
  std::string text;
  text.reserve(bytes.size() / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&bytes, i](std::size_t k) {
      return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + k]));
    };
    const std::uint32_t word = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (const int shift : {18, 12, 6, 0}) {
      text.push_back(kDigits[word >> shift & 63]);
    }
  }
  return text;
}

void Add(const Vector3<float>& v, std::vector<float>* numbers) {
  numbers->insert(numbers->end(), {v.x, v.y, v.z});
}

Vector3<float> Narrow(const Vector3<double>& v) {
  return Vector3<float>(static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z));
}

// Corners of the triangles of a set: place and normal, six numbers each.
std::vector<float> TriangleCorners(const IndexSet& set, const Vector3<double>& middle) {
  std::vector<float> corners;
  for (ShapeTriangleIterator triangle(&set); !triangle.Done(); triangle.Next()) {
    std::array<Vector3<double>, 3> places;
    for (int i = 0; i < 3; ++i) {
      places[static_cast<std::size_t>(i)] = triangle.GetPoint(i) - middle;
    }
    const Vector3<float> flat =
        Narrow(CrossProduct(places[1] - places[0], places[2] - places[0]).Normalize());
    for (int i = 0; i < 3; ++i) {
      Add(Narrow(places[static_cast<std::size_t>(i)]), &corners);
      Add(triangle.HasNormals() ? triangle.GetNormal(i) : flat, &corners);
    }
  }
  return corners;
}

std::vector<float> LineEnds(const IndexSet& set, const Vector3<double>& middle) {
  std::vector<float> ends;
  for (std::size_t i = 0; i < set.point_indices().size(); ++i) {
    Add(Narrow(set.GetPoint(static_cast<int>(i)) - middle), &ends);
  }
  return ends;
}

// The middle of the box around all points: single precision is for what lies around it.
Vector3<double> MiddleOf(const Shape& shape) {
  if (shape.points().empty()) {
    return {};
  }
  Vector3<double> low = shape.points().front();
  Vector3<double> high = low;
  for (const Vector3<double>& p : shape.points()) {
    low = {std::fmin(low.x, p.x), std::fmin(low.y, p.y), std::fmin(low.z, p.z)};
    high = {std::fmax(high.x, p.x), std::fmax(high.y, p.y), std::fmax(high.z, p.z)};
  }
  return (low + high) * 0.5;
}

Json SetsOf(const Shape& shape) {
  const Vector3<double> middle = MiddleOf(shape);
  Json sets = Json::array();
  for (const IndexSet* const set : shape.index_sets()) {
    const Material* const material = set->GetMaterial();
    const Vector3<float> color = material != nullptr ? material->diffuse_color() : kPlainColor;
    const bool is_lines = set->format() == IndexSet::kLines;
    sets.push_back({{"color", {color.x, color.y, color.z}},
                    {is_lines ? "lines" : "triangles",
                     Base64(is_lines ? LineEnds(*set, middle) : TriangleCorners(*set, middle))}});
  }
  return sets;
}

}  // namespace

std::string BuildingPage(const Shape& shape, const BuildingPageTexts& texts) {
  Json data;
  data["title"] = texts.title;
  data["facts"] = texts.facts;
  data["credit"] = texts.credit;
  data["made"] = texts.made;
  data["sets"] = SetsOf(shape);
  return FillMarks(kBuildingPageTemplate, {{"@TITLE@", HtmlSafe(texts.title)},
                                           {"@DATA@", ScriptSafe(data)},
                                           {"@SCRIPT@", std::string(kBuildingPageScript)}});
}

}  // namespace command
}  // namespace pelorin
