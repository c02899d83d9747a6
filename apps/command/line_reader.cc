// SPDX-License-Identifier: Apache-2.0
#include "apps/command/line_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace pelorin {
namespace command {
namespace {

constexpr std::size_t kChunk = 64 * 1024;

Outcome CannotRead(const std::string& path, int error) {
  return Outcome::Fail(ExitCode::kDataError, std::string("cannot be read: ") + strerror(error),
                       path == "-" ? "standard input" : path);
}

}  // namespace

LineReader::~LineReader() {
  if (owns_descriptor_) {
    close(descriptor_);
  }
}

Outcome LineReader::Open(const std::string& path) {
  path_ = path;
  if (path == "-") {
    descriptor_ = STDIN_FILENO;
    return Outcome::Done();
  }
  descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  owns_descriptor_ = descriptor_ >= 0;
  return owns_descriptor_ ? Outcome::Done() : CannotRead(path, errno);
}

bool LineReader::Next() {
  line_.clear();
  is_cut_ = false;
  bool any = false;
  for (;;) {
    if (position_ == buffer_.size() && !Fill()) {
      break;
    }
    any = true;
    const std::size_t end = buffer_.find('\n', position_);
    if (end != std::string::npos) {
      Append(end - position_);
      ++position_;
      break;
    }
    Append(buffer_.size() - position_);
  }
  if (!status_.ok() || !any) {
    return false;
  }
  if (!line_.empty() && line_.back() == '\r') {
    line_.pop_back();
  }
  ++number_;
  // A byte order mark is no part of the first line.
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (number_ == 1 && line_.compare(0, kMark.size(), kMark) == 0) {
    line_.erase(0, kMark.size());
  }
  return true;
}

bool LineReader::has_more_buffered() const {
  return buffer_.find('\n', position_) != std::string::npos;
}

// Reads more into the empty buffer; false at the end and on failure.
bool LineReader::Fill() {
  buffer_.resize(kChunk);
  position_ = 0;
  ssize_t got = 0;
  do {
    got = read(descriptor_, buffer_.data(), buffer_.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    status_ = CannotRead(path_, errno);
  }
  buffer_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return got > 0;
}

// Takes bytes of the buffer into the line, as far as there is room.
void LineReader::Append(std::size_t bytes) {
  const std::size_t room = kLongestLine - line_.size();
  is_cut_ = is_cut_ || bytes > room;
  line_.append(buffer_, position_, std::min(bytes, room));
  position_ += bytes;
}

}  // namespace command
}  // namespace pelorin
