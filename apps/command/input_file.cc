// SPDX-License-Identifier: Apache-2.0
#include "apps/command/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace pelorin {
namespace command {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16;

// Closes what it holds, unless it is standard input.
class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      : number_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number_ > STDIN_FILENO) {
      close(number_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace

Outcome ReadInput(const std::string& path, std::size_t most_bytes, std::string* bytes) {
  const auto failed = [&path](int error) {
    return Outcome::Fail(ExitCode::kDataError, std::string("cannot be read: ") + strerror(error),
                         InputName(path));
  };
  const Descriptor input(path);
  if (input.number() < 0) {
    return failed(errno);
  }
  std::string all;
  for (;;) {
    const std::size_t size = all.size();
    all.resize(size + kBlock);
    const ssize_t got = read(input.number(), all.data() + size, kBlock);
    all.resize(size + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got == 0) {
      break;
    }
    if (got < 0 && errno != EINTR) {
      return failed(errno);
    }
    if (all.size() > most_bytes) {
      return Outcome::Fail(ExitCode::kDataError,
                           "larger than " + std::to_string(most_bytes) + " bytes", InputName(path),
                           "cut it into parts");
    }
  }
  *bytes = std::move(all);
  return Outcome::Done();
}

std::string InputName(const std::string& path) {
  return path == "-" ? "standard input" : path;
}

}  // namespace command
}  // namespace pelorin
