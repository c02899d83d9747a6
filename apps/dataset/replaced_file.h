// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace pelorin {

/// A file that is written beside its place and renamed into it in one step, so that whoever looks
/// sees the old one whole or the new one whole. Owned by the writer; one thread. Destroying it
/// without `Commit` removes what was written.
class ReplacedFile {
 public:
  /// An empty file with a name of its own in the folder of `path`. Null, with `error`, if the
  /// folder does not take it or `path` is a folder.
  static std::unique_ptr<ReplacedFile> Begin(const std::string& path, std::string* error);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  /// The file to write into, until `Commit`.
  const std::string& partial_path() const { return partial_path_; }

  /// Brings the written bytes to the disk and the file to its name. False, with `error`, if that
  /// fails; the old file is then as it was.
  bool Commit(std::string* error);

 private:
  ReplacedFile(std::string path, std::string partial_path);

  std::string path_;
  std::string partial_path_;  // Empty once committed.
};

}  // namespace pelorin
