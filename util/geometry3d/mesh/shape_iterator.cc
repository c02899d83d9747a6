// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape_iterator.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/logging.h"

namespace geometry3d {
namespace {

// A position asked for by `Seek` may be any number.
int Behind(int position, int steps) {
  return position > std::numeric_limits<int>::max() - steps ? std::numeric_limits<int>::max()
                                                            : position + steps;
}

}  // namespace

namespace mesh_internal {

template <typename Iterator>
IndexSetReader<Iterator>::IndexSetReader(const IndexSet* index_set) : index_set_(index_set) {
  PELORIN_CHECK(index_set);
  if (index_set == nullptr) {
    static const IndexSet nothing;
    index_set_ = &nothing;
  }
}

}  // namespace mesh_internal

ShapePrimitiveIterator::ShapePrimitiveIterator(const IndexSet* index_set)
    : IndexSetReader(index_set) {
  Reset();
}

void ShapePrimitiveIterator::Reset() {
  begin_ = 0;
  first_ = 0;
  end_ = 0;
  SeekEnd();
}

void ShapePrimitiveIterator::SeekEnd() {
  switch (index_set_->format()) {
  case IndexSet::kTriangles:
  case IndexSet::kQuads:
  case IndexSet::kLines:
    end_ = Behind(begin_, index_set_->GetStride());
    break;
  case IndexSet::kTriangleStrip:
  case IndexSet::kTriangleFan:
  case IndexSet::kPolygons:
    end_ = begin_;
    while (end_ < length() && !IsDelimiter(end_)) {
      ++end_;
    }
    break;
  default:
    PELORIN_LOG_ERROR() << "Unknown Format.";
    begin_ = length();
    end_ = length();
  }
}

bool ShapePrimitiveIterator::Next() {
  if (Done()) {
    return false;
  }
  switch (index_set_->format()) {
  case IndexSet::kTriangles:
  case IndexSet::kQuads:
  case IndexSet::kLines:
    begin_ = end_;
    break;
  case IndexSet::kTriangleStrip:
  case IndexSet::kTriangleFan:
  case IndexSet::kPolygons:
    begin_ = Behind(end_, 1);
    break;
  default:
    PELORIN_LOG_ERROR() << "Unknown Format.";
    begin_ = length();
    end_ = length();
  }
  SeekEnd();
  return true;
}

void ShapePrimitiveIterator::Seek(int first) {
  if (first < 0 || first >= length()) {
    PELORIN_LOG_FATAL() << "Check failed: first >= 0 && first < index_set_->point_indices().size()";
  }
  first_ = first;
  if (first >= begin_ && first < end_) {
    return;
  }
  const int stride = index_set_->GetStride();
  if (stride > 0) {
    begin_ = first - first % stride;
    end_ = Behind(begin_, stride);
    return;
  }
  begin_ = std::clamp(first, 0, length());
  while (begin_ > 0 && !IsDelimiter(begin_ - 1)) {
    --begin_;
  }
  SeekEnd();
}

int ShapePrimitiveIterator::GetIndex(int i) const {
  const int size = GetSize();
  if (size <= 0) {
    return begin_;
  }
  const std::int64_t turned = (std::int64_t{first_} + i - begin_) % size;
  return begin_ + static_cast<int>(turned < 0 ? turned + size : turned);
}

ShapeTriangleIterator::ShapeTriangleIterator(const IndexSet* index_set)
    : IndexSetReader(index_set) {
  Reset();
}

void ShapeTriangleIterator::Reset() {
  corner_0_ = 0;
  corner_1_ = 1;
  corner_2_ = index_set_->format() == IndexSet::kLines ? 0 : 2;
}

bool ShapeTriangleIterator::Next() {
  if (Done()) {
    return false;
  }
  switch (index_set_->format()) {
  case IndexSet::kTriangles:
    corner_0_ += 3;
    corner_1_ += 3;
    corner_2_ += 3;
    break;
  case IndexSet::kTriangleStrip:
    // The corner that is left behind alternates, which keeps the winding.
    (corner_0_ >= corner_1_ ? corner_1_ : corner_0_) = corner_2_;
    ++corner_2_;
    StartBehindDelimiter();
    break;
  case IndexSet::kTriangleFan:
  case IndexSet::kPolygons:
    ++corner_1_;
    ++corner_2_;
    StartBehindDelimiter();
    break;
  case IndexSet::kQuads:
    if (corner_1_ == corner_0_ + 1) {
      corner_1_ = corner_0_ + 2;
      ++corner_2_;
    } else {
      StartBehind(corner_2_);
    }
    break;
  case IndexSet::kLines:
    corner_0_ += 2;
    corner_1_ += 2;
    corner_2_ += 2;
    break;
  default:
    PELORIN_LOG_ERROR() << "Unknown Format.";
    corner_2_ = length();
  }
  return true;
}

void ShapeTriangleIterator::StartBehind(int position) {
  corner_0_ = position + 1;
  corner_1_ = position + 2;
  corner_2_ = position + 3;
}

void ShapeTriangleIterator::StartBehindDelimiter() {
  if (!Done() && IsDelimiter(corner_2_)) {
    StartBehind(corner_2_);
  }
}

int ShapeTriangleIterator::GetIndex(int i) const {
  PELORIN_CHECK(i >= 0 && i < 3);
  switch (i) {
  case 0:
    return corner_0_;
  case 1:
    return corner_1_;
  case 2:
    return corner_2_;
  default:
    return -1;
  }
}

}  // namespace geometry3d
