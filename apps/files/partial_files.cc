// SPDX-License-Identifier: Apache-2.0
#include "apps/files/partial_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace pelorin {
namespace {

/// A rename that never replaces: a hard link fails if the name exists. File systems without links
/// get the plain rename after a look, which leaves a moment for another process to come between.
int RenameUnlessThere(const char* from, const char* to) {
  if (link(from, to) == 0) {
    unlink(from);
    return 0;
  }
  if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) {
    return errno;
  }
  if (access(to, F_OK) == 0) {
    return EEXIST;
  }
  return std::rename(from, to) == 0 ? 0 : errno;
}

}  // namespace

PartialFiles& PartialFiles::Instance() {
  // Never destroyed: the signal thread may still use it while the process ends.
  static PartialFiles* const files = new PartialFiles;
  return *files;
}

int PartialFiles::Create(const std::string& path, mode_t mode, int* descriptor) {
  const std::lock_guard<std::mutex> hold(lock_);
  *descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (*descriptor < 0) {
    return errno;
  }
  paths_.insert(path);
  return 0;
}

void PartialFiles::Delete(const std::string& path) {
  const std::lock_guard<std::mutex> hold(lock_);
  unlink(path.c_str());
  paths_.erase(path);
}

int PartialFiles::Rename(const std::string& path, const std::string& final_path, bool replace) {
  const std::lock_guard<std::mutex> hold(lock_);
  int error = 0;
  if (replace) {
    error = std::rename(path.c_str(), final_path.c_str()) == 0 ? 0 : errno;
  } else {
    error = RenameUnlessThere(path.c_str(), final_path.c_str());
  }
  if (error == 0) {
    paths_.erase(path);
  }
  return error;
}

void PartialFiles::DeleteAll() {
  const std::lock_guard<std::mutex> hold(lock_);
  for (const std::string& path : paths_) {
    unlink(path.c_str());
  }
  paths_.clear();
}

}  // namespace pelorin
