// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/replaced_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "apps/dataset/schema.h"

namespace pelorin {

namespace {

std::string SystemMessage(int code) {
  return std::generic_category().message(code);
}

// mkstemp makes a file that only its owner may read; a dataset gets what any new file would get.
void GiveUsualRights(int descriptor) {
  const mode_t mask = umask(0);
  umask(mask);
  if (fchmod(descriptor, 0666 & ~mask) != 0) {
    // A file system without rights refuses this, and then there is nothing to give.
    return;
  }
}

}  // namespace

std::unique_ptr<ReplacedFile> ReplacedFile::Begin(const std::string& path, std::string* error) {
  std::error_code ignored;
  if (path.empty() || path.find('\0') != std::string::npos) {
    Fail(error, "no file name to write to");
    return nullptr;
  }
  if (std::filesystem::is_directory(path, ignored)) {
    Fail(error, path + ": cannot be written: it is a folder");
    return nullptr;
  }
  std::string partial = path + ".partial-XXXXXX";
  const int descriptor = mkstemp(&partial[0]);
  if (descriptor < 0) {
    Fail(error, path + ": cannot be written: " + SystemMessage(errno));
    return nullptr;
  }
  GiveUsualRights(descriptor);
  close(descriptor);
  return std::unique_ptr<ReplacedFile>(new ReplacedFile(path, partial));
}

ReplacedFile::ReplacedFile(std::string path, std::string partial_path)
    : path_(std::move(path)), partial_path_(std::move(partial_path)) {}

ReplacedFile::~ReplacedFile() {
  if (!partial_path_.empty()) {
    unlink(partial_path_.c_str());
  }
}

bool ReplacedFile::Commit(std::string* error) {
  const int descriptor = open(partial_path_.c_str(), O_RDONLY | O_CLOEXEC);
  const bool on_disk = descriptor >= 0 && fsync(descriptor) == 0;
  const int disk_code = errno;
  if (descriptor >= 0) {
    close(descriptor);
  }
  if (!on_disk) {
    return Fail(error, path_ + ": cannot be written: " + SystemMessage(disk_code));
  }
  if (rename(partial_path_.c_str(), path_.c_str()) != 0) {
    return Fail(error, path_ + ": cannot be replaced: " + SystemMessage(errno));
  }
  partial_path_.clear();
  return true;
}

}  // namespace pelorin
