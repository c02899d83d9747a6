// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/plain_glb.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/mesh/glb_file.h"

namespace pelorin {
namespace mesh {
namespace {

using Json = nlohmann::json;

constexpr std::uint64_t kNone = ~std::uint64_t{0};
constexpr int kMostNodeDepth = 256;
constexpr std::uint64_t kMostVertices = std::uint64_t{1} << 25;
constexpr std::uint64_t kMostCorners = std::uint64_t{1} << 27;

constexpr std::uint64_t kFloat = 5126;
constexpr char kSpecularGlossiness[] = "KHR_materials_pbrSpecularGlossiness";

[[noreturn]] void Damaged(const std::string& what) {
  throw GlbFault("its glTF document is damaged: " + what);
}

bool StartsWith(const std::string& text, std::string_view start) {
  return text.compare(0, start.size(), start) == 0;
}

// The reader takes the second for the mark of a URI that it has cut up already, and believes what
// follows.
bool IsDataUri(const std::string& text) {
  return StartsWith(text, "data:") || StartsWith(text, "\x10");
}

// The members of documents, with what they must be.

const Json* Find(const Json& object, const char* key) {
  const auto member = object.find(key);
  return member == object.end() ? nullptr : &*member;
}

const Json& Member(const Json& object, const char* key, const Json& otherwise) {
  const Json* const member = Find(object, key);
  if (member != nullptr && member->type() != otherwise.type()) {
    Damaged("\"" + std::string(key) + "\" is no " + otherwise.type_name());
  }
  return member == nullptr ? otherwise : *member;
}

const Json& Object(const Json& object, const char* key) {
  static const Json nothing = Json::object();
  return Member(object, key, nothing);
}

const Json& List(const Json& object, const char* key) {
  static const Json nothing = Json::array();
  return Member(object, key, nothing);
}

const Json& Entry(const Json& list, std::uint64_t index, const char* name) {
  if (index >= list.size() || !list[index].is_object()) {
    Damaged("there is no " + std::string(name) + " " + std::to_string(index));
  }
  return list[index];
}

// Larger ones are nobody's, and none of the sums below overflows.
std::uint64_t AsCount(const Json& value, const char* key) {
  constexpr std::uint64_t kMost = std::uint64_t{1} << 32;
  if (!value.is_number_unsigned() || value.get<std::uint64_t>() > kMost) {
    Damaged("\"" + std::string(key) + "\" is no count");
  }
  return value.get<std::uint64_t>();
}

std::uint64_t Count(const Json& object, const char* key, std::uint64_t otherwise) {
  const Json* const member = Find(object, key);
  return member == nullptr ? otherwise : AsCount(*member, key);
}

std::string Text(const Json& object, const char* key) {
  const Json* const member = Find(object, key);
  return member != nullptr && member->is_string() ? member->get<std::string>() : std::string();
}

bool IsFloat(const Json& value) {
  return value.is_number() && std::fabs(value.get<double>()) <= std::numeric_limits<float>::max();
}

void TakeFactor(const Json& from, const char* key, Json* to) {
  if (const Json* const value = Find(from, key)) {
    if (!IsFloat(*value)) {
      Damaged("\"" + std::string(key) + "\" is no number");
    }
    (*to)[key] = *value;
  }
}

void TakeFactors(const Json& from, const char* key, std::size_t count, Json* to) {
  if (const Json* const values = Find(from, key)) {
    if (!values->is_array() || values->size() != count ||
        !std::all_of(values->begin(), values->end(), IsFloat)) {
      Damaged("\"" + std::string(key) + "\" is no list of " + std::to_string(count) + " numbers");
    }
    (*to)[key] = *values;
  }
}

std::uint64_t SizeOfComponent(std::uint64_t type) {
  switch (type) {
  case 5120:
  case 5121:
    return 1;
  case 5122:
  case 5123:
    return 2;
  case 5125:
  case kFloat:
    return 4;
  default:
    Damaged("there is no component type " + std::to_string(type));
  }
}

// Numbers in the data, checked to be there.
struct Values {
  std::uint64_t component_type;
  std::string type;
  std::uint64_t count;
  std::uint64_t at;
  std::uint64_t element_size;
  std::uint64_t stride;

  std::uint64_t Span() const { return (count - 1) * stride + element_size; }
};

// What a few bytes can repeat many times over.
struct MeshSize {
  std::uint64_t vertices = 0;
  std::uint64_t corners = 0;

  void Add(const MeshSize& other) {
    vertices += other.vertices;
    corners += other.corners;
    if (vertices > kMostVertices || corners > kMostCorners) {
      throw GlbFault("it repeats its data to more than " + std::to_string(kMostVertices) +
                     " vertices or " + std::to_string(kMostCorners) + " corners");
    }
  }
};

class Rewriter {
 public:
  explicit Rewriter(const GlbFile& file) : from_(file.document), data_(file.data) {}

  Json Rewrite() {
    CheckExtensions();
    plain_["asset"] = {{"version", "2.0"}};
    plain_["buffers"] = Json::array({{{"byteLength", data_.size()}}});
    for (const char* list : {"accessors", "bufferViews", "nodes", "meshes", "materials"}) {
      plain_[list] = Json::array();
    }
    RewriteTextures();
    for (std::size_t i = 0; i < List(from_, "materials").size(); ++i) {
      RewriteMaterial(Entry(List(from_, "materials"), i, "material"));
    }
    for (std::size_t i = 0; i < List(from_, "meshes").size(); ++i) {
      RewriteMesh(Entry(List(from_, "meshes"), i, "mesh"));
    }
    if (plain_["accessors"].empty()) {
      throw GlbFault("there is no face in it");
    }
    RewriteNodes();
    return std::move(plain_);
  }

 private:
  void CheckExtensions() const {
    for (const Json& name : List(from_, "extensionsRequired")) {
      const std::string text = name.is_string() ? name.get<std::string>() : "?";
      const auto has_start = [&text](const char* start) { return StartsWith(text, start); };
      constexpr const char* kHarmless[] = {"KHR_materials_",    "KHR_texture_",
                                           "EXT_texture_",      "KHR_lights_",
                                           "EXT_mesh_features", "EXT_structural_metadata"};
      if (std::none_of(std::begin(kHarmless), std::end(kHarmless), has_start)) {
        throw GlbFault("it needs the glTF extension " + text + ", which is not read");
      }
    }
  }

  // The data may be followed by up to 3 bytes, and a file without any has no buffer.
  void CheckBuffer(std::uint64_t index) const {
    const Json& buffer = Entry(List(from_, "buffers"), index, "buffer");
    if (index != 0 || Find(buffer, "uri") != nullptr) {
      throw GlbFault("its data stands outside of it, and only what is inside is read");
    }
    if (Count(buffer, "byteLength", 0) > data_.size()) {
      throw GlbFault("it is cut off: it tells of more data than there is");
    }
  }

  Values ValuesOf(std::uint64_t index) const {
    const Json& accessor = Entry(List(from_, "accessors"), index, "accessor");
    const std::string name = "accessor " + std::to_string(index);
    if (Find(accessor, "sparse") != nullptr || Find(accessor, "bufferView") == nullptr) {
      throw GlbFault("its " + name + " is sparse, which is not read");
    }
    const Json& view =
        Entry(List(from_, "bufferViews"), Count(accessor, "bufferView", 0), "buffer view");
    CheckBuffer(Count(view, "buffer", kNone));
    const std::uint64_t begin = Count(view, "byteOffset", 0);
    const std::uint64_t length = Count(view, "byteLength", 0);
    Values values;
    values.component_type = Count(accessor, "componentType", 0);
    values.type = Text(accessor, "type");
    values.count = Count(accessor, "count", 0);
    const std::uint64_t offset = Count(accessor, "byteOffset", 0);
    values.at = begin + offset;
    const std::uint64_t components = values.type == "SCALAR" ? 1
                                     : values.type == "VEC2" ? 2
                                     : values.type == "VEC3" ? 3
                                                             : 0;
    values.element_size = components * SizeOfComponent(values.component_type);
    values.stride = Count(view, "byteStride", values.element_size);
    if (values.element_size == 0 || values.count == 0 || values.stride < values.element_size ||
        values.stride > 252 || offset + values.Span() > length || begin + length > data_.size()) {
      Damaged(name + " leads out of its data");
    }
    return values;
  }

  std::size_t AddValues(const Values& values) {
    Json view = {{"buffer", 0}, {"byteOffset", values.at}, {"byteLength", values.Span()}};
    if (values.stride != values.element_size) {
      view["byteStride"] = values.stride;
    }
    plain_["accessors"].push_back({{"bufferView", plain_["bufferViews"].size()},
                                   {"componentType", values.component_type},
                                   {"count", values.count},
                                   {"type", values.type}});
    plain_["bufferViews"].push_back(std::move(view));
    return plain_["accessors"].size() - 1;
  }

  // The place of an accessor's twin, which the primitives that name it share.
  template <typename Check>
  std::size_t Twin(std::uint64_t index, Check check) {
    const Values values = ValuesOf(index);
    check(values);
    const auto [twin, is_new] = twins_.emplace(index, 0);
    if (is_new) {
      twin->second = AddValues(values);
    }
    return twin->second;
  }

  void CheckIndices(const Values& indices, std::uint64_t vertices) const {
    if (indices.type != "SCALAR" || indices.stride != indices.element_size ||
        (indices.component_type != 5121 && indices.component_type != 5123 &&
         indices.component_type != 5125)) {
      Damaged("the indices of a face are no whole numbers");
    }
    for (std::uint64_t i = 0; i < indices.count; ++i) {
      std::uint64_t vertex = 0;
      for (std::uint64_t k = indices.element_size; k > 0; --k) {
        const std::uint64_t at = indices.at + i * indices.element_size + k - 1;
        vertex = vertex << 8 | static_cast<unsigned char>(data_[at]);
      }
      if (vertex >= vertices) {
        throw GlbFault("a face names a vertex that is not there");
      }
    }
  }

  // Points alone have no faces, and a reader may count those of too few corners below zero.
  static bool HasFaces(std::uint64_t mode, std::uint64_t corners) {
    switch (mode) {
    case 1:
    case 4:
      if (corners % (mode == 1 ? 2 : 3) != 0) {
        Damaged("a mesh has corners too many for its faces");
      }
      return true;
    case 2:
    case 3:
      return corners >= 2;
    case 5:
    case 6:
      return corners >= 3;
    default:
      return false;
    }
  }

  void RewritePrimitive(const Json& primitive, Json* primitives) {
    const Json& attributes = Object(primitive, "attributes");
    if (Find(attributes, "POSITION") == nullptr) {
      return;
    }
    const std::uint64_t vertices = ValuesOf(Count(attributes, "POSITION", 0)).count;
    const std::uint64_t indices = Count(primitive, "indices", kNone);
    const std::uint64_t mode = Count(primitive, "mode", 4);
    const std::uint64_t corners = indices == kNone ? vertices : ValuesOf(indices).count;
    if (!HasFaces(mode, corners)) {
      return;
    }
    sizes_of_meshes_.back().Add({vertices, corners});
    size_of_all_meshes_.Add({vertices, corners});
    Json plain = {{"mode", mode}, {"attributes", Json::object()}};
    constexpr std::pair<const char*, const char*> kTaken[] = {
        {"POSITION", "VEC3"}, {"NORMAL", "VEC3"}, {"TEXCOORD_0", "VEC2"}};
    for (const auto& [name, type] : kTaken) {
      if (Find(attributes, name) == nullptr) {
        continue;
      }
      plain["attributes"][name] =
          Twin(Count(attributes, name, 0), [&, name = name, type = type](const Values& values) {
            if (values.component_type != kFloat || values.type != type) {
              throw GlbFault("its " + std::string(name) + " values are no floats, and not read");
            }
            if (values.count != vertices) {
              Damaged("a mesh has " + std::string(name) + " values for other vertices");
            }
          });
    }
    if (indices != kNone) {
      plain["indices"] =
          Twin(indices, [this, vertices](const Values& values) { CheckIndices(values, vertices); });
    }
    if (const std::uint64_t material = Count(primitive, "material", kNone); material != kNone) {
      Entry(plain_["materials"], material, "material");
      plain["material"] = material;
    }
    primitives->push_back(std::move(plain));
  }

  void RewriteMesh(const Json& mesh) {
    sizes_of_meshes_.emplace_back();
    Json primitives = Json::array();
    const Json& list = List(mesh, "primitives");
    for (std::size_t i = 0; i < list.size(); ++i) {
      RewritePrimitive(Entry(list, i, "primitive"), &primitives);
    }
    plain_["meshes"].push_back({{"primitives", std::move(primitives)}});
  }

  // An image inside the file keeps its name, or else its number with a star.
  void RewriteTextures() {
    std::vector<std::string> names;
    std::size_t inside = 0;
    const Json& images = List(from_, "images");
    for (std::size_t i = 0; i < images.size(); ++i) {
      const Json& image = Entry(images, i, "image");
      std::string name = Text(image, "uri");
      if (name.empty() || IsDataUri(name)) {
        const std::string number = "*" + std::to_string(inside++);
        name = Text(image, "name");
        name = name.empty() || IsDataUri(name) ? number : name;
      }
      names.push_back(std::move(name));
    }
    const Json& textures = List(from_, "textures");
    for (std::size_t i = 0; i < textures.size(); ++i) {
      const std::uint64_t source = Count(Entry(textures, i, "texture"), "source", kNone);
      if (source != kNone) {
        Entry(images, source, "image");
        plain_["images"].push_back({{"uri", names[source]}});
        plain_["textures"].push_back({{"source", plain_["images"].size() - 1}});
        places_of_textures_[i] = plain_["textures"].size() - 1;
      }
    }
  }

  // A texture that only an extension describes is left out.
  void TakeTexture(const Json& from, const char* key, Json* to) const {
    const std::uint64_t index = Count(Object(from, key), "index", kNone);
    if (index == kNone) {
      return;
    }
    Entry(List(from_, "textures"), index, "texture");
    if (const auto place = places_of_textures_.find(index); place != places_of_textures_.end()) {
      (*to)[key] = {{"index", place->second}};
    }
  }

  void RewriteMaterial(const Json& from) {
    Json material = Json::object();
    if (const Json* const sides = Find(from, "doubleSided"); sides && sides->is_boolean()) {
      material["doubleSided"] = *sides;
    }
    if (const std::string mode = Text(from, "alphaMode"); mode == "MASK" || mode == "BLEND") {
      material["alphaMode"] = mode;
    }
    TakeFactors(from, "emissiveFactor", 3, &material);
    const Json& surface = Object(from, "pbrMetallicRoughness");
    Json& plain_surface = material["pbrMetallicRoughness"] = Json::object();
    TakeFactors(surface, "baseColorFactor", 4, &plain_surface);
    TakeFactor(surface, "metallicFactor", &plain_surface);
    TakeFactor(surface, "roughnessFactor", &plain_surface);
    TakeTexture(surface, "baseColorTexture", &plain_surface);
    const Json& extensions = Object(from, "extensions");
    if (Find(extensions, kSpecularGlossiness) != nullptr) {
      const Json& glossy = Object(extensions, kSpecularGlossiness);
      Json& plain_glossy = material["extensions"][kSpecularGlossiness] = Json::object();
      TakeFactors(glossy, "diffuseFactor", 4, &plain_glossy);
      TakeFactors(glossy, "specularFactor", 3, &plain_glossy);
      TakeFactor(glossy, "glossinessFactor", &plain_glossy);
      TakeTexture(glossy, "diffuseTexture", &plain_glossy);
      plain_["extensionsUsed"] = Json::array({kSpecularGlossiness});
    }
    plain_["materials"].push_back(std::move(material));
  }

  void RewriteNodes() {
    const Json& nodes = List(from_, "nodes");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const Json& node = Entry(nodes, i, "node");
      Json plain = Json::object();
      TakeFactors(node, "matrix", 16, &plain);
      TakeFactors(node, "translation", 3, &plain);
      TakeFactors(node, "rotation", 4, &plain);
      TakeFactors(node, "scale", 3, &plain);
      if (const std::uint64_t mesh = Count(node, "mesh", kNone); mesh != kNone) {
        const Json& drawn = Entry(plain_["meshes"], mesh, "mesh");
        if (!drawn["primitives"].empty()) {
          plain["mesh"] = mesh;
        }
      }
      if (const Json& children = List(node, "children"); !children.empty()) {
        plain["children"] = children;
      }
      plain_["nodes"].push_back(std::move(plain));
    }
    const Json& scenes = List(from_, "scenes");
    const Json roots = List(Entry(scenes, Count(from_, "scene", 0), "scene"), "nodes");
    CheckTree(roots);
    plain_["scenes"] = Json::array({{{"nodes", roots}}});
    plain_["scene"] = 0;
  }

  // Every node of the scene is met once; those that are not met lead nowhere.
  void CheckTree(const Json& roots) {
    Json& nodes = plain_["nodes"];
    std::vector<bool> met(nodes.size());
    MeshSize size;
    std::vector<std::pair<const Json*, int>> open = {{&roots, 1}};
    while (!open.empty()) {
      const auto [list, depth] = open.back();
      open.pop_back();
      if (depth > kMostNodeDepth) {
        throw GlbFault("its nodes are nested too deep");
      }
      for (const Json& child : *list) {
        const std::uint64_t index = AsCount(child, "node");
        const Json& node = Entry(nodes, index, "node");
        if (met[index]) {
          Damaged("node " + std::to_string(index) + " stands in several places");
        }
        met[index] = true;
        if (const std::uint64_t mesh = Count(node, "mesh", kNone); mesh != kNone) {
          size.Add(sizes_of_meshes_[mesh]);
        }
        if (const Json* const children = Find(node, "children")) {
          open.emplace_back(children, depth + 1);
        }
      }
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (!met[i]) {
        nodes[i].erase("children");
      }
    }
  }

  const Json& from_;
  const std::string_view data_;
  Json plain_ = Json::object();
  std::map<std::uint64_t, std::size_t> twins_;
  std::map<std::uint64_t, std::size_t> places_of_textures_;
  std::vector<MeshSize> sizes_of_meshes_;
  MeshSize size_of_all_meshes_;
};

}  // namespace

bool MakePlainGlb(const std::string& bytes, std::string* plain, std::string* error) {
  try {
    const GlbFile file = ParseGlb(bytes);
    *plain = GlbBytes(Rewriter(file).Rewrite(), file.data);
    return true;
  } catch (const GlbFault& fault) {
    *error = fault.what();
    return false;
  }
}

}  // namespace mesh
}  // namespace pelorin
