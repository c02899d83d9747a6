// SPDX-License-Identifier: Apache-2.0
// Text that claims to be a box. Whatever it is, its numbers must be those that a scan of its own
// finds, a box must take exactly six and be left alone otherwise, and a finite one must come back
// from its own text.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tests/util/geometry3d/mesh/number_split_twin.h"
#include "util/geometry3d/mesh/bbox.h"

namespace {

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

bool IsFinite(const geometry3d::Vector3<double>& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

template <typename T>
void ParseOthers(const std::string& text, bool expected) {
  geometry3d::BBox3<T> box;
  Require(box.ParseFromString(text) == expected);
  std::ostringstream written;
  written << box.Union(box) << box.GetCenter().x << box.GetVolume() << box.GetSurfaceArea();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const test_support::NumberSplitTwin twin(text);
  Require(test_support::SplitsAsItsTwin(text));

  const geometry3d::BBox3<double> before({1, 2, 3}, {4, 5, 6});
  geometry3d::BBox3<double> box = before;
  const bool parsed = box.ParseFromString(text);
  Require(parsed == (twin.sound() && twin.numbers().size() == 6));
  Require(parsed || box == before);
  ParseOthers<float>(text, parsed);
  ParseOthers<int>(text, parsed);

  if (IsFinite(box.min) && IsFinite(box.max)) {
    std::ostringstream written;
    written.precision(17);
    written << box;
    geometry3d::BBox3<double> again;
    Require(again.ParseFromString(written.str()));
    Require(again.min == box.min && again.max == box.max);
  }
  return 0;
}
