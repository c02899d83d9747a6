// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/scene_reader.h"

#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <cstddef>
#include <cstring>
#include <exception>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "apps/mesh/mesh_builder.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;
using geometry3d::Vector2;
using geometry3d::Vector3;
using Transform = aiMatrix4x4t<double>;

// Gives equal vectors one place in a pool.
template <typename Vector>
class UniquePool {
 public:
  explicit UniquePool(std::vector<Vector>* pool) : pool_(pool) {}

  int Add(const Vector& vector) {
    const std::string key(reinterpret_cast<const char*>(&vector), sizeof(vector));
    const auto [place, is_new] = places_.emplace(key, static_cast<int>(pool_->size()));
    if (is_new) {
      pool_->push_back(vector);
    }
    return place->second;
  }

 private:
  std::vector<Vector>* pool_;
  std::unordered_map<std::string, int> places_;
};

Vector3<float> Color(const aiMaterial& from, const char* key) {
  aiColor3D color(0, 0, 0);
  from.Get(key, 0, 0, color);
  return {color.r, color.g, color.b};
}

float Factor(const aiMaterial& from, const char* key, float otherwise) {
  float value = otherwise;
  from.Get(key, 0, 0, value);
  return value;
}

// Textures inside the file have a number for a path, and a name beside it or none.
std::string TextureName(const aiScene& scene, const aiMaterial& material) {
  aiString path;
  if (material.GetTexture(aiTextureType_BASE_COLOR, 0, &path) != aiReturn_SUCCESS &&
      material.GetTexture(aiTextureType_DIFFUSE, 0, &path) != aiReturn_SUCCESS) {
    return "";
  }
  const aiTexture* const inside = scene.GetEmbeddedTexture(path.C_Str());
  return inside != nullptr && inside->mFilename.length > 0 ? inside->mFilename.C_Str()
                                                           : path.C_Str();
}

void TakeMaterials(const aiScene& scene, Shape* shape) {
  for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
    const aiMaterial& source = *scene.mMaterials[i];
    geometry3d::Material* const material = shape->AddNewMaterial();
    material->set_ambient_color(Color(source, "$clr.ambient"));
    material->set_diffuse_color(Color(source, "$clr.diffuse"));
    material->set_specular_color(Color(source, "$clr.specular"));
    material->set_emissive_color(Color(source, "$clr.emissive"));
    material->set_transparent_color(Color(source, "$clr.transparent"));
    material->set_shininess(Factor(source, "$mat.shininess", 0.0f));
    material->set_transparency(1.0f - Factor(source, "$mat.opacity", 1.0f));
    int two_sided = 0;
    source.Get("$mat.twosided", 0, 0, two_sided);
    material->set_double_sided(two_sided != 0);
    material->set_texture_uri(TextureName(scene, source));
  }
}

// The library adds a material of its own for meshes without.
void DropUnusedMaterials(Shape* shape) {
  std::vector<bool> used(shape->materials().size());
  for (const geometry3d::IndexSet* set : shape->index_sets()) {
    if (set->GetMaterial() != nullptr) {
      used[static_cast<std::size_t>(set->material_index())] = true;
    }
  }
  for (std::size_t i = used.size(); i > 0; --i) {
    if (!used[i - 1]) {
      shape->RemoveMaterial(static_cast<int>(i - 1));
    }
  }
}

class SceneTaker {
 public:
  SceneTaker(const aiScene& scene, Shape* shape)
      : scene_(scene), points_(shape->mutable_points()), normals_(shape->mutable_normals()),
        tex_coords_(shape->mutable_tex_coords()), builder_(shape) {}

  // By a stack of its own: a file may nest nodes as deeply as it likes.
  void TakeNodes() {
    std::vector<std::pair<const aiNode*, Transform>> open = {{scene_.mRootNode, Transform()}};
    while (!open.empty()) {
      const auto [node, parent] = open.back();
      open.pop_back();
      const Transform transform = parent * Transform(node->mTransformation);
      for (unsigned i = 0; i < node->mNumMeshes; ++i) {
        TakeMesh(*scene_.mMeshes[node->mMeshes[i]], transform);
      }
      for (unsigned i = node->mNumChildren; i > 0; --i) {
        open.emplace_back(node->mChildren[i - 1], transform);
      }
    }
    builder_.Finish();
  }

 private:
  void TakeMesh(const aiMesh& mesh, const Transform& transform) {
    std::vector<Corner> vertices(mesh.mNumVertices);
    // Normals stay at right angles to their surface by the inverse's transpose; where there is no
    // inverse the surface is flat anyway.
    aiMatrix3x3t<double> turn(transform);
    turn.Inverse().Transpose();
    const bool moves = !transform.IsIdentity();
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
      const aiVector3t<double> point =
          transform *
          aiVector3t<double>(mesh.mVertices[i].x, mesh.mVertices[i].y, mesh.mVertices[i].z);
      vertices[i].point = points_.Add({point.x, point.y, point.z});
      if (mesh.HasNormals()) {
        const aiVector3D& n = mesh.mNormals[i];
        // Where nothing moves they keep the length that the file gives them.
        vertices[i].normal = normals_.Add(moves ? Turned(turn, n) : Vector3<float>(n.x, n.y, n.z));
      }
      if (mesh.HasTextureCoords(0)) {
        const aiVector3D& t = mesh.mTextureCoords[0][i];
        vertices[i].tex_coord = tex_coords_.Add({t.x, t.y});
      }
    }
    std::vector<Corner> corners;
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      const aiFace& face = mesh.mFaces[f];
      corners.clear();
      for (unsigned k = 0; k < face.mNumIndices; ++k) {
        if (face.mIndices[k] < mesh.mNumVertices) {
          corners.push_back(vertices[face.mIndices[k]]);
        }
      }
      if (corners.size() == face.mNumIndices) {
        builder_.AddFace(static_cast<int>(mesh.mMaterialIndex), corners);
      }
    }
  }

  static Vector3<float> Turned(const aiMatrix3x3t<double>& turn, const aiVector3D& n) {
    const aiVector3t<double> turned = turn * aiVector3t<double>(n.x, n.y, n.z);
    return Vector3<float>(static_cast<float>(turned.x), static_cast<float>(turned.y),
                          static_cast<float>(turned.z))
        .Normalize();
  }

  const aiScene& scene_;
  UniquePool<Vector3<double>> points_;
  UniquePool<Vector3<float>> normals_;
  UniquePool<Vector2<float>> tex_coords_;
  MeshBuilder builder_;
};

}  // namespace

bool ReadScene(const std::string& bytes, const std::string& ending, Shape* shape,
               std::string* error) {
  try {
    Assimp::Importer importer;
    const aiScene* const scene = importer.ReadFileFromMemory(
        bytes.data(), bytes.size(), aiProcess_ValidateDataStructure, ending.c_str());
    if (scene == nullptr || scene->mRootNode == nullptr) {
      *error = std::string("it cannot be read: ") + importer.GetErrorString();
      return false;
    }
    TakeMaterials(*scene, shape);
    SceneTaker(*scene, shape).TakeNodes();
    DropUnusedMaterials(shape);
  } catch (const std::exception& fault) {
    *error = std::string("it cannot be read: ") + fault.what();
    return false;
  }
  if (shape->index_sets().empty()) {
    *error = "there is no face in it";
    return false;
  }
  return true;
}

}  // namespace mesh
}  // namespace pelorin
