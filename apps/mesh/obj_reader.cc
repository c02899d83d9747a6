// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/obj_reader.h"

#define TINYOBJLOADER_USE_DOUBLE
#include <tiny_obj_loader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "apps/mesh/mesh_builder.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;

geometry3d::Vector3<float> Color(const double (&color)[3]) {
  return {static_cast<float>(color[0]), static_cast<float>(color[1]), static_cast<float>(color[2])};
}

void TakeMaterials(const std::vector<tinyobj::material_t>& from, Shape* shape) {
  for (const tinyobj::material_t& source : from) {
    geometry3d::Material* const material = shape->AddNewMaterial();
    material->set_ambient_color(Color(source.ambient));
    material->set_diffuse_color(Color(source.diffuse));
    material->set_specular_color(Color(source.specular));
    material->set_emissive_color(Color(source.emission));
    material->set_transparent_color(Color(source.transmittance));
    material->set_shininess(static_cast<float>(source.shininess));
    material->set_transparency(static_cast<float>(1.0 - source.dissolve));
    material->set_texture_uri(source.diffuse_texname);
  }
}

void TakePools(const tinyobj::attrib_t& attributes, Shape* shape) {
  const std::vector<double>& v = attributes.vertices;
  for (std::size_t i = 0; i + 2 < v.size(); i += 3) {
    shape->mutable_points()->emplace_back(v[i], v[i + 1], v[i + 2]);
  }
  const std::vector<double>& n = attributes.normals;
  for (std::size_t i = 0; i + 2 < n.size(); i += 3) {
    shape->mutable_normals()->emplace_back(static_cast<float>(n[i]), static_cast<float>(n[i + 1]),
                                           static_cast<float>(n[i + 2]));
  }
  const std::vector<double>& t = attributes.texcoords;
  for (std::size_t i = 0; i + 1 < t.size(); i += 2) {
    shape->mutable_tex_coords()->emplace_back(static_cast<float>(t[i]),
                                              static_cast<float>(t[i + 1]));
  }
}

bool Names(int index, std::size_t pool_size) {
  return index >= 0 && static_cast<std::size_t>(index) < pool_size;
}

// Hands faces and lines on, as long as what they name is there.
class FaceTaker {
 public:
  FaceTaker(Shape* shape, std::string* error) : shape_(*shape), builder_(shape), error_(error) {}

  bool Take(const tinyobj::shape_t& part) {
    std::size_t at = 0;
    for (std::size_t face = 0; face < part.mesh.num_face_vertices.size(); ++face) {
      const std::size_t size = part.mesh.num_face_vertices[face];
      const int material = face < part.mesh.material_ids.size() ? part.mesh.material_ids[face] : -1;
      if (!TakeFace(part.mesh.indices, at, size, material)) {
        return false;
      }
      at += size;
    }
    at = 0;
    for (const int size : part.lines.num_line_vertices) {
      for (int i = 1; i < size; ++i, ++at) {
        if (!TakeFace(part.lines.indices, at, 2, -1)) {
          return false;
        }
      }
      ++at;
    }
    return true;
  }

  bool Finish() {
    if (shape_.index_sets().empty()) {
      *error_ = "there is no face in it";
      return false;
    }
    builder_.Finish();
    return true;
  }

 private:
  bool TakeFace(const std::vector<tinyobj::index_t>& indices, std::size_t at, std::size_t size,
                int material) {
    corners_.clear();
    ++count_;
    for (std::size_t i = at; i < at + size && i < indices.size(); ++i) {
      const Corner corner{indices[i].vertex_index, indices[i].normal_index,
                          indices[i].texcoord_index};
      if (!Names(corner.point, shape_.points().size()) ||
          (corner.normal != -1 && !Names(corner.normal, shape_.normals().size())) ||
          (corner.tex_coord != -1 && !Names(corner.tex_coord, shape_.tex_coords().size()))) {
        *error_ = "face " + std::to_string(count_) + " names a vertex that is not there";
        return false;
      }
      corners_.push_back(corner);
    }
    const bool known = Names(material, shape_.materials().size());
    builder_.AddFace(known ? material : -1, corners_);
    return true;
  }

  Shape& shape_;
  MeshBuilder builder_;
  std::string* error_;
  std::vector<Corner> corners_;
  std::size_t count_ = 0;
};

// The library keeps the number of a face's corners in one byte.
constexpr std::size_t kMostCorners = 255;
constexpr std::uintmax_t kMostLibraryBytes = std::uintmax_t{64} << 20;
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kNewObject = "o part";
constexpr std::size_t kMostWarnings = 100;

// What is wrong with the numbers behind `word`, to follow "line 7 "; empty if nothing is. The
// library would take 0 for a number that it cannot read.
std::string NumbersFault(std::string_view word, std::string_view rest) {
  const std::size_t least = word == "v" || word == "vn" ? 3 : word == "vt" ? 1 : 0;
  if (least == 0) {
    return "";
  }
  std::size_t count = 0;
  for (std::size_t at = rest.find_first_not_of(kBlanks); at != std::string_view::npos;
       at = rest.find_first_not_of(kBlanks, at)) {
    if (rest[at] == '#') {
      break;
    }
    const std::size_t end = std::min(rest.find_first_of(kBlanks, at), rest.size());
    // A plus in front is taken, of which the conversion knows nothing.
    at += rest.substr(at, 1) == "+" && rest.substr(at, 2) != "+-" ? 1 : 0;
    double number = 0.0;
    const auto [stop, fault] = std::from_chars(rest.data() + at, rest.data() + end, number);
    if (fault != std::errc() || stop != rest.data() + end || !std::isfinite(number)) {
      return "has a number that is none";
    }
    ++count;
    at = end;
  }
  return count < least ? "has too few numbers" : "";
}

// Whether all of `word` is a corner: "1", "1/2", "1//3" or "1/2/3". The library would stop at a
// letter, and wrap a number that is too large.
bool IsCorner(std::string_view word) {
  for (int part = 0; part < 3; ++part) {
    const std::size_t end = std::min(word.find('/'), word.size());
    if (end > 0 || part != 1 || end == word.size()) {
      int index = 0;
      const auto [stop, fault] = std::from_chars(word.data(), word.data() + end, index);
      if (fault != std::errc() || stop != word.data() + end || index == 0) {
        return false;
      }
    }
    if (end == word.size()) {
      return true;
    }
    word.remove_prefix(end + 1);
  }
  return false;
}

// Appends the corners behind `word` of a face or a line to `*taken`; what is wrong with them, to
// follow "line 7 ", empty if nothing is.
std::string TakeCorners(std::string_view word, std::string_view rest, std::string* taken) {
  taken->append(word);
  std::size_t count = 0;
  for (std::size_t at = rest.find_first_not_of(kBlanks); at != std::string_view::npos;
       at = rest.find_first_not_of(kBlanks, at)) {
    const std::size_t end = std::min(rest.find_first_of(kBlanks, at), rest.size());
    std::string_view corner = rest.substr(at, end - at);
    if (corner[0] == '#') {
      break;
    }
    // "1//" says no more than "1".
    corner = corner.substr(0, corner.find_last_not_of('/') + 1);
    if (!IsCorner(corner)) {
      return "has a corner that is none";
    }
    taken->append(" ").append(corner);
    ++count;
    at = end;
  }
  return word == "f" && count > kMostCorners
             ? "has more than " + std::to_string(kMostCorners) + " corners"
             : "";
}

bool HasNumbers(std::string_view word) {
  return word == "v" || word == "vn" || word == "vt" || word == "f" || word == "l";
}

// A line without the blanks in front of it, and its first word.
struct Line {
  std::string text;
  std::string_view word() const {
    return std::string_view(text).substr(0, text.find_first_of(kBlanks));
  }
  std::string_view rest() const { return std::string_view(text).substr(word().size()); }
};

// Takes the next line off `*text`, one of numbers with those that a backslash joins to it; how many
// there were. At the end of a remark a backslash is part of it.
std::size_t TakeLine(std::string_view* text, Line* line) {
  line->text.clear();
  for (std::size_t taken = 1;; ++taken) {
    const std::size_t end = std::min(text->find_first_of("\r\n"), text->size());
    const std::string_view part = text->substr(0, end);
    line->text.append(
        part.substr(taken > 1 ? 0 : std::min(part.find_first_not_of(kBlanks), part.size())));
    text->remove_prefix(std::min(text->size(), end + (text->substr(end, 2) == "\r\n" ? 2 : 1)));
    if (line->text.empty() || line->text.back() != '\\' || !HasNumbers(line->word()) ||
        line->text.find('#') != std::string::npos) {
      return taken;
    }
    line->text.back() = ' ';
    if (text->empty()) {
      return taken;
    }
  }
}

// The lines that make the mesh, as the library takes them right. It makes room for as many tags of
// subdivision surfaces as there claim to be, and reads weights without a look at their range. At a
// group it drops lines that stand there alone, and at a material it takes them twice; at an object
// it does neither, so each begins one. False for a face that the library would cut and for numbers
// and corners that it would make others of.
bool TakeLines(std::string_view text, std::string* taken, std::string* error) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  taken->reserve(text.size());
  Line line;
  for (std::size_t number = 1, lines = 0; !text.empty(); number += lines) {
    lines = TakeLine(&text, &line);
    const std::string_view word = line.word();
    std::string fault;
    if (word == "f" || word == "l") {
      fault = TakeCorners(word, line.rest(), taken);
    } else if (word == "g" || word == "o") {
      taken->append(kNewObject);
    } else if (word == "usemtl") {
      taken->append(kNewObject).append("\n").append(line.text);
    } else if (word != "t" && word != "vw" && word != "p") {
      fault = NumbersFault(word, line.rest());
      taken->append(line.text);
    }
    if (!fault.empty()) {
      *error = "line " + std::to_string(number) + " " + fault;
      return false;
    }
    taken->append("\n");
  }
  return true;
}

// Reads the libraries in one folder. What is no plain file might never end.
class LibraryReader : public tinyobj::MaterialReader {
 public:
  LibraryReader(const std::string& folder, std::vector<std::string>* warnings)
      : folder_(folder), warnings_(warnings) {}

  bool operator()(const std::string& name, std::vector<tinyobj::material_t>* materials,
                  std::map<std::string, int>* places, std::string* warning,
                  std::string* fault) override {
    const std::string path = folder_ + name;
    std::error_code code;
    if (!std::filesystem::is_regular_file(path, code) ||
        std::filesystem::file_size(path, code) > kMostLibraryBytes) {
      if (warnings_ != nullptr && warnings_->size() < kMostWarnings) {
        warnings_->push_back("its material library " + name + " cannot be read");
      }
      return false;
    }
    std::ifstream file(path);
    tinyobj::LoadMtl(places, materials, &file, warning, fault);
    return true;
  }

 private:
  const std::string folder_;
  std::vector<std::string>* warnings_;
};

std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace

bool ReadObj(const std::string& text, const std::string& folder, Shape* shape, std::string* error,
             std::vector<std::string>* warnings) {
  tinyobj::attrib_t attributes;
  std::vector<tinyobj::shape_t> parts;
  std::vector<tinyobj::material_t> materials;
  std::string warning;
  std::string fault;
  std::string lines;
  if (!TakeLines(text, &lines, error)) {
    return false;
  }
  std::istringstream stream(lines);
  LibraryReader libraries(folder, warnings);
  const bool read = tinyobj::LoadObj(&attributes, &parts, &materials, &warning, &fault, &stream,
                                     &libraries, /*triangulate=*/false);
  if (!read) {
    *error = fault.empty() ? "it cannot be read as OBJ" : FirstLine(fault);
    return false;
  }
  TakeMaterials(materials, shape);
  TakePools(attributes, shape);
  FaceTaker faces(shape, error);
  for (const tinyobj::shape_t& part : parts) {
    if (!faces.Take(part)) {
      return false;
    }
  }
  return faces.Finish();
}

}  // namespace mesh
}  // namespace pelorin
