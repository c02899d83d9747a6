// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/height_file.h"

#include <dlfcn.h>

#include <filesystem>

#include "apps/importer/street_source.h"
#include "spatial/geodesy/elevation_signature.h"

namespace pelorin {

namespace {

constexpr char kModule[] = "libpelorin_height_files.so";

// The folder of the library, by any function of it: the module stands beside it.
std::filesystem::path LibraryFolder() {
  Dl_info info{};
  void* const any = reinterpret_cast<void*>(&nimbara::spatial::ComputeElevationQuerySignature);
  if (dladdr(any, &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  return std::filesystem::path(info.dli_fname).parent_path();
}

// Stays loaded: what is left of such libraries at the end of a process is not ours to order.
HeightFileReader LoadReader(std::string* error) {
  for (const std::string& name : {(LibraryFolder() / kModule).string(), std::string(kModule)}) {
    if (void* const module = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {
      return reinterpret_cast<HeightFileReader>(dlsym(module, kHeightFileReaderName));
    }
    const char* const why = dlerror();
    *error = why == nullptr ? "the reader of height files cannot be loaded" : why;
  }
  return nullptr;
}

}  // namespace

HeightGrid ReadHeightFile(const std::string& path) {
  std::string error;
  const HeightFileReader read = LoadReader(&error);
  HeightGrid grid;
  // GDAL gives names with certain beginnings a meaning of their own; none of them begins with '/'
  // and names a file.
  const std::string file = std::filesystem::absolute(path).string();
  if (read == nullptr || !read(file.c_str(), &grid, &error)) {
    throw InputFault(path + ": " + error);
  }
  return grid;
}

}  // namespace pelorin
