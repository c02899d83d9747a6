// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target over every file of a corpus folder once. Fails if the folder holds no file,
// since a run over nothing proves nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      // An exactly sized block, so that a sanitizer sees the first byte past the end.
      const std::unique_ptr<std::uint8_t[]> input(new std::uint8_t[bytes.size()]);
      std::copy(bytes.begin(), bytes.end(), input.get());
      LLVMFuzzerTestOneInput(input.get(), bytes.size());
      ++files;
    }
  }
  std::printf("%d inputs\n", files);
  return files > 0 ? 0 : 1;
}
