// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// The lines of a file or of standard input, for verbs that answer row by row. For one thread.
///
/// ```
/// LineReader lines;
/// if (Outcome o = lines.Open("-"); !o.ok()) return o;
/// while (lines.Next()) {
///   Answer(lines.number(), lines.line());
///   if (!lines.has_more_buffered()) out.Write(...);   // Before the next read can block.
/// }
/// return lines.status();
/// ```
class LineReader {
 public:
  /// Longer lines are cut there, so that no input can fill the memory.
  static constexpr std::size_t kLongestLine = 64 * 1024;

  LineReader() = default;
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// Begins to read `path`; "-" is standard input. Fails with a data error that names it. To be
  /// called once.
  Outcome Open(const std::string& path);

  /// Moves to the next line; false at the end and after a failure to read. A last line may lack its
  /// end. Blocks while there is neither.
  bool Next();

  /// The line without its end ("\n" or "\r\n"), of any bytes.
  const std::string& line() const { return line_; }
  /// Its number, from 1.
  std::size_t number() const { return number_; }
  /// Whether the line was longer than `kLongestLine` and the rest of it was dropped.
  bool is_cut() const { return is_cut_; }
  /// Whether the next line has been read already, so that `Next` will not block.
  bool has_more_buffered() const;
  /// Whether reading failed.
  Outcome status() const { return status_; }

 private:
  bool Fill();
  void Append(std::size_t bytes);

  std::string path_;
  int descriptor_ = -1;
  bool owns_descriptor_ = false;
  std::string buffer_;
  std::size_t position_ = 0;
  std::string line_;
  std::size_t number_ = 0;
  bool is_cut_ = false;
  Outcome status_ = Outcome::Done();
};

}  // namespace command
}  // namespace pelorin
