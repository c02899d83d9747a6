// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/ply_check.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string_view>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

struct Property {
  std::size_t size = 0;        // Bytes of a value; of a list, of each of its items.
  std::size_t count_size = 0;  // Bytes of a list's length; 0 for a value.
  bool is_whole = false;       // No float or double.
  bool has_signed_count = false;
  std::string name;
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

enum class Encoding { kNone, kText, kLittleEndian, kBigEndian };

struct Header {
  Encoding encoding = Encoding::kNone;
  std::vector<Element> elements;
  std::size_t end = 0;  // Where the data begins.
};

bool IsCorners(const Property& property) {
  return property.count_size > 0 &&
         (property.name == "vertex_indices" || property.name == "vertex_index");
}

// 0 for a name that is no type.
std::size_t SizeOf(const std::string& type) {
  for (const char* name : {"char", "uchar", "int8", "uint8"}) {
    if (type == name) {
      return 1;
    }
  }
  for (const char* name : {"short", "ushort", "int16", "uint16"}) {
    if (type == name) {
      return 2;
    }
  }
  for (const char* name : {"int", "uint", "int32", "uint32", "float", "float32"}) {
    if (type == name) {
      return 4;
    }
  }
  return type == "double" || type == "float64" ? 8 : 0;
}

bool IsWholeType(const std::string& type) {
  return type.rfind("float", 0) != 0 && type.rfind("double", 0) != 0;
}

bool ReadCount(std::string_view word, std::uint64_t* count) {
  const char* const end = word.data() + word.size();
  const auto result = std::from_chars(word.data(), end, *count);
  return result.ec == std::errc() && result.ptr == end;
}

bool TakeProperty(std::istringstream* words, Header* header) {
  std::string type;
  std::string name;
  *words >> type;
  Property property;
  if (type == "list") {
    std::string count_type;
    *words >> count_type >> type;
    property.count_size = SizeOf(count_type);
    property.has_signed_count = count_type[0] != 'u';
    if (property.count_size == 0 || !IsWholeType(count_type)) {
      return false;
    }
  }
  property.size = SizeOf(type);
  property.is_whole = IsWholeType(type);
  if (property.size == 0 || !(*words >> name) || header->elements.empty()) {
    return false;
  }
  property.name = name;
  header->elements.back().properties.push_back(property);
  return true;
}

bool TakeLine(const std::string& line, Header* header) {
  std::istringstream words(line);
  std::string keyword;
  words >> keyword;
  if (keyword == "format") {
    std::string name;
    words >> name;
    if (header->encoding != Encoding::kNone) {
      return false;
    }
    header->encoding = name == "ascii"                  ? Encoding::kText
                       : name == "binary_little_endian" ? Encoding::kLittleEndian
                       : name == "binary_big_endian"    ? Encoding::kBigEndian
                                                        : Encoding::kNone;
    return header->encoding != Encoding::kNone;
  }
  if (keyword == "element") {
    std::string count;
    Element element;
    if (!(words >> element.name >> count) || !ReadCount(count, &element.count)) {
      return false;
    }
    header->elements.push_back(element);
    return true;
  }
  if (keyword == "property") {
    return TakeProperty(&words, header);
  }
  return keyword == "comment" || keyword == "obj_info" || keyword == "ply";
}

bool ReadHeader(const std::string& bytes, Header* header) {
  while (header->end < bytes.size()) {
    std::size_t stop = bytes.find('\n', header->end);
    if (stop == std::string::npos) {
      return false;
    }
    std::string line = bytes.substr(header->end, stop - header->end);
    header->end = stop + 1;
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    // The reader ends its lines there.
    if (std::any_of(line.begin(), line.end(),
                    [](unsigned char c) { return c < ' ' && c != '\t'; })) {
      return false;
    }
    if (line == "end_header") {
      return header->encoding != Encoding::kNone;
    }
    if (!TakeLine(line, header)) {
      return false;
    }
  }
  return false;
}

// What the elements have that the reader would not survive or read wrongly, empty for nothing. It
// makes one list of vertices and one of faces, as long as the first element of the kind says; it
// takes elements that it does not know for ones without data, believes that coordinates are single
// values and that a face has corners, and keeps the first triangle of a strip.
std::string FaultOfElements(const Header& header) {
  const char* const kOrder = "its PLY elements are not one of vertices, one of faces, then others";
  bool has_vertices = false;
  bool has_faces = false;
  bool has_others = false;
  for (const Element& element : header.elements) {
    if (element.name == "vertex") {
      if (has_vertices || has_faces || has_others) {
        return kOrder;
      }
      if (std::any_of(element.properties.begin(), element.properties.end(),
                      [](const Property& property) { return property.count_size > 0; })) {
        return "its PLY vertices have lists";
      }
      has_vertices = true;
    } else if (element.name == "face") {
      if (has_faces || has_others) {
        return kOrder;
      }
      if (std::none_of(element.properties.begin(), element.properties.end(), IsCorners)) {
        return "its PLY faces have no corners";
      }
      has_faces = true;
    } else if (element.name == "tristrips") {
      return "its PLY triangles stand in strips; write it with faces";
    } else if (std::isalpha(static_cast<unsigned char>(element.name[0])) == 0) {
      return "a PLY element has no name";
    } else {
      has_others = true;
    }
  }
  return "";
}

// Values that follow each other, as words or bytes.
class Data {
 public:
  Data(const std::string& bytes, const Header& header)
      : bytes_(bytes), encoding_(header.encoding), at_(header.end) {}

  // Goes to the next element. In text each stands on a line of its own, since the reader goes by
  // lines.
  void Begin() {
    if (encoding_ == Encoding::kText) {
      at_ = std::min(bytes_.find_first_not_of("\r\n", at_), bytes_.size());
    }
  }
  // Whether it ends here.
  bool End() { return encoding_ != Encoding::kText || Word().empty(); }

  // Goes over `count` values; false where there are fewer.
  bool Skip(std::uint64_t count, const Property& property) {
    if (encoding_ != Encoding::kText) {
      if (count > (bytes_.size() - at_) / property.size) {
        return false;
      }
      at_ += static_cast<std::size_t>(count) * property.size;
      return true;
    }
    for (; count > 0; --count) {
      if (!IsNumber(Word(), property)) {
        return false;
      }
    }
    return true;
  }

  bool TakeCount(const Property& property, std::uint64_t* count) {
    const std::size_t size = property.count_size;
    if (encoding_ == Encoding::kText) {
      if (!ReadCount(Word(), count)) {
        return false;
      }
    } else {
      if (bytes_.size() - at_ < size) {
        return false;
      }
      *count = 0;
      for (std::size_t i = 0; i < size; ++i) {
        const std::size_t place = encoding_ == Encoding::kBigEndian ? i : size - 1 - i;
        *count = *count << 8 | static_cast<unsigned char>(bytes_[at_ + place]);
      }
      at_ += size;
    }
    return *count >> (8 * size - (property.has_signed_count ? 1 : 0)) == 0;
  }

 private:
  // Whether the reader takes all of it for one number, and for this one.
  static bool IsNumber(std::string_view word, const Property& property) {
    const char* const end = word.data() + word.size();
    const char* const begin = word.data() + (word.substr(0, 1) == "+" ? 1 : 0);
    if (!property.is_whole) {
      double value = 0.0;
      const auto result = std::from_chars(begin, end, value);
      return result.ec == std::errc() && result.ptr == end;
    }
    std::int64_t value = 0;
    const auto result = std::from_chars(begin, end, value);
    const std::int64_t limit = std::int64_t{1} << (8 * property.size);
    return result.ec == std::errc() && result.ptr == end && value >= -limit / 2 && value < limit;
  }

  // The next one on the line; empty where there is none.
  std::string_view Word() {
    const std::size_t begin = std::min(bytes_.find_first_not_of(" \t", at_), bytes_.size());
    at_ = std::min(bytes_.find_first_of(" \t\r\n", begin), bytes_.size());
    return std::string_view(bytes_).substr(begin, at_ - begin);
  }

  const std::string& bytes_;
  const Encoding encoding_;
  std::size_t at_;
};

bool HasAll(const Element& element, Data* data) {
  // Without properties an element takes no room, and any number of it would be there.
  if (element.properties.empty()) {
    return element.count == 0;
  }
  for (std::uint64_t i = 0; i < element.count; ++i) {
    data->Begin();
    std::uint64_t corners = 0;
    std::uint64_t coordinates = 0;
    for (const Property& property : element.properties) {
      std::uint64_t count = 1;
      if (property.count_size > 0 && !data->TakeCount(property, &count)) {
        return false;
      }
      if (!data->Skip(count, property)) {
        return false;
      }
      corners = IsCorners(property) ? count : corners;
      coordinates = property.name == "texcoord" ? count : coordinates;
    }
    // Of texture coordinates the reader takes two a corner, however many corners there are.
    if (!data->End() || (element.name == "face" && coordinates > 2 * corners)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool CheckPly(const std::string& bytes, std::string* error) {
  Header header;
  if (!ReadHeader(bytes, &header)) {
    *error = "its PLY header is damaged";
    return false;
  }
  *error = FaultOfElements(header);
  if (!error->empty()) {
    return false;
  }
  Data data(bytes, header);
  for (const Element& element : header.elements) {
    if (!HasAll(element, &data)) {
      *error = "it is cut off or damaged: its PLY data is not what the header promises";
      return false;
    }
  }
  return true;
}

}  // namespace mesh
}  // namespace pelorin
