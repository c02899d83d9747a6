// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_stream.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <locale>
#include <memory>
#include <sstream>

#include "vortan/diorama/shape_coder.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;
using vortan::ShapeDecoder;
using vortan::ShapeEncoder;

// What a decoder may allocate: any real mesh fits, a few damaged bytes cannot take the machine.
constexpr std::size_t kBaseBudget = std::size_t{32} << 20;
constexpr std::size_t kBudgetPerByte = 1024;
// Of points, in version 3.
constexpr double kFewestBits = -32;

double Step(int version, int bits) {
  return version == 3 ? std::ldexp(1.0, -bits) : 1.0 / (std::ldexp(1.0, bits) - 1.0);
}

template <typename Vector>
double Largest(const std::vector<Vector>& pool) {
  double largest = 0;
  for (const Vector& v : pool) {
    largest = std::max(
        {largest, std::fabs(static_cast<double>(v.x)), std::fabs(static_cast<double>(v.y))});
    if constexpr (sizeof(Vector) == 3 * sizeof(v.x)) {
      largest = std::max(largest, std::fabs(static_cast<double>(v.z)));
    }
  }
  return largest;
}

// Half a step, and what the arithmetic itself may lose.
bool WithinHalfAStep(double difference, double step, double largest, double epsilon) {
  return difference <= step / 2 + 4 * epsilon * (largest + step);
}

bool ComesBack(const Shape& shape, const CodedMesh& coded) {
  const StreamSettings& s = coded.settings;
  constexpr double kDoubleEpsilon = 2.3e-16;
  constexpr double kFloatEpsilon = 1.2e-7;
  return WithinHalfAStep(coded.error.max_axis, Step(s.version, s.point_bits),
                         Largest(shape.points()), kDoubleEpsilon) &&
         WithinHalfAStep(coded.error.max_normal, Step(s.version, s.normal_bits),
                         Largest(shape.normals()), kFloatEpsilon) &&
         WithinHalfAStep(coded.error.max_tex_coord, Step(s.version, s.tex_coord_bits),
                         Largest(shape.tex_coords()), kFloatEpsilon);
}

// Of points, the most that version 3 has a place for: it keeps the least of each axis in 31 bits.
double MostPointBits(const Shape& shape) {
  return std::floor(30.0 - std::log2(Largest(shape.points())));
}

std::string CannotHold(const Shape& shape, const StreamSettings& settings) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "version " << settings.version << " cannot hold ";
  if (const double most = MostPointBits(shape);
      settings.version == 3 && settings.point_bits > most) {
    text << "coordinates as large as " << Largest(shape.points());
    if (most >= kFewestBits) {
      text << " with " << settings.point_bits << " bits, only with up to " << most;
    }
  } else {
    text << "this mesh with these precisions";
  }
  return text.str();
}

// Decodes what may be anything.
bool DecodeGuarded(const std::string& bytes, int version, Shape* shape,
                   StreamSettings* settings) try {
  const std::unique_ptr<ShapeDecoder> decoder(ShapeDecoder::CreateDecoder(version));
  decoder->set_allocation_budget(kBaseBudget + kBudgetPerByte * bytes.size());
  decoder->set_buffer(bytes);
  if (!decoder->DecodeShape(shape)) {
    return false;
  }
  *settings = {version, decoder->point_bits(), decoder->normal_bits(), decoder->tex_coord_bits()};
  return true;
} catch (const std::exception&) {
  return false;
}

bool SameShape(const Shape& a, const Shape& b) {
  return a.IsEqual(b) &&
         std::equal(a.index_sets().begin(), a.index_sets().end(), b.index_sets().begin(),
                    b.index_sets().end(), [](const auto* s, const auto* t) {
                      return s->point_indices() == t->point_indices() &&
                             s->normal_indices() == t->normal_indices() &&
                             s->tex_coord_indices() == t->tex_coord_indices();
                    });
}

// A reader takes what is missing for zeros. A stream is whole when it makes no difference what
// stands behind it. Ones in turn, in both ways, since a count that begins with a one is negative
// and as good as none.
bool IsWhole(const std::string& bytes, int version, const Shape& shape) {
  for (const char behind : {'\x55', '\xAA'}) {
    Shape other;
    StreamSettings settings;
    if (!DecodeGuarded(bytes + std::string(16, behind), version, &other, &settings) ||
        !SameShape(shape, other)) {
      return false;
    }
  }
  return true;
}

template <typename Vector>
bool AllFinite(const std::vector<Vector>& pool) {
  return std::all_of(pool.begin(), pool.end(), [](const Vector& v) {
    if constexpr (sizeof(Vector) == 3 * sizeof(v.x)) {
      return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
    } else {
      return std::isfinite(v.x) && std::isfinite(v.y);
    }
  });
}

}  // namespace

bool IsFinite(const Shape& shape) {
  return AllFinite(shape.points()) && AllFinite(shape.normals()) && AllFinite(shape.tex_coords());
}

bool EncodeMesh(const Shape& shape, const StreamSettings& settings, CodedMesh* coded,
                std::string* error) {
  const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(settings.version));
  if (encoder == nullptr) {
    *error = "there is no version " + std::to_string(settings.version);
    return false;
  }
  encoder->set_point_bits(settings.point_bits);
  encoder->set_normal_bits(settings.normal_bits);
  encoder->set_tex_coord_bits(settings.tex_coord_bits);
  coded->settings = settings;
  StreamSettings read;
  const bool encoded = encoder->EncodeShape(shape);
  if (encoded) {
    encoder->get_buffer(&coded->bytes);
    coded->stats = encoder->stats();
    coded->decoded.Clear();
  }
  if (!encoded || !DecodeGuarded(coded->bytes, settings.version, &coded->decoded, &read) ||
      !CompareMeshes(shape, coded->decoded, &coded->error) || !ComesBack(shape, *coded)) {
    *error = CannotHold(shape, settings);
    return false;
  }
  return true;
}

bool EncodeWithin(const Shape& shape, StreamSettings settings, double max_error, CodedMesh* coded,
                  std::string* error) {
  // Half the diagonal of a step is the worst that can happen; often one bit less will do.
  const double most = std::ceil(std::log2(std::sqrt(3.0) / 2 / max_error)) + 1;
  const double least = settings.version == 3 ? -32 : 1;
  for (settings.point_bits = static_cast<int>(std::clamp(most - 2, least, 31.0));
       settings.point_bits <= 31 && settings.point_bits <= std::max(most, least);
       ++settings.point_bits) {
    if (!EncodeMesh(shape, settings, coded, error)) {
      return false;
    }
    if (coded->error.max <= max_error) {
      return true;
    }
  }
  *error = "no precision keeps every point within the error";
  return false;
}

bool DecodeMesh(const std::string& bytes, Shape* shape, StreamSettings* settings,
                std::string* error) {
  const int version = ShapeDecoder::GetCodecVersionFromBuffer(bytes);
  if (version < 1 || version > ShapeEncoder::kMaxCodecVersion) {
    *error = version == -1
                 ? "it is no shape stream"
                 : "it is a shape stream of the unknown version " + std::to_string(version);
    return false;
  }
  StreamSettings read;
  if (!DecodeGuarded(bytes, version, shape, &read)) {
    *error = "the stream is damaged";
    return false;
  }
  if (!IsWhole(bytes, version, *shape)) {
    *error = "the stream is cut off or damaged";
    return false;
  }
  std::string fault;
  if (!shape->Validate(&fault)) {
    *error = "the stream is damaged: " + fault;
    return false;
  }
  if (!IsFinite(*shape)) {
    *error = "the stream is damaged: a number in it is none";
    return false;
  }
  if (settings != nullptr) {
    *settings = read;
  }
  return true;
}

}  // namespace mesh
}  // namespace pelorin
