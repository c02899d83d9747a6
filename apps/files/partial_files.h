// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <mutex>
#include <set>
#include <string>

namespace pelorin {

/// The files that are being written and must not survive an interruption. One for the process, safe
/// from any thread. Results are the system's error numbers, 0 for success.
///
/// `lock_` guards `paths_`. It is also held while a file is made and while it gets its final name,
/// so that an interruption sees a file either as partial or as done.
class PartialFiles {
 public:
  static PartialFiles& Instance();

  /// Makes an empty file for writing, open under `*descriptor` (the caller's, closed on exec), and
  /// takes it in. It has the rights that any new file made with `mode` gets. EEXIST if the name is
  /// taken.
  int Create(const std::string& path, mode_t mode, int* descriptor);
  /// Deletes the file and takes it out. One that is gone already is no error.
  void Delete(const std::string& path);
  /// Gives the file its final name and takes it out, as one step. With `replace` an existing file
  /// is replaced; without it an existing file stays whole and the result is EEXIST. On failure the
  /// partial file is still there and listed.
  int Rename(const std::string& path, const std::string& final_path, bool replace);
  /// Deletes all of them. Files that are gone already are no error.
  void DeleteAll();

 private:
  PartialFiles() = default;

  std::mutex lock_;
  std::set<std::string> paths_;
};

}  // namespace pelorin
