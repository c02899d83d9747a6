// SPDX-License-Identifier: Apache-2.0
#include "apps/files/replaced_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <random>
#include <system_error>

#include "apps/files/partial_files.h"

namespace pelorin {
namespace {

constexpr int kMostNames = 100;
constexpr int kSuffixLength = 6;

std::string RandomSuffix() {
  static constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  std::uniform_int_distribution<std::size_t> place(0, sizeof kAlphabet - 2);
  std::string suffix;
  for (int i = 0; i < kSuffixLength; ++i) {
    suffix += kAlphabet[place(random)];
  }
  return suffix;
}

// Where the links of `path` end, whether there is a file or not; a link of a circle stays a link.
// Renaming a new file to a link would put it in the place of the link and leave the old file.
std::string EndOfLinks(std::filesystem::path path) {
  constexpr int kMostLinks = 40;  // As many as the system follows.
  std::error_code none;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, none); ++i) {
    const std::filesystem::path target = std::filesystem::read_symlink(path, none);
    path = path.parent_path() / target;  // The whole of an absolute one.
  }
  return path.string();
}

}  // namespace

// The system takes the process's mask of rights away from the mode. Looking the mask up here would
// mean to set it, for all threads, for a moment.
int ReplacedFile::Begin(const std::string& name, std::unique_ptr<ReplacedFile>* file) {
  const std::string path = EndOfLinks(name);
  // By the name itself: some links of the system lead to a pipe by a path that is none.
  struct stat old {};
  const bool replaces = stat(name.c_str(), &old) == 0;
  if (!replaces && errno == ELOOP) {
    return ELOOP;
  }
  if (replaces && !S_ISREG(old.st_mode)) {
    return S_ISDIR(old.st_mode) ? EISDIR : EEXIST;
  }
  constexpr mode_t kAnyNewFile = 0666;
  for (int i = 0; i < kMostNames; ++i) {
    const std::string partial_path = path + ".partial-" + RandomSuffix();
    int descriptor = -1;
    const int error = PartialFiles::Instance().Create(
        partial_path, replaces ? old.st_mode & kAnyNewFile : kAnyNewFile, &descriptor);
    if (error == EEXIST) {
      continue;
    }
    if (error != 0) {
      return error;
    }
    file->reset(new ReplacedFile(path, partial_path, descriptor));
    // Without the bits that lend somebody's rights: the new file can have another owner. A file
    // system without modes is no reason to fail.
    static_cast<void>(replaces && fchmod(descriptor, old.st_mode & 0777) != 0);
    return 0;
  }
  return EEXIST;
}

ReplacedFile::ReplacedFile(const std::string& path, const std::string& partial_path, int descriptor)
    : path_(path), partial_path_(partial_path), descriptor_(descriptor) {}

ReplacedFile::~ReplacedFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
  if (!partial_path_.empty()) {
    PartialFiles::Instance().Delete(partial_path_);
  }
}

int ReplacedFile::Sync() {
  return fsync(descriptor_) == 0 ? 0 : errno;
}

int ReplacedFile::Commit(bool replace) {
  const int descriptor = descriptor_;
  descriptor_ = -1;
  // Some file systems tell only now that there was no room.
  if (close(descriptor) != 0) {
    return errno;
  }
  const int error = PartialFiles::Instance().Rename(partial_path_, path_, replace);
  if (error == 0) {
    partial_path_.clear();
  }
  return error;
}

}  // namespace pelorin
