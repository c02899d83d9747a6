// SPDX-License-Identifier: Apache-2.0
#include "apps/command/inspect/shape_walk.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace pelorin {
namespace command {
namespace {

constexpr const char* kComponents[] = {".x", ".y", ".z"};

class ShapeWalk {
 public:
  ShapeWalk(const std::string& prefix, FieldReader* reader, std::string* error)
      : prefix_(prefix), in_(*reader), error_(*error) {}

  bool Run() {
    version_ = in_.Bits(prefix_ + "version", 16);
    if (in_.good() && (version_ < 1 || version_ > 3)) {
      error_ = "no shape stream has version " + std::to_string(version_);
      return false;
    }
    const bool told = version_ == 3 ? Run3() : Run1();
    if (!told || !in_.good()) {
      return false;
    }
    in_.Padding();
    return in_.good();
  }

 private:
  static std::string At(const std::string& path, std::size_t i) {
    return path + "[" + std::to_string(i) + "]";
  }

  bool Run1() {
    if (!Pool1("points", 3, true) || !Pool1("normals", 3, false) ||
        !Pool1("tex_coords", 2, false)) {
      return false;
    }
    Materials(Rounds(in_.Bits(prefix_ + "material_count", 32)));
    const std::uint32_t sets = Rounds(in_.Bits(prefix_ + "index_set_count", 32));
    for (std::uint32_t i = 0; i < sets && in_.good(); ++i) {
      const std::string set = At(prefix_ + "index_sets", i);
      in_.Bits(set + ".format", 8);
      in_.Int(set + ".material_index", 16);
      Indices1(set + ".point_indices");
      Indices1(set + ".normal_indices");
      Indices1(set + ".tex_coord_indices");
    }
    return true;
  }

  bool Run3() {
    Materials(Rounds(in_.VarUInt(prefix_ + "material_count", 4)));
    const std::uint32_t sets = Rounds(in_.VarUInt(prefix_ + "index_set_count", 4));
    for (std::uint32_t i = 0; i < sets && in_.good(); ++i) {
      const std::string set = At(prefix_ + "index_sets", i);
      in_.VarUInt(set + ".format", 4);
      in_.VarInt(set + ".material_index", 4);
      if (!Offsets(set + ".point_indices", &points_) ||
          !Offsets(set + ".normal_indices", &normals_) ||
          !Offsets(set + ".tex_coord_indices", &tex_coords_)) {
        return false;
      }
    }
    Pool3("points", 3);
    Pool3("normals", 3);
    Pool3("tex_coords", 2);
    return true;
  }

  void Unit(const std::string& path, float range) {
    in_.Bits(path, 8, [range](std::uint32_t bits) {
      return NumberText(static_cast<double>(static_cast<float>(bits) * range / 255.0f));
    });
  }
  void Color(const std::string& path) {
    Unit(path + ".r", 1);
    Unit(path + ".g", 1);
    Unit(path + ".b", 1);
  }
  void Materials(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count && in_.good(); ++i) {
      const std::string material = At(prefix_ + "materials", i);
      Color(material + ".ambient_color");
      Color(material + ".diffuse_color");
      Color(material + ".specular_color");
      if (version_ == 3) {
        Color(material + ".emissive_color");
        Color(material + ".transparent_color");
      }
      Unit(material + ".shininess", 128);
      if (version_ == 3) {
        Unit(material + ".transparency", 1);
      }
      const std::string uri = material + ".texture_uri";
      in_.Text(uri,
               version_ == 3 ? in_.VarUInt(uri + ".length", 1) : in_.Bits(uri + ".length", 16));
      if (version_ == 2) {
        Color(material + ".emissive_color");
        Color(material + ".transparent_color");
        Unit(material + ".transparency", 1);
      }
      if (version_ >= 2) {
        in_.Bits(material + ".double_sided", 1);
      }
    }
  }

  // The widths and the values of a pool, whose smallest components are known.
  void Values(const std::string& pool, std::uint32_t count, double factor,
              const std::vector<std::uint32_t>& min) {
    std::vector<int> widths;
    for (std::size_t k = 0; k < min.size(); ++k) {
      widths.push_back(static_cast<int>(in_.Bits(pool + ".width" + kComponents[k], 5)));
    }
    for (std::uint32_t i = 0; i < count && in_.good(); ++i) {
      std::size_t bits = 0;
      for (std::size_t k = 0; k < min.size(); ++k) {
        bits += static_cast<std::size_t>(widths[k]);
        in_.Bits(At(pool, i) + kComponents[k], widths[k], [&](std::uint32_t distance) {
          return NumberText(static_cast<std::int32_t>(min[k] + distance) / factor);
        });
      }
      if (bits == 0) {
        return;  // All the others are the same, and take no bits.
      }
    }
  }

  bool Pool1(const std::string& name, std::size_t components, bool is_double) {
    const std::string pool = prefix_ + name;
    const std::uint32_t count = in_.Bits(pool + ".count", 32);
    if (count == 0) {
      return true;
    }
    const std::uint32_t bits = in_.Bits(pool + ".bits", 5);
    const double unit =
        is_double ? in_.Double(pool + ".unit") : static_cast<double>(in_.Float(pool + ".unit"));
    if (in_.good() && unit <= 0) {
      error_ = pool + " have a unit that is not above 0";
      return false;
    }
    std::vector<std::uint32_t> min;
    for (std::size_t k = 0; k < components; ++k) {
      min.push_back(static_cast<std::uint32_t>(in_.Int(pool + ".minimum" + kComponents[k], 32)));
    }
    Values(pool, count, (std::ldexp(1.0, static_cast<int>(bits)) - 1) / unit, min);
    return true;
  }

  void Pool3(const std::string& name, std::size_t components) {
    const std::string pool = prefix_ + name;
    const std::uint32_t count = in_.VarUInt(pool + ".count", 4);
    if (count == 0) {
      return;
    }
    const int bits = in_.Int(pool + ".bits", 6);
    std::vector<std::uint32_t> min;
    for (std::size_t k = 0; k < components; ++k) {
      min.push_back(static_cast<std::uint32_t>(in_.VarInt(pool + ".minimum" + kComponents[k], 4)));
    }
    Values(pool, count, std::ldexp(1.0, bits), min);
  }

  void Indices1(const std::string& array) {
    const std::uint32_t count = in_.Bits(array + ".count", 32);
    if (count == 0) {
      return;
    }
    const auto min = static_cast<std::uint32_t>(in_.Int(array + ".minimum", 32));
    const int bits = static_cast<int>(in_.Bits(array + ".bits", 5));
    for (std::uint32_t i = 0; i < count && in_.good(); ++i) {
      in_.Bits(At(array, i), bits, [min](std::uint32_t distance) {
        return std::to_string(static_cast<std::int32_t>(min + distance));
      });
      if (bits == 0) {
        return;  // All the others are the same, and take no bits.
      }
    }
  }

  // The indices of one kind so far, behind a delimiter before the beginning.
  struct History {
    std::vector<std::int64_t> indices = {-1};
    std::int64_t next = 0;
  };

  bool Offsets(const std::string& array, History* history) {
    const std::uint32_t count = in_.VarUInt(array + ".count", 4);
    bool told = true;
    for (std::uint32_t i = 0; i < count && told && in_.good(); ++i) {
      in_.VarUInt(At(array, i), 1, [&](std::uint32_t offset) {
        std::vector<std::int64_t>& indices = history->indices;
        told = offset <= indices.size();
        if (told) {
          indices.push_back(offset == 0 ? history->next++ : indices[indices.size() - offset]);
        }
        return told ? std::to_string(indices.back()) : "reaches too far";
      });
    }
    if (!told) {
      error_ = array + " has an offset that reaches too far";
    }
    return told;
  }

  std::string prefix_;
  FieldReader& in_;
  std::string& error_;
  std::uint32_t version_ = 0;
  History points_;
  History normals_;
  History tex_coords_;
};

}  // namespace

bool WalkShape(const std::string& prefix, FieldReader* reader, std::string* error) {
  return ShapeWalk(prefix, reader, error).Run();
}

}  // namespace command
}  // namespace pelorin
