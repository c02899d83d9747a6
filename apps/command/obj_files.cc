// SPDX-License-Identifier: Apache-2.0
#include "apps/command/obj_files.h"

#include <filesystem>

#include "apps/command/output_file.h"
#include "apps/mesh/obj_writer.h"

namespace pelorin {
namespace command {

std::string MaterialLibraryPath(const std::string& obj_path) {
  return obj_path == "-" ? "" : std::filesystem::path(obj_path).replace_extension(".mtl").string();
}

Outcome WriteObjFiles(const geometry3d::Shape& mesh, const std::string& path, bool overwrite) {
  const std::string library = MaterialLibraryPath(path);
  if (library.empty() || mesh.materials().empty()) {
    return WriteOutput(path, overwrite, mesh::ObjText(mesh, ""));
  }
  if (library == path) {
    return Outcome::Fail(ExitCode::kWrongUsage, "this name is needed for the materials", path,
                         "give a name that ends in .obj");
  }
  OutputFile materials;
  OutputFile faces;
  if (Outcome outcome = materials.Open(library, overwrite); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = faces.Open(path, overwrite); !outcome.ok()) {
    return outcome;
  }
  materials.Write(mesh::MtlText(mesh));
  faces.Write(mesh::ObjText(mesh, std::filesystem::path(library).filename().string()));
  if (Outcome outcome = materials.Commit(); !outcome.ok()) {
    return outcome;
  }
  return faces.Commit();
}

}  // namespace command
}  // namespace pelorin
