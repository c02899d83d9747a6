// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/ply_check.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

struct Property {
  std::size_t size = 0;        // Bytes of a value; of a list, of each of its items.
  std::size_t count_size = 0;  // Bytes of a list's length; 0 for a value.
};

struct Element {
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

enum class Encoding { kNone, kText, kLittleEndian, kBigEndian };

struct Header {
  Encoding encoding = Encoding::kNone;
  std::vector<Element> elements;
  std::size_t end = 0;  // Where the data begins.
};

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

bool ReadCount(const std::string& word, std::uint64_t* count) {
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
    if (property.count_size == 0) {
      return false;
    }
  }
  property.size = SizeOf(type);
  if (property.size == 0 || !(*words >> name) || header->elements.empty()) {
    return false;
  }
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
    header->encoding = name == "ascii"                  ? Encoding::kText
                       : name == "binary_little_endian" ? Encoding::kLittleEndian
                       : name == "binary_big_endian"    ? Encoding::kBigEndian
                                                        : Encoding::kNone;
    return header->encoding != Encoding::kNone;
  }
  if (keyword == "element") {
    std::string name;
    std::string count;
    Element element;
    if (!(words >> name >> count) || !ReadCount(count, &element.count)) {
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
    if (line == "end_header") {
      return header->encoding != Encoding::kNone;
    }
    if (!TakeLine(line, header)) {
      return false;
    }
  }
  return false;
}

// Values that follow each other, as words or bytes.
class Data {
 public:
  Data(const std::string& bytes, const Header& header)
      : bytes_(bytes), encoding_(header.encoding), at_(header.end) {}

  // Goes over `count` values; false where there are fewer.
  bool Skip(std::uint64_t count, std::size_t size) {
    if (encoding_ != Encoding::kText) {
      if (count > (bytes_.size() - at_) / size) {
        return false;
      }
      at_ += static_cast<std::size_t>(count) * size;
      return true;
    }
    for (; count > 0; --count) {
      if (Word().empty()) {
        return false;
      }
    }
    return true;
  }

  bool TakeCount(std::size_t size, std::uint64_t* count) {
    if (encoding_ == Encoding::kText) {
      return ReadCount(Word(), count);
    }
    if (bytes_.size() - at_ < size) {
      return false;
    }
    *count = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t place = encoding_ == Encoding::kBigEndian ? i : size - 1 - i;
      *count = *count << 8 | static_cast<unsigned char>(bytes_[at_ + place]);
    }
    at_ += size;
    return true;
  }

 private:
  std::string Word() {
    static constexpr char kBlanks[] = " \t\r\n";
    const std::size_t begin = bytes_.find_first_not_of(kBlanks, at_);
    if (begin == std::string::npos) {
      at_ = bytes_.size();
      return "";
    }
    const std::size_t end = bytes_.find_first_of(kBlanks, begin);
    at_ = end == std::string::npos ? bytes_.size() : end;
    return bytes_.substr(begin, at_ - begin);
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
    for (const Property& property : element.properties) {
      std::uint64_t count = 1;
      if (property.count_size > 0 && !data->TakeCount(property.count_size, &count)) {
        return false;
      }
      if (!data->Skip(count, property.size)) {
        return false;
      }
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
  Data data(bytes, header);
  for (const Element& element : header.elements) {
    if (!HasAll(element, &data)) {
      *error = "it is cut off: its PLY header promises more than is there";
      return false;
    }
  }
  return true;
}

}  // namespace mesh
}  // namespace pelorin
