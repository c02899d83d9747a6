// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "apps/command/outcome.h"
#include "apps/files/replaced_file.h"

namespace pelorin {
namespace command {

/// One output of a verb. A file is written beside its final place, behind all links, and gets its
/// name at last: a run that fails leaves the old file whole. "-" is standard output. One thread.
///
/// ```
/// OutputFile out;
/// if (Outcome o = out.Open(path, overwrite); !o.ok()) return o;
/// out.Write(text);
/// return out.Commit();
/// ```
class OutputFile {
 public:
  OutputFile() = default;
  /// An output that was not committed leaves nothing behind.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Begins to write `path`. Fails with wrong usage if a file of that name exists and `overwrite`
  /// is false, and with a data error if the folder cannot be written; then nothing is open. Devices
  /// and pipes that exist already are written straight. To be called once.
  Outcome Open(const std::string& path, bool overwrite);
  /// Appends. A failure is remembered and told by `Commit`.
  void Write(std::string_view bytes);
  /// Ends the file under its final name, or fails and leaves what was there before.
  Outcome Commit();

 private:
  std::string path_;
  std::unique_ptr<ReplacedFile> file_;  // Null for standard output and devices.
  int descriptor_ = -1;
  bool owns_descriptor_ = false;  // Of a device.
  bool replace_ = false;
  int write_error_ = 0;  // errno of the first write that failed.
};

/// Fails with wrong usage if something exists at `path` that the verb may not replace, so that a
/// long run refuses before its work and not after it. "-" is always fine.
Outcome CheckMayWrite(const std::string& path, bool overwrite);

/// `text` to `path` through an `OutputFile`.
Outcome WriteOutput(const std::string& path, bool overwrite, std::string_view text);

}  // namespace command
}  // namespace pelorin
