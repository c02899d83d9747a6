// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset_file.h"

#include <cerrno>
#include <system_error>

#include "apps/dataset/schema.h"

namespace pelorin {
namespace {

std::string Reason(int code) {
  switch (code) {
  case EISDIR:
    return "it is a folder";
  case EEXIST:
    return "it is a device or a pipe";
  case ENOENT:
    return "make its folder first";
  default:
    return std::generic_category().message(code);
  }
}

}  // namespace

std::unique_ptr<ReplacedFile> BeginDatasetFile(const std::string& path, std::string* error) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    Fail(error, "no file name to write to");
    return nullptr;
  }
  std::unique_ptr<ReplacedFile> file;
  if (const int code = ReplacedFile::Begin(path, &file)) {
    Fail(error, path + ": cannot be written: " + Reason(code));
  }
  return file;
}

bool CommitDatasetFile(ReplacedFile* file, std::string* error) {
  if (const int code = file->Sync()) {
    return Fail(error, file->path() + ": cannot be written: " + Reason(code));
  }
  if (const int code = file->Commit(true)) {
    return Fail(error, file->path() + ": cannot be replaced: " + Reason(code));
  }
  return true;
}

}  // namespace pelorin
