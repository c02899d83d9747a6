// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/scene_writer.h"

#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <assimp/Exporter.hpp>
#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "apps/mesh/faces.h"
#include "apps/mesh/mesh_file.h"
#include "util/geometry3d/mesh/bbox.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;
using geometry3d::Vector3;

// The entries of a corner; -1 where the set has no such array or no entry there.
using Entries = std::array<int, 3>;

int Entry(const std::vector<int>& indices, int position) {
  return indices.empty() ? -1 : indices[static_cast<std::size_t>(position)];
}

// The vertices and faces of one index set.
class MeshMaker {
 public:
  MeshMaker(const Shape& shape, const IndexSet& set, const Vector3<double>& origin)
      : shape_(shape), set_(set), origin_(origin) {
    ForEachFace(set, [this](const std::vector<int>& face) {
      if (face.size() == 2) {
        faces_.push_back({Vertex(face[0]), Vertex(face[1])});
      }
      for (std::size_t i = 2; i < face.size(); ++i) {
        faces_.push_back({Vertex(face[0]), Vertex(face[i - 1]), Vertex(face[i])});
      }
    });
  }

  bool empty() const { return faces_.empty(); }

  std::unique_ptr<aiMesh> Make() const {
    auto mesh = std::make_unique<aiMesh>();
    mesh->mPrimitiveTypes =
        set_.format() == IndexSet::kLines ? aiPrimitiveType_LINE : aiPrimitiveType_TRIANGLE;
    // The last material is the plain one, for sets without.
    mesh->mMaterialIndex = set_.material_index() >= 0
                               ? static_cast<unsigned>(set_.material_index())
                               : static_cast<unsigned>(shape_.materials().size());
    const std::size_t count = vertices_.size();
    mesh->mNumVertices = static_cast<unsigned>(count);
    mesh->mVertices = new aiVector3D[count];
    const bool normals = Has(1);
    const bool tex_coords = Has(2);
    if (normals) {
      mesh->mNormals = new aiVector3D[count];
    }
    if (tex_coords) {
      mesh->mTextureCoords[0] = new aiVector3D[count];
      mesh->mNumUVComponents[0] = 2;
    }
    for (std::size_t i = 0; i < count; ++i) {
      const Vector3<double> point =
          shape_.points()[static_cast<std::size_t>(vertices_[i][0])] - origin_;
      mesh->mVertices[i] = aiVector3D(static_cast<float>(point.x), static_cast<float>(point.y),
                                      static_cast<float>(point.z));
      if (normals) {
        const Vector3<float>& n = shape_.normals()[static_cast<std::size_t>(vertices_[i][1])];
        mesh->mNormals[i] = aiVector3D(n.x, n.y, n.z);
      }
      if (tex_coords) {
        const auto& t = shape_.tex_coords()[static_cast<std::size_t>(vertices_[i][2])];
        mesh->mTextureCoords[0][i] = aiVector3D(t.x, t.y, 0);
      }
    }
    mesh->mNumFaces = static_cast<unsigned>(faces_.size());
    mesh->mFaces = new aiFace[faces_.size()];
    for (std::size_t f = 0; f < faces_.size(); ++f) {
      mesh->mFaces[f].mNumIndices = static_cast<unsigned>(faces_[f].size());
      mesh->mFaces[f].mIndices = new unsigned[faces_[f].size()];
      std::copy(faces_[f].begin(), faces_[f].end(), mesh->mFaces[f].mIndices);
    }
    return mesh;
  }

 private:
  unsigned Vertex(int position) {
    const Entries entries = {Entry(set_.point_indices(), position),
                             Entry(set_.normal_indices(), position),
                             Entry(set_.tex_coord_indices(), position)};
    const auto [place, is_new] = places_.emplace(entries, static_cast<unsigned>(vertices_.size()));
    if (is_new) {
      vertices_.push_back(entries);
    }
    return place->second;
  }

  // Whether every vertex has its entry in the array.
  bool Has(std::size_t array) const {
    return std::all_of(vertices_.begin(), vertices_.end(),
                       [array](const Entries& entries) { return entries[array] >= 0; });
  }

  const Shape& shape_;
  const IndexSet& set_;
  const Vector3<double> origin_;
  std::map<Entries, unsigned> places_;
  std::vector<Entries> vertices_;
  std::vector<std::vector<unsigned>> faces_;
};

std::unique_ptr<aiMaterial> MakeMaterial(const geometry3d::Material& from,
                                         const std::string& name) {
  auto material = std::make_unique<aiMaterial>();
  const aiString text(name);
  material->AddProperty(&text, AI_MATKEY_NAME);
  const auto set_color = [&material](const Vector3<float>& color, const char* key) {
    const aiColor3D value(color.x, color.y, color.z);
    material->AddProperty(&value, 1, key, 0, 0);
  };
  set_color(from.ambient_color(), "$clr.ambient");
  set_color(from.diffuse_color(), "$clr.diffuse");
  set_color(from.specular_color(), "$clr.specular");
  set_color(from.emissive_color(), "$clr.emissive");
  set_color(from.transparent_color(), "$clr.transparent");
  const float shininess = from.shininess();
  material->AddProperty(&shininess, 1, AI_MATKEY_SHININESS);
  const float opacity = 1.0f - from.transparency();
  material->AddProperty(&opacity, 1, AI_MATKEY_OPACITY);
  const int two_sided = from.double_sided() ? 1 : 0;
  material->AddProperty(&two_sided, 1, AI_MATKEY_TWOSIDED);
  if (!from.texture_uri().empty()) {
    const aiString uri(from.texture_uri());
    material->AddProperty(&uri, AI_MATKEY_TEXTURE_DIFFUSE(0));
  }
  return material;
}

// Whole numbers, which a float holds exactly up to 2^24 and a reader adds without loss.
Vector3<double> Origin(const Shape& shape) {
  geometry3d::BBox3<double> box;
  for (const Vector3<double>& point : shape.points()) {
    box.ExtendToContainPoint(point);
  }
  if (box.IsEmpty()) {
    return {};
  }
  const Vector3<double> middle = box.GetCenter();
  return {std::rint(middle.x), std::rint(middle.y), std::rint(middle.z)};
}

template <typename T>
T** HandOver(std::vector<std::unique_ptr<T>>* from, unsigned* count) {
  *count = static_cast<unsigned>(from->size());
  T** const list = new T*[from->size()];
  std::transform(from->begin(), from->end(), list, [](auto& owned) { return owned.release(); });
  return list;
}

std::unique_ptr<aiScene> MakeScene(const Shape& shape, const Vector3<double>& origin) {
  auto scene = std::make_unique<aiScene>();
  std::vector<std::unique_ptr<aiMesh>> meshes;
  for (const IndexSet* set : shape.index_sets()) {
    const MeshMaker maker(shape, *set, origin);
    if (!maker.empty()) {
      meshes.push_back(maker.Make());
    }
  }
  std::vector<std::unique_ptr<aiMaterial>> materials;
  for (std::size_t i = 0; i < shape.materials().size(); ++i) {
    materials.push_back(MakeMaterial(*shape.materials()[i], MaterialName(i)));
  }
  geometry3d::Material plain;
  plain.set_diffuse_color(Vector3<float>(0.8f, 0.8f, 0.8f));
  materials.push_back(MakeMaterial(plain, "plain"));
  scene->mMeshes = HandOver(&meshes, &scene->mNumMeshes);
  scene->mMaterials = HandOver(&materials, &scene->mNumMaterials);

  scene->mRootNode = new aiNode("mesh");
  scene->mRootNode->mNumMeshes = scene->mNumMeshes;
  scene->mRootNode->mMeshes = new unsigned[scene->mNumMeshes];
  for (unsigned i = 0; i < scene->mNumMeshes; ++i) {
    scene->mRootNode->mMeshes[i] = i;
  }
  aiMatrix4x4::Translation(aiVector3D(static_cast<float>(origin.x), static_cast<float>(origin.y),
                                      static_cast<float>(origin.z)),
                           scene->mRootNode->mTransformation);
  return scene;
}

}  // namespace

bool WriteScene(const Shape& shape, const std::string& ending, std::string* bytes,
                std::string* error) {
  const bool glb = ending == "glb";
  // The writer of PLY looks at no nodes.
  const std::unique_ptr<aiScene> scene = MakeScene(shape, glb ? Origin(shape) : Vector3<double>());
  if (scene->mNumMeshes == 0) {
    *error = "there is no face to write";
    return false;
  }
  Assimp::Exporter exporter;
  const aiExportDataBlob* const blob = exporter.ExportToBlob(scene.get(), glb ? "glb2" : "plyb");
  if (blob == nullptr) {
    *error = std::string("it cannot be written: ") + exporter.GetErrorString();
    return false;
  }
  bytes->assign(static_cast<const char*>(blob->data), blob->size);
  return true;
}

}  // namespace mesh
}  // namespace pelorin
