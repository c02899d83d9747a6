// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace pelorin {

/// A file that is written beside its place and renamed into it in one step, so that whoever looks
/// sees the old one whole or the new one whole. What was written is gone when the object is
/// destroyed without a `Commit`, and when the process is interrupted (`PartialFiles`). Owned by the
/// writer; one thread. Results are the system's error numbers, 0 for success.
class ReplacedFile {
 public:
  /// Makes an empty file with a name of its own in the folder of `name`, behind all links, with the
  /// rights of the file that it is to replace, or of any new file. EISDIR if `name` is a folder,
  /// EEXIST if it is anything else but a file, such as a device or a pipe.
  static int Begin(const std::string& name, std::unique_ptr<ReplacedFile>* file);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  /// The place that it is for: where the links of its name end.
  const std::string& path() const { return path_; }
  /// The file to write into, until `Commit`, for those who open it by name,
  const std::string& partial_path() const { return partial_path_; }
  /// and for those who write. The file's own.
  int descriptor() const { return descriptor_; }

  /// Waits until the bytes written so far, by whomever, are on the disk.
  int Sync();
  /// Brings the file to its name. Without `replace` a file that has that name by now stays, and the
  /// result is EEXIST. After a failure the old file is as it was, and nothing but destruction may
  /// follow.
  int Commit(bool replace);

 private:
  ReplacedFile(const std::string& path, const std::string& partial_path, int descriptor);

  const std::string path_;
  std::string partial_path_;  // Empty once committed.
  int descriptor_;            // -1 once closed.
};

}  // namespace pelorin
