// SPDX-License-Identifier: Apache-2.0
#include "apps/command/inspect/stream_walk.h"

#include <cmath>
#include <cstdint>

#include "apps/command/inspect/shape_walk.h"

namespace pelorin {
namespace command {
namespace {

std::string At(const std::string& path, std::size_t i) {
  return path + "[" + std::to_string(i) + "]";
}

bool IsVersionOne(const char* what, FieldReader* in, std::string* error) {
  const std::uint32_t version = in->Bits("version", 16);
  if (in->good() && version != 1) {
    *error = std::string("no ") + what + " stream has version " + std::to_string(version);
    return false;
  }
  return in->good();
}

void WalkPolygon(const std::string& polygon, double factor, FieldReader* in) {
  const auto length = [factor](std::uint32_t min, std::uint32_t distance) {
    return NumberText(static_cast<std::int32_t>(min + distance) / factor);
  };
  const std::uint32_t points = in->VarUInt(polygon + ".points.count", 4);
  if (points != 0) {
    const auto min_x = static_cast<std::uint32_t>(in->VarInt(polygon + ".points.minimum.x", 4));
    const auto min_y = static_cast<std::uint32_t>(in->VarInt(polygon + ".points.minimum.y", 4));
    const auto x_bits = static_cast<int>(in->Bits(polygon + ".points.width.x", 5));
    const auto y_bits = static_cast<int>(in->Bits(polygon + ".points.width.y", 5));
    // Without any bits all are the same.
    const std::uint32_t shown = x_bits + y_bits == 0 ? 1 : points;
    for (std::uint32_t i = 0; i < shown && in->good(); ++i) {
      const std::string point = At(polygon + ".points", i);
      in->Bits(point + ".x", x_bits, [&](std::uint32_t x) { return length(min_x, x); });
      in->Bits(point + ".y", y_bits, [&](std::uint32_t y) { return length(min_y, y); });
    }
  }
  in->VarUInt(polygon + ".z", 4, [&](std::uint32_t bits) {
    const std::int32_t half = static_cast<std::int32_t>(bits) >> 1;
    return length(0, static_cast<std::uint32_t>(bits % 2 != 0 ? ~half : half));
  });
  const std::uint32_t contours = in->VarUInt(polygon + ".contour_sizes.count", 4);
  for (std::uint32_t i = 0; i < contours && in->good(); ++i) {
    in->VarUInt(At(polygon + ".contour_sizes", i), 4);
  }
  const std::uint32_t indices = in->VarUInt(polygon + ".triangle_indices.count", 4);
  if (indices != 0) {
    const auto bits = static_cast<int>(in->Bits(polygon + ".triangle_indices.bits", 5));
    const std::uint32_t shown = bits == 0 ? 1 : indices;
    for (std::uint32_t i = 0; i < shown && in->good(); ++i) {
      in->Bits(At(polygon + ".triangle_indices", i), bits);
    }
  }
}

bool WalkBuilding(FieldReader* in, std::string* error) {
  if (!IsVersionOne("building", in, error)) {
    return false;
  }
  const double factor = std::ldexp(1.0, in->Int("point_bits", 6));
  const std::uint32_t polygons = Rounds(in->VarUInt("polygon_count", 4));
  for (std::uint32_t i = 0; i < polygons && in->good(); ++i) {
    WalkPolygon(At("polygons", i), factor, in);
  }
  in->Padding();
  return in->good();
}

void WalkVector(const std::string& path, FieldReader* in) {
  in->Double(path + ".x");
  in->Double(path + ".y");
  in->Double(path + ".z");
}

bool WalkChannel(const std::string& channel, FieldReader* in, std::string* error) {
  in->VarInt(channel + ".target", 4);
  const std::int32_t type = in->VarInt(channel + ".value.type", 4);
  if (in->good() && type != 0 && type != 1) {
    *error = channel + " has a value of an unknown type";
    return false;
  }
  if (type == 0) {
    WalkVector(channel + ".value.translation", in);
  } else {
    WalkVector(channel + ".value.center", in);
    WalkVector(channel + ".value.axis", in);
    in->Double(channel + ".value.angle");
  }
  const std::uint32_t keyframes = Rounds(in->VarUInt(channel + ".keyframes.count", 4));
  if (keyframes == 0) {
    return true;
  }
  const std::int32_t modifier = in->VarInt(channel + ".keyframes.type", 4);
  if (in->good() && (modifier < 1 || modifier > 3)) {
    *error = channel + " has keyframes of an unknown type";
    return false;
  }
  for (std::uint32_t i = 0; i < keyframes && in->good(); ++i) {
    const std::string keyframe = At(channel + ".keyframes", i);
    in->Double(keyframe + ".time");
    if (modifier == 1) {
      WalkVector(keyframe + ".translation", in);
    } else if (modifier == 3) {
      WalkVector(keyframe + ".axis", in);
    }
    if (modifier != 1) {
      in->Double(keyframe + ".angle");
    }
  }
  return true;
}

bool WalkAnimations(FieldReader* in, std::string* error) {
  const std::uint32_t transforms = Rounds(in->VarUInt("transform_count", 4));
  for (std::uint32_t i = 0; i < transforms && in->good(); ++i) {
    const std::string transform = At("transforms", i);
    in->VarInt(transform + ".id", 4);
    const std::uint32_t entries = Rounds(in->VarUInt(transform + ".index_list.count", 4));
    for (std::uint32_t k = 0; k < entries && in->good(); ++k) {
      in->VarUInt(At(transform + ".index_list", k), 4);
    }
  }
  const std::uint32_t animations = Rounds(in->VarUInt("animation_count", 4));
  for (std::uint32_t i = 0; i < animations && in->good(); ++i) {
    const std::string animation = At("animations", i);
    in->Text(animation + ".name", in->VarUInt(animation + ".name.length", 1));
    const std::uint32_t channels = Rounds(in->VarUInt(animation + ".channel_count", 4));
    for (std::uint32_t k = 0; k < channels && in->good(); ++k) {
      if (!WalkChannel(At(animation + ".channels", k), in, error)) {
        return false;
      }
    }
  }
  return true;
}

bool WalkAnimatedShape(FieldReader* in, std::string* error) {
  if (!IsVersionOne("animated shape", in, error) || !WalkAnimations(in, error)) {
    return false;
  }
  in->Padding();
  const std::uint32_t magic = in->Bits("shape.magic", 16);
  if (in->good() && magic != 0x4553) {
    *error = "no shape stream follows the animation";
    return false;
  }
  return in->good() && WalkShape("shape.", in, error);
}

}  // namespace

StreamKind KindOfStream(const std::string& bytes) {
  const std::string magic = bytes.substr(0, 2);
  return magic == "SE"   ? StreamKind::kShape
         : magic == "ZB" ? StreamKind::kBuilding
         : magic == "AE" ? StreamKind::kAnimatedShape
                         : StreamKind::kNone;
}

bool WalkStream(StreamKind kind, FieldReader* reader, std::string* error) {
  reader->Bits("magic", 16);
  const bool whole = kind == StreamKind::kShape      ? WalkShape("", reader, error)
                     : kind == StreamKind::kBuilding ? WalkBuilding(reader, error)
                                                     : WalkAnimatedShape(reader, error);
  if (!reader->good() && error->empty()) {
    *error = "the stream ends before its last field does";
  }
  return whole;
}

}  // namespace command
}  // namespace pelorin
