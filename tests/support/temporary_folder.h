// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace pelorin {
namespace test_support {

/// A folder of the test's own, removed with everything in it when the test ends.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "pelorin-test-XXXXXX").string();
    path_ = mkdtemp(&name[0]) == nullptr ? std::string() : name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file and returns its path.
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(File(name), std::ios::binary) << bytes;
    return File(name);
  }

  /// The names of all files in the folder.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::string path_;
};

/// All bytes of a file; empty if there is none.
inline std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace test_support
}  // namespace pelorin
