// SPDX-License-Identifier: Apache-2.0
#include "apps/command/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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

}  // namespace

OutputFile::~OutputFile() {
  if (owns_descriptor_) {
    close(descriptor_);
  }
}

Outcome OutputFile::Open(const std::string& path, bool overwrite) {
  path_ = path;
  replace_ = overwrite;
  if (path == "-") {
    descriptor_ = STDOUT_FILENO;
    return Outcome::Done();
  }
  if (Outcome outcome = CheckMayWrite(path, overwrite); !outcome.ok()) {
    return outcome;
  }
  struct stat there {};
  const bool exists = stat(path.c_str(), &there) == 0;
  if (exists && !S_ISREG(there.st_mode)) {
    descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    owns_descriptor_ = descriptor_ >= 0;
    return owns_descriptor_ ? Outcome::Done() : CannotWrite(path, errno);
  }
  if (const int error = ReplacedFile::Begin(path, &file_)) {
    return CannotWrite(path, error);
  }
  descriptor_ = file_->descriptor();
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
  const int error = file_ == nullptr ? 0 : file_->Commit(replace_);
  if (error == EEXIST) {
    return AlreadyThere(path_);
  }
  return error == 0 ? Outcome::Done() : CannotWrite(path_, error);
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
