// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/glb_file.h"

#include <cstddef>
#include <cstdint>

namespace pelorin {
namespace mesh {
namespace {

using Json = nlohmann::json;

constexpr std::string_view kMagic = "glTF";
constexpr std::string_view kJsonChunk = "JSON";
constexpr std::string_view kDataChunk{"BIN\0", 4};
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;
// In memory a document takes some ten times its text.
constexpr std::size_t kMostJson = std::size_t{64} << 20;
constexpr int kMostDepth = 64;

// Numbers have their low byte first.
std::uint32_t NumberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i > 0; --i) {
    number = number << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
  }
  return number;
}

void AppendNumber(std::size_t number, std::string* bytes) {
  for (int i = 0; i < 4; ++i) {
    *bytes += static_cast<char>(number >> (8 * i));
  }
}

void AppendChunk(std::string_view type, std::string_view content, char padding,
                 std::string* bytes) {
  const std::size_t pad = (4 - content.size() % 4) % 4;
  AppendNumber(content.size() + pad, bytes);
  bytes->append(type).append(content).append(pad, padding);
}

// Takes the chunk at the front of `*rest` away; empty where it has another type.
std::string_view TakeChunk(std::string_view type, std::string_view* rest) {
  if (rest->size() < kChunkHeaderSize || rest->substr(4, 4) != type) {
    return {};
  }
  const std::size_t size = NumberAt(*rest, 0);
  if (size > rest->size() - kChunkHeaderSize) {
    throw GlbFault("it is cut off: a part of it is longer than the file");
  }
  const std::string_view content = rest->substr(kChunkHeaderSize, size);
  rest->remove_prefix(kChunkHeaderSize + size);
  return content;
}

Json ParseDocument(std::string_view text) {
  if (text.size() > kMostJson) {
    throw GlbFault("its glTF document is larger than 64 MiB");
  }
  const auto watch_depth = [](int depth, Json::parse_event_t, const Json&) {
    if (depth > kMostDepth) {
      throw GlbFault("its glTF document is nested too deep");
    }
    return true;
  };
  try {
    Json document = Json::parse(text.begin(), text.end(), watch_depth);
    if (document.is_object()) {
      return document;
    }
  } catch (const Json::exception&) {
  }
  throw GlbFault("its glTF document is damaged");
}

}  // namespace

GlbFile ParseGlb(std::string_view bytes) {
  if (bytes.size() < kHeaderSize || bytes.substr(0, 4) != kMagic) {
    throw GlbFault("its GLB header is damaged");
  }
  if (const std::uint32_t version = NumberAt(bytes, 4); version != 2) {
    throw GlbFault("it is binary glTF of version " + std::to_string(version) +
                   ", and only version 2 is read");
  }
  const std::size_t length = NumberAt(bytes, 8);
  if (length > bytes.size() || length < kHeaderSize) {
    throw GlbFault("it is cut off: its header tells of " + std::to_string(length) + " bytes");
  }
  std::string_view rest = bytes.substr(kHeaderSize, length - kHeaderSize);
  GlbFile file;
  file.document = ParseDocument(TakeChunk(kJsonChunk, &rest));
  file.data = TakeChunk(kDataChunk, &rest);
  return file;
}

std::string GlbBytes(const Json& document, std::string_view data) {
  std::string bytes(kMagic);
  AppendNumber(2, &bytes);
  AppendNumber(0, &bytes);
  AppendChunk(kJsonChunk, document.dump(-1, ' ', false, Json::error_handler_t::replace), ' ',
              &bytes);
  AppendChunk(kDataChunk, data, '\0', &bytes);
  std::string length;
  AppendNumber(bytes.size(), &length);
  return bytes.replace(8, 4, length);
}

}  // namespace mesh
}  // namespace pelorin
