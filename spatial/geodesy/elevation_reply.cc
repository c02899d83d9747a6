// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_reply.h"

#include <json/reader.h>
#include <json/value.h>

#include <cmath>
#include <exception>
#include <limits>

namespace nimbara {
namespace spatial {
namespace {

// The halfway point to the number that would follow the largest `float`: from here on rounding
// leaves its range, and the language defines no conversion.
constexpr double kFirstBeyondFloat = 0x1.ffffffp127;

float Narrowed(double value) {
  if (std::fabs(value) < kFirstBeyondFloat) {
    return static_cast<float>(value);
  }
  return std::copysign(std::numeric_limits<float>::infinity(), value < 0.0 ? -1.0f : 1.0f);
}

// Throws what JsonCpp throws where the reply has another shape.
bool ReadResults(const Json::Value& results, std::size_t offset, mmvector<float>* heights,
                 int* read) {
  for (Json::ArrayIndex i = 0; i < results.size(); ++i) {
    const Json::Value& elevation = results[i]["elevation"];
    if (!elevation.isDouble()) {
      return false;
    }
    if (offset + i >= heights->size()) {
      return true;
    }
    (*heights)[offset + i] = Narrowed(elevation.asDouble());
    ++*read;
  }
  return true;
}

}  // namespace

bool ReadElevationReply(const QByteArray& body, std::size_t offset, mmvector<float>* heights,
                        int* read) {
  *read = 0;
  try {
    Json::Reader reader;
    Json::Value root;
    constexpr bool kCollectComments = false;
    if (!reader.parse(body.constData(), body.constData() + body.size(), root, kCollectComments)) {
      return false;
    }
    const Json::Value& const_root = root;  // The other operator[] would add what is missing.
    return ReadResults(const_root["results"], offset, heights, read);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace spatial
}  // namespace nimbara
