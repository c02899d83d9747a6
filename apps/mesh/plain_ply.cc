// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/plain_ply.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

// What the reader makes a mesh of, in the order in which it is written.
constexpr std::string_view kKept[] = {"vertex", "face", "material"};

struct Property {
  std::string text;  // As the header has it, behind "property ".
  std::string name;
  std::size_t size = 0;        // Bytes of a value; of a list, of each of its items.
  std::size_t count_size = 0;  // Bytes of a list's length; 0 for a value.
  bool is_whole = false;       // No float or double.
  bool has_signed_count = false;

  bool is_list() const { return count_size > 0; }
  bool is_corners() const {
    return is_list() && is_whole && (name == "vertex_indices" || name == "vertex_index");
  }
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

enum class Encoding { kNone, kText, kLittleEndian, kBigEndian };

struct Header {
  Encoding encoding = Encoding::kNone;
  std::string format;  // The line of the encoding.
  std::vector<std::string> comments;
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
  *words >> type;
  Property property;
  if (type == "list") {
    std::string count_type;
    *words >> count_type >> type;
    property.count_size = SizeOf(count_type);
    property.has_signed_count = count_type.substr(0, 1) != "u";
    property.text = "list " + count_type + " ";
    if (property.count_size == 0 || !IsWholeType(count_type)) {
      return false;
    }
  }
  property.size = SizeOf(type);
  property.is_whole = IsWholeType(type);
  if (property.size == 0 || !(*words >> property.name) || header->elements.empty()) {
    return false;
  }
  property.text += type + " " + property.name;
  header->elements.back().properties.push_back(std::move(property));
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
    header->format = "format " + name + " 1.0";
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
    header->elements.push_back(std::move(element));
    return true;
  }
  if (keyword == "property") {
    return TakeProperty(&words, header);
  }
  if (keyword == "comment") {
    header->comments.push_back(line);
    return true;
  }
  return keyword.empty() || keyword == "obj_info" || keyword == "ply";
}

bool IsControl(unsigned char c) {
  return c < ' ' && c != '\t';
}

bool ReadHeader(const std::string& bytes, Header* header) {
  while (header->end < bytes.size()) {
    const std::size_t stop = bytes.find('\n', header->end);
    if (stop == std::string::npos) {
      return false;
    }
    std::string line = bytes.substr(header->end, stop - header->end);
    header->end = stop + 1;
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (std::any_of(line.begin(), line.end(), IsControl)) {
      return false;
    }
    if (line.substr(0, line.find_last_not_of(" \t") + 1) == "end_header") {
      return header->encoding != Encoding::kNone;
    }
    if (!TakeLine(line, header)) {
      return false;
    }
  }
  return false;
}

// What the reader would not survive or take for something else, empty for nothing.
std::string FaultOf(const Header& header, const Element& element) {
  if (element.name == "tristrips" && element.count > 0) {
    return "its PLY triangles stand in strips; write it with faces";
  }
  if (std::count_if(header.elements.begin(), header.elements.end(),
                    [&](const Element& other) { return other.name == element.name; }) > 1) {
    return "a PLY element is there twice";
  }
  const std::vector<Property>& properties = element.properties;
  if (element.name == "vertex" && std::any_of(properties.begin(), properties.end(),
                                              [](const Property& p) { return p.is_list(); })) {
    return "its PLY vertices have lists";
  }
  if (element.name == "face" && element.count > 0 &&
      std::none_of(properties.begin(), properties.end(),
                   [](const Property& p) { return p.is_corners(); })) {
    return "its PLY faces have no corners";
  }
  // Without properties an element takes no room, and any number of it would be there.
  return properties.empty() && element.count > 0 ? "a PLY element has no properties" : "";
}

// Values that follow each other, as words or bytes.
class Data {
 public:
  Data(const std::string& bytes, const Header& header)
      : bytes_(bytes), encoding_(header.encoding), at_(header.end) {}

  // Copies `element` to the end of `*plain`, in text a line for each. False where the data is not
  // what the header says.
  bool Copy(const Element& element, std::string* plain) {
    for (std::uint64_t i = 0; i < element.count; ++i) {
      if (!CopyOne(element, plain)) {
        return false;
      }
    }
    return true;
  }

 private:
  bool is_text() const { return encoding_ == Encoding::kText; }

  bool CopyOne(const Element& element, std::string* plain) {
    if (is_text()) {
      // Each stands on a line of its own, with any blank ones in between.
      at_ = std::min(bytes_.find_first_not_of(" \t\r\n", at_), bytes_.size());
    }
    std::uint64_t corners = 0;
    std::uint64_t coordinates = 0;
    for (const Property& property : element.properties) {
      std::uint64_t count = 1;
      if ((property.is_list() && !CopyCount(property, &count, plain)) ||
          !CopyValues(count, property, plain)) {
        return false;
      }
      corners = property.is_corners() ? count : corners;
      coordinates = property.name == "texcoord" ? count : coordinates;
    }
    if (is_text()) {
      plain->append("\n");
    }
    // Of texture coordinates the reader takes two a corner, however many corners there are.
    return (!is_text() || Word().empty()) && !(element.name == "face" && coordinates > 2 * corners);
  }

  bool CopyValues(std::uint64_t count, const Property& property, std::string* plain) {
    if (!is_text()) {
      if (count > (bytes_.size() - at_) / property.size) {
        return false;
      }
      CopyBytes(static_cast<std::size_t>(count) * property.size, plain);
      return true;
    }
    for (; count > 0; --count) {
      const std::string_view word = Word();
      if (!IsNumber(word, property)) {
        return false;
      }
      plain->append(word).append(" ");
    }
    return true;
  }

  bool CopyCount(const Property& property, std::uint64_t* count, std::string* plain) {
    const std::size_t size = property.count_size;
    if (is_text()) {
      if (!ReadCount(Word(), count)) {
        return false;
      }
      plain->append(std::to_string(*count)).append(" ");
    } else {
      if (bytes_.size() - at_ < size) {
        return false;
      }
      *count = 0;
      for (std::size_t i = 0; i < size; ++i) {
        const std::size_t place = encoding_ == Encoding::kBigEndian ? i : size - 1 - i;
        *count = *count << 8 | static_cast<unsigned char>(bytes_[at_ + place]);
      }
      CopyBytes(size, plain);
    }
    return *count >> (8 * size - (property.has_signed_count ? 1 : 0)) == 0;
  }

  void CopyBytes(std::size_t size, std::string* plain) {
    plain->append(bytes_, at_, size);
    at_ += size;
  }

  // Whether the reader takes all of it for one number, and for this one.
  static bool IsNumber(std::string_view word, const Property& property) {
    const char* const end = word.data() + word.size();
    const char* const begin = word.data() + (word.substr(0, 1) == "+" ? 1 : 0);
    if (!property.is_whole) {
      // In front of the point it counts in 64 bits.
      constexpr std::ptrdiff_t kMostDigits = 19;
      const char* const digits = begin + (begin != end && *begin == '-' ? 1 : 0);
      const char* const rest = std::find_if(digits, end, [](char c) { return c < '0' || c > '9'; });
      double value = 0.0;
      const auto result = std::from_chars(begin, end, value);
      return result.ec == std::errc() && result.ptr == end && rest - digits <= kMostDigits;
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

// The header of the elements with these numbers.
std::string HeaderText(const Header& header, const std::vector<std::size_t>& kept) {
  std::string text = "ply\n" + header.format + "\n";
  for (const std::string& comment : header.comments) {
    text += comment + "\n";
  }
  for (const std::size_t i : kept) {
    const Element& element = header.elements[i];
    text += "element " + element.name + " " + std::to_string(element.count) + "\n";
    for (const Property& property : element.properties) {
      text += "property " + property.text + "\n";
    }
  }
  return text + "end_header\n";
}

}  // namespace

bool MakePlainPly(const std::string& bytes, std::string* plain, std::string* error) {
  Header header;
  if (!ReadHeader(bytes, &header)) {
    *error = "its PLY header is damaged";
    return false;
  }
  std::vector<std::string> copies(header.elements.size());
  Data data(bytes, header);
  for (std::size_t i = 0; i < copies.size(); ++i) {
    if (const std::string fault = FaultOf(header, header.elements[i]); !fault.empty()) {
      *error = fault;
      return false;
    }
    if (!data.Copy(header.elements[i], &copies[i])) {
      *error = "it is cut off or damaged: its PLY data is not what the header promises";
      return false;
    }
  }
  std::vector<std::size_t> kept;
  for (const std::string_view name : kKept) {
    for (std::size_t i = 0; i < copies.size(); ++i) {
      if (header.elements[i].name == name && header.elements[i].count > 0) {
        kept.push_back(i);
      }
    }
  }
  *plain = HeaderText(header, kept);
  for (const std::size_t i : kept) {
    *plain += copies[i];
    copies[i] = std::string();
  }
  return true;
}

}  // namespace mesh
}  // namespace pelorin
