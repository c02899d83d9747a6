// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/street_source.h"

#include <fcntl.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <osmium/io/bzip2_compression.hpp>
#include <osmium/io/gzip_compression.hpp>
#include <system_error>

namespace pelorin {

namespace {

constexpr std::size_t kMaxWarnings = 100;

std::unique_ptr<osmium::io::Decompressor> OpenUnpacked(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    throw InputFault(path + ": " + std::generic_category().message(errno));
  }
  switch (PackingOf(path)) {
  case Packing::kGzip:
    return std::make_unique<osmium::io::GzipDecompressor>(descriptor);
  case Packing::kBzip2:
    return std::make_unique<osmium::io::Bzip2Decompressor>(descriptor);
  case Packing::kNone:
    break;
  }
  return std::make_unique<osmium::io::NoDecompressor>(descriptor);
}

}  // namespace

void StreetSource::Warn(const std::string& warning) {
  ++warning_count;
  if (warnings.size() < kMaxWarnings) {
    warnings.push_back(warning);
  }
}

Packing PackingOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  char magic[3] = {};
  file.read(magic, sizeof magic);
  const std::string start(magic, static_cast<std::size_t>(file.gcount()));
  if (start.compare(0, 2, "\x1F\x8B") == 0) {
    return Packing::kGzip;
  }
  return start == "BZh" ? Packing::kBzip2 : Packing::kNone;
}

void ReadUnpacked(const std::string& path, const std::function<bool(const std::string&)>& take) {
  try {
    const std::unique_ptr<osmium::io::Decompressor> unpacker = OpenUnpacked(path);
    for (std::string bytes = unpacker->read(); !bytes.empty(); bytes = unpacker->read()) {
      if (!take(bytes)) {
        return;
      }
    }
    // A packed file that ends too early is found out here.
    unpacker->close();
  } catch (const osmium::io_error& fault) {
    throw InputFault(path + ": damaged: " + fault.what());
  } catch (const std::system_error& fault) {
    throw InputFault(path + ": cannot be read: " + fault.what());
  }
}

}  // namespace pelorin
