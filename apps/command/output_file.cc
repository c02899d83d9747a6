// SPDX-License-Identifier: Apache-2.0
#include "apps/command/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "apps/command/partial_files.h"

namespace pelorin {
namespace command {
namespace {

Outcome CannotWrite(const std::string& path, int error) {
  return Outcome::Fail(ExitCode::kDataError, std::string("cannot be written: ") + strerror(error),
                       path == "-" ? "standard output" : path,
                       error == ENOENT ? "make its folder first" : "");
}

Outcome AlreadyThere(const std::string& path) {
  return Outcome::Fail(ExitCode::kWrongUsage, "is already there", path,
                       "give --overwrite to replace it");
}

/// Where the links of `path` end, whether there is a file or not; a link of a circle stays a link.
/// Renaming a new file to a link would put it in the place of the link and leave the old file.
std::string EndOfLinks(std::filesystem::path path) {
  constexpr int kMostLinks = 40;  // As many as the system follows.
  std::error_code none;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, none); ++i) {
    const std::filesystem::path target = std::filesystem::read_symlink(path, none);
    path = path.parent_path() / target;  // The whole of an absolute one.
  }
  return path.string();
}

/// What a new file gets: the mode of the file that it replaces, otherwise what the user's mask
/// says.
mode_t ModeFor(const struct stat* old) {
  if (old != nullptr) {
    return old->st_mode & 07777;
  }
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::~OutputFile() {
  if (owns_descriptor_) {
    close(descriptor_);
  }
  if (!partial_path_.empty()) {
    unlink(partial_path_.c_str());
    PartialFiles::Instance().Remove(partial_path_);
  }
}

Outcome OutputFile::Open(const std::string& path, bool overwrite) {
  path_ = path == "-" ? path : EndOfLinks(path);
  replace_ = overwrite;
  if (path == "-") {
    descriptor_ = STDOUT_FILENO;
    return Outcome::Done();
  }
  if (Outcome outcome = CheckMayWrite(path, overwrite); !outcome.ok()) {
    return outcome;
  }
  struct stat there {};
  const bool exists = stat(path_.c_str(), &there) == 0;
  if (exists && !S_ISREG(there.st_mode)) {
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    owns_descriptor_ = descriptor_ >= 0;
    return owns_descriptor_ ? Outcome::Done() : CannotWrite(path_, errno);
  }
  if (!exists && errno == ELOOP) {
    return CannotWrite(path_, ELOOP);
  }
  std::string beside = path_ + ".XXXXXX";
  descriptor_ = mkostemp(beside.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    return CannotWrite(path_, errno);
  }
  owns_descriptor_ = true;
  partial_path_ = beside;
  PartialFiles::Instance().Add(partial_path_);
  // A file system without modes is no reason to fail.
  if (fchmod(descriptor_, ModeFor(exists ? &there : nullptr)) != 0) {
    errno = 0;
  }
  return Outcome::Done();
}

void OutputFile::Write(std::string_view bytes) {
  while (!bytes.empty() && write_error_ == 0) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      write_error_ = errno;
    }
  }
}

Outcome OutputFile::Commit() {
  if (owns_descriptor_) {
    owns_descriptor_ = false;
    if (close(descriptor_) != 0 && write_error_ == 0) {
      write_error_ = errno;
    }
  }
  if (write_error_ != 0) {
    return CannotWrite(path_, write_error_);
  }
  if (partial_path_.empty()) {
    return Outcome::Done();
  }
  const int error = PartialFiles::Instance().Rename(partial_path_, path_, replace_);
  if (error == EEXIST) {
    return AlreadyThere(path_);
  }
  if (error != 0) {
    return CannotWrite(path_, error);
  }
  partial_path_.clear();
  return Outcome::Done();
}

Outcome CheckMayWrite(const std::string& path, bool overwrite) {
  struct stat there {};
  if (path == "-" || stat(path.c_str(), &there) != 0) {
    return Outcome::Done();
  }
  if (S_ISDIR(there.st_mode)) {
    return Outcome::Fail(ExitCode::kWrongUsage, "is a folder", path, "give the name of a file");
  }
  if (S_ISREG(there.st_mode) && !overwrite) {
    return AlreadyThere(path);
  }
  return Outcome::Done();
}

Outcome WriteOutput(const std::string& path, bool overwrite, std::string_view text) {
  OutputFile file;
  if (Outcome outcome = file.Open(path, overwrite); !outcome.ok()) {
    return outcome;
  }
  file.Write(text);
  return file.Commit();
}

}  // namespace command
}  // namespace pelorin
