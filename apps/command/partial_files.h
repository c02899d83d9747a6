// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <set>
#include <string>

namespace pelorin {
namespace command {

/// The files that are being written and must not survive an interruption. One for the process, safe
/// from any thread.
///
/// `lock_` guards `paths_`. It is also held while a file gets its final name, so that an
/// interruption sees a file either as partial or as done.
class PartialFiles {
 public:
  static PartialFiles& Instance();

  void Add(const std::string& path);
  void Remove(const std::string& path);
  /// Gives the file its final name and takes it out, as one step. With `replace` an existing file
  /// is replaced; without it an existing file stays whole and the result is EEXIST. 0 on success,
  /// otherwise the system's error number, with the partial file still there and listed.
  int Rename(const std::string& path, const std::string& final_path, bool replace);
  /// Deletes all of them. Files that are gone already are no error.
  void DeleteAll();

 private:
  PartialFiles() = default;

  std::mutex lock_;
  std::set<std::string> paths_;
};

}  // namespace command
}  // namespace pelorin
