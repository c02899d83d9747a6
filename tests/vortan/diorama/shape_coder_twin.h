// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/vortan/diorama/stream_fields.h"
#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/binary_coder.h"

namespace test_support {

/// What the shape coders must do, field by field and without haste.
class ShapeEncoderTwin {
 public:
  ShapeEncoderTwin(int version, int bits) : version_(version), bits_(bits) {}

  /// The stream of a shape that the format can hold, without materials, with a point unit of 1.
  std::string Encode(const geometry3d::Shape& shape) {
    fields_.Header(static_cast<std::uint32_t>(version_));
    if (version_ == 3) {
      Encode3(shape);
    } else {
      Encode1(shape);
    }
    return fields_.Stream();
  }

 private:
  using Rows = std::vector<std::vector<int>>;

  static int Round(double value) {
    return static_cast<int>(static_cast<std::uint32_t>(std::llrint(value)));
  }
  // Row by row the quantised components, products in the type of the pool.
  template <typename T>
  static std::vector<int> Row(const geometry3d::Vector3<T>& v, T factor) {
    return {Round(static_cast<double>(v.x * factor)), Round(static_cast<double>(v.y * factor)),
            Round(static_cast<double>(v.z * factor))};
  }
  template <typename T>
  static std::vector<int> Row(const geometry3d::Vector2<T>& v, T factor) {
    return {Round(static_cast<double>(v.x * factor)), Round(static_cast<double>(v.y * factor))};
  }
  static int Width(std::uint32_t range) {
    int width = 1;
    while (width < 32 && range >> width != 0) {
      ++width;
    }
    return width;
  }

  template <typename WriteMin>
  void Section(const Rows& rows, const WriteMin& write_min) {
    std::vector<int> widths;
    std::vector<int> mins;
    for (std::size_t k = 0; k < rows[0].size(); ++k) {
      int min = rows[0][k];
      int max = rows[0][k];
      for (const std::vector<int>& row : rows) {
        min = std::min(min, row[k]);
        max = std::max(max, row[k]);
      }
      mins.push_back(min);
      widths.push_back(Width(static_cast<std::uint32_t>(max) - static_cast<std::uint32_t>(min)));
      write_min(min);
    }
    for (const int width : widths) {
      fields_.Bits(static_cast<std::uint32_t>(width), 5);
    }
    for (const std::vector<int>& row : rows) {
      for (std::size_t k = 0; k < row.size(); ++k) {
        fields_.Bits(static_cast<std::uint32_t>(row[k]) - static_cast<std::uint32_t>(mins[k]),
                     widths[k]);
      }
    }
  }

  void Encode1(const geometry3d::Shape& shape) {
    const double full = std::ldexp(1.0, bits_) - 1;
    Pool1(shape.points(), full, [&] { fields_.Double(1.0); });
    Pool1(shape.normals(), static_cast<float>(full), [&] { fields_.Float(1.0f); });
    Pool1(shape.tex_coords(), static_cast<float>(full), [&] { fields_.Float(1.0f); });
    fields_.Bits(0, 32);
    fields_.Bits(static_cast<std::uint32_t>(shape.index_sets().size()), 32);
    for (const geometry3d::IndexSet* set : shape.index_sets()) {
      fields_.Bits(static_cast<std::uint32_t>(set->format()), 8);
      fields_.Bits(static_cast<std::uint32_t>(set->material_index()), 16);
      Indices1(set->point_indices());
      Indices1(set->normal_indices());
      Indices1(set->tex_coord_indices());
    }
  }
  template <typename Vector, typename T, typename WriteUnit>
  void Pool1(const std::vector<Vector>& pool, T factor, const WriteUnit& write_unit) {
    fields_.Bits(static_cast<std::uint32_t>(pool.size()), 32);
    if (pool.empty()) {
      return;
    }
    fields_.Bits(static_cast<std::uint32_t>(bits_), 5);
    write_unit();
    Rows rows;
    for (const Vector& value : pool) {
      rows.push_back(Row(value, factor));
    }
    Section(rows, [&](int min) { fields_.Bits(static_cast<std::uint32_t>(min), 32); });
  }
  void Indices1(const std::vector<int>& indices) {
    fields_.Bits(static_cast<std::uint32_t>(indices.size()), 32);
    if (indices.empty()) {
      return;
    }
    const auto min = static_cast<std::uint32_t>(*std::min_element(indices.begin(), indices.end()));
    const auto max = static_cast<std::uint32_t>(*std::max_element(indices.begin(), indices.end()));
    fields_.Bits(min, 32).Bits(static_cast<std::uint32_t>(Width(max - min)), 5);
    for (const int index : indices) {
      fields_.Bits(static_cast<std::uint32_t>(index) - min, Width(max - min));
    }
  }

  // The index stream of one kind: what was written, and where each entry was used last.
  struct Kind {
    std::vector<int> written;
    std::vector<int> order;
  };
  void Encode3(const geometry3d::Shape& shape) {
    Kind points;
    Kind normals;
    Kind tex_coords;
    fields_.VarUInt(0, 4).VarUInt(static_cast<std::uint32_t>(shape.index_sets().size()), 4);
    for (const geometry3d::IndexSet* set : shape.index_sets()) {
      fields_.VarUInt(static_cast<std::uint32_t>(set->format()), 4);
      fields_.VarInt(set->material_index(), 4);
      Indices3(set->point_indices(), &points);
      Indices3(set->normal_indices(), &normals);
      Indices3(set->tex_coord_indices(), &tex_coords);
    }
    const double factor = std::ldexp(1.0, bits_);
    Pool3(shape.points(), points.order, factor);
    Pool3(shape.normals(), normals.order, static_cast<float>(factor));
    Pool3(shape.tex_coords(), tex_coords.order, static_cast<float>(factor));
  }
  void Indices3(const std::vector<int>& indices, Kind* kind) {
    fields_.VarUInt(static_cast<std::uint32_t>(indices.size()), 4);
    bool first_delimiter = true;
    for (const int index : indices) {
      // Looks back entry by entry; a first delimiter to one before the beginning.
      std::uint32_t offset = 1;
      std::size_t at = kind->written.size();
      while (at > 0 && (kind->written[at - 1] != index || (index < 0 && first_delimiter))) {
        --at;
        ++offset;
      }
      if (at == 0 && index >= 0) {
        offset = 0;
        kind->order.push_back(index);
      }
      first_delimiter = first_delimiter && index >= 0;
      fields_.VarUInt(offset, 1);
      kind->written.push_back(index);
    }
  }
  template <typename Vector, typename T>
  void Pool3(const std::vector<Vector>& pool, const std::vector<int>& order, T factor) {
    fields_.VarUInt(static_cast<std::uint32_t>(order.size()), 4);
    if (order.empty()) {
      return;
    }
    fields_.Bits(static_cast<std::uint32_t>(bits_), 6);
    Rows rows;
    for (const int entry : order) {
      rows.push_back(Row(pool[static_cast<std::size_t>(entry)], factor));
    }
    Section(rows, [&](int min) { fields_.VarInt(min, 4); });
  }

  int version_;
  int bits_;
  StreamFields fields_;
};

/// Reads a stream behind its header with one call for each field. Sizes that a shape of this budget
/// would not have end it as the real one does, by `std::bad_alloc`.
class ShapeDecoderTwin {
 public:
  ShapeDecoderTwin(const std::string& stream, std::size_t budget_bytes) : stream_(stream) {
    in_.Init(stream_.data(), static_cast<int>(stream_.size()));
    in_.mutable_budget()->set_bytes(budget_bytes);
  }

  bool Decode(geometry3d::Shape* shape) {
    in_.ReadBits(16);
    version_ = static_cast<int>(in_.ReadBits(16));
    return version_ == 3 ? Decode3(shape) : Decode1(shape);
  }

 private:
  template <typename T>
  void Resize(unsigned count, std::size_t size, std::vector<T>* values) {
    in_.mutable_budget()->Charge(static_cast<std::size_t>(static_cast<int>(count)), size);
    values->resize(count);
  }
  geometry3d::Vector3<float> Color() {
    geometry3d::Vector3<float> color;
    color.x = static_cast<float>(in_.ReadBits(8)) / 255.0f;
    color.y = static_cast<float>(in_.ReadBits(8)) / 255.0f;
    color.z = static_cast<float>(in_.ReadBits(8)) / 255.0f;
    return color;
  }
  void Number(double factor, std::uint32_t min, unsigned width, double* value) {
    *value = static_cast<std::int32_t>(min + in_.ReadBits(static_cast<int>(width))) / factor;
  }
  void Number(float factor, std::uint32_t min, unsigned width, float* value) {
    const std::uint32_t sum = min + in_.ReadBits(static_cast<int>(width));
    *value = static_cast<float>(static_cast<std::int32_t>(sum)) / factor;
  }
  template <typename T, typename ReadMin>
  void Section(T factor, const ReadMin& read_min, std::vector<geometry3d::Vector3<T>>* pool) {
    const std::uint32_t x = read_min();
    const std::uint32_t y = read_min();
    const std::uint32_t z = read_min();
    const unsigned x_bits = in_.ReadBits(5);
    const unsigned y_bits = in_.ReadBits(5);
    const unsigned z_bits = in_.ReadBits(5);
    for (auto& value : *pool) {
      Number(factor, x, x_bits, &value.x);
      Number(factor, y, y_bits, &value.y);
      Number(factor, z, z_bits, &value.z);
    }
  }
  template <typename T, typename ReadMin>
  void Section(T factor, const ReadMin& read_min, std::vector<geometry3d::Vector2<T>>* pool) {
    const std::uint32_t x = read_min();
    const std::uint32_t y = read_min();
    const unsigned x_bits = in_.ReadBits(5);
    const unsigned y_bits = in_.ReadBits(5);
    for (auto& value : *pool) {
      Number(factor, x, x_bits, &value.x);
      Number(factor, y, y_bits, &value.y);
    }
  }

  bool Decode1(geometry3d::Shape* shape) {
    const auto read_min = [this] { return in_.ReadBits(32); };
    const auto full = [](unsigned bits) { return std::ldexp(1.0, static_cast<int>(bits)) - 1; };
    Resize(in_.ReadBits(32), sizeof(shape->points()[0]), shape->mutable_points());
    if (!shape->points().empty()) {
      const unsigned bits = in_.ReadBits(5);
      const double unit = in_.ReadDouble();
      if (unit <= 0) {
        return false;
      }
      Section(full(bits) / unit, read_min, shape->mutable_points());
    }
    const auto float_pool = [&](auto* pool) {
      Resize(in_.ReadBits(32), sizeof((*pool)[0]), pool);
      if (pool->empty()) {
        return true;
      }
      const unsigned bits = in_.ReadBits(5);
      const float unit = in_.ReadFloat();
      if (unit <= 0) {
        return false;
      }
      Section(static_cast<float>(full(bits) / static_cast<double>(unit)), read_min, pool);
      return true;
    };
    if (!float_pool(shape->mutable_normals()) || !float_pool(shape->mutable_tex_coords())) {
      return false;
    }
    const int materials = in_.ReadInt(32);
    for (int i = 0; i < materials; ++i) {
      in_.mutable_budget()->Charge(1, sizeof(geometry3d::Material));
      geometry3d::Material* const material = shape->AddNewMaterial();
      material->set_ambient_color(Color());
      material->set_diffuse_color(Color());
      material->set_specular_color(Color());
      material->set_shininess(static_cast<float>(in_.ReadBits(8)) * 128.0f / 255.0f);
      material->set_texture_uri(in_.ReadString(16));
      if (version_ == 2) {
        material->set_emissive_color(Color());
        material->set_transparent_color(Color());
        material->set_transparency(static_cast<float>(in_.ReadBits(8)) / 255.0f);
        material->set_double_sided(in_.ReadBits(1) == 1);
      }
    }
    const int sets = in_.ReadInt(32);
    for (int i = 0; i < sets; ++i) {
      in_.mutable_budget()->Charge(1, sizeof(geometry3d::IndexSet));
      geometry3d::IndexSet* const set = shape->AddNewIndexSet();
      set->set_format(static_cast<int>(in_.ReadBits(8)));
      set->set_material_index(in_.ReadInt(16));
      for (std::vector<int>* indices : {set->mutable_point_indices(), set->mutable_normal_indices(),
                                        set->mutable_tex_coord_indices()}) {
        Resize(in_.ReadBits(32), sizeof(int), indices);
        if (!indices->empty()) {
          const unsigned min = in_.ReadBits(32);
          const unsigned bits = in_.ReadBits(5);
          for (int& index : *indices) {
            index = static_cast<int>(min + in_.ReadBits(static_cast<int>(bits)));
          }
        }
      }
    }
    return true;
  }

  bool Decode3(geometry3d::Shape* shape) {
    const auto materials = static_cast<int>(in_.ReadVarUInt(4));
    for (int i = 0; i < materials; ++i) {
      in_.mutable_budget()->Charge(1, sizeof(geometry3d::Material));
      geometry3d::Material* const material = shape->AddNewMaterial();
      material->set_ambient_color(Color());
      material->set_diffuse_color(Color());
      material->set_specular_color(Color());
      material->set_emissive_color(Color());
      material->set_transparent_color(Color());
      material->set_shininess(static_cast<float>(in_.ReadBits(8)) * 128.0f / 255.0f);
      material->set_transparency(static_cast<float>(in_.ReadBits(8)) / 255.0f);
      material->set_texture_uri(in_.ReadVarString(1));
      material->set_double_sided(in_.ReadBits(1) == 1);
    }
    std::vector<int> history[3];
    int next[3] = {0, 0, 0};
    const auto sets = static_cast<int>(in_.ReadVarUInt(4));
    for (int i = 0; i < sets; ++i) {
      in_.mutable_budget()->Charge(1, sizeof(geometry3d::IndexSet));
      geometry3d::IndexSet* const set = shape->AddNewIndexSet();
      set->set_format(static_cast<int>(in_.ReadVarUInt(4)));
      set->set_material_index(in_.ReadVarInt(4));
      if (!Offsets(&history[0], &next[0], set->mutable_point_indices()) ||
          !Offsets(&history[1], &next[1], set->mutable_normal_indices()) ||
          !Offsets(&history[2], &next[2], set->mutable_tex_coord_indices())) {
        return false;
      }
    }
    Pool3<double>(shape->mutable_points());
    Pool3<float>(shape->mutable_normals());
    Pool3<float>(shape->mutable_tex_coords());
    return true;
  }
  bool Offsets(std::vector<int>* history, int* next, std::vector<int>* indices) {
    Resize(in_.ReadVarUInt(4), 2 * sizeof(int), indices);
    for (int& index : *indices) {
      const std::size_t offset = in_.ReadVarUInt(1);
      if (offset > history->size() + 1) {
        return false;
      }
      if (offset == 0) {
        index = (*next)++;
      } else {
        index = offset == history->size() + 1 ? -1 : (*history)[history->size() - offset];
      }
      history->push_back(index);
    }
    return true;
  }
  template <typename T, typename Pool>
  void Pool3(Pool* pool) {
    Resize(in_.ReadVarUInt(4), sizeof((*pool)[0]), pool);
    if (!pool->empty()) {
      const int bits = in_.ReadInt(6);
      const auto read_min = [this] { return static_cast<unsigned>(in_.ReadVarInt(4)); };
      Section(static_cast<T>(std::ldexp(1.0, bits)), read_min, pool);
    }
  }

  const std::string& stream_;
  vortan::BinaryDecoder in_;
  int version_ = 0;
};

}  // namespace test_support
