// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "vortan/diorama/shape_coder1.h"
#include "vortan/diorama/shape_coder3.h"

namespace test_support {

/// Makes a stream of a shape in one call.
template <typename Encoder>
class OpenEncoder : public Encoder {
 public:
  /// The stream of a shape that can be held.
  std::string Stream(const geometry3d::Shape& shape) {
    EXPECT_TRUE(this->EncodeShape(shape));
    return Written();
  }
  std::string Written() const {
    std::string stream;
    this->get_buffer(&stream);
    return stream;
  }
};

/// With its version, as the factory sets it.
class OpenEncoder1 : public OpenEncoder<vortan::ShapeEncoder1> {
 public:
  explicit OpenEncoder1(int version = 1) { set_codec_version(version); }
};

class OpenEncoder3 : public OpenEncoder<vortan::ShapeEncoder3> {
 public:
  using ShapeEncoder3::EncodeOffsetIndices;
};

/// Decoders that keep their stream and whose parts can be called.
class OpenDecoder1 : public vortan::ShapeDecoder1 {
 public:
  explicit OpenDecoder1(std::string stream) : stream_(std::move(stream)) { set_buffer(stream_); }
  using ShapeDecoder1::DecodeIndexSet;
  using ShapeDecoder1::DecodeIndices;
  using ShapeDecoder1::DecodeMaterial;
  using ShapeDecoder1::DecodeNormals;
  using ShapeDecoder1::DecodePoints;
  using ShapeDecoder1::DecodeTexCoords;

 private:
  std::string stream_;
};

class OpenDecoder3 : public vortan::ShapeDecoder3 {
 public:
  explicit OpenDecoder3(std::string stream) : stream_(std::move(stream)) { set_buffer(stream_); }
  using ShapeDecoder3::DecodeIndexSet;
  using ShapeDecoder3::DecodeMaterial;
  using ShapeDecoder3::DecodeOffsetIndices;

 private:
  std::string stream_;
};

/// Bytes as numbers from 0 to 255.
inline std::string Bytes(const std::vector<int>& values) {
  return std::string(values.begin(), values.end());
}

}  // namespace test_support
