// SPDX-License-Identifier: Apache-2.0
#include "apps/command/jpeg_date/photo_list.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

#include "apps/jpeg/acquisition_date.h"

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

// Nearly every header ends before this, so that large photographs are not read for their date.
constexpr std::size_t kFirstRead = std::size_t{256} << 10;

bool IsJpegName(const fs::path& path) {
  std::string ending = path.extension().string();
  for (char& c : ending) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  return ending == ".jpg" || ending == ".jpeg" || ending == ".jpe";
}

template <typename Iterator>
std::error_code AddFolder(const fs::path& folder, std::vector<PhotoPath>* photos) {
  std::error_code error;
  std::vector<PhotoPath> found;
  for (Iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code gone;  // A file that vanishes meanwhile is none.
    if (IsJpegName(entry->path()) && entry->is_regular_file(gone)) {
      found.push_back({entry->path().string(), entry->path().lexically_relative(folder).string()});
    }
  }
  std::sort(found.begin(), found.end(),
            [](const PhotoPath& a, const PhotoPath& b) { return a.path < b.path; });
  photos->insert(photos->end(), found.begin(), found.end());
  return error;
}

}  // namespace

Outcome ListPhotos(const std::vector<std::string>& inputs, bool recursive,
                   std::vector<PhotoPath>* photos) {
  std::vector<PhotoPath> listed;
  for (const std::string& input : inputs) {
    std::error_code unknown;
    if (!fs::is_directory(input, unknown)) {
      listed.push_back({input, fs::path(input).filename().string()});
      continue;
    }
    const std::error_code error = recursive
                                      ? AddFolder<fs::recursive_directory_iterator>(input, &listed)
                                      : AddFolder<fs::directory_iterator>(input, &listed);
    if (error) {
      return Outcome::Fail(ExitCode::kDataError, "cannot be read: " + error.message(), input);
    }
  }
  *photos = std::move(listed);
  return Outcome::Done();
}

bool ReadBytes(const std::string& path, std::size_t max_bytes, std::string* bytes,
               std::string* error) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat state {};
  int failure = descriptor < 0 || fstat(descriptor, &state) != 0 ? errno : 0;
  if (failure == 0 && S_ISDIR(state.st_mode)) {
    failure = EISDIR;
  }
  bytes->clear();
  // The size is a guess: a pipe has none, and a file may grow.
  std::size_t room = std::min(max_bytes, static_cast<std::size_t>(state.st_size) + 1);
  while (failure == 0 && bytes->size() < max_bytes) {
    const std::size_t before = bytes->size();
    bytes->resize(before + std::min(std::max<std::size_t>(room, 4096), max_bytes - before));
    const ssize_t got = read(descriptor, &(*bytes)[before], bytes->size() - before);
    bytes->resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got == 0) {
      break;
    }
    if (got < 0 && errno != EINTR) {
      failure = errno;
    }
    room -= std::min(room, bytes->size() - before);
  }
  if (descriptor >= 0) {
    close(descriptor);
  }
  if (failure != 0) {
    *error = std::string("cannot be read: ") + std::strerror(failure);
  }
  return failure == 0;
}

Photo ReadPhoto(const std::string& path) {
  Photo photo;
  photo.path = path;
  std::string bytes;
  JpegHeader header;
  if (!ReadBytes(path, kFirstRead, &bytes, &photo.error)) {
    return photo;
  }
  bool is_read = ReadJpegHeader(bytes, &header, &photo.error);
  if (!is_read && bytes.size() == kFirstRead) {
    if (!ReadBytes(path, std::numeric_limits<std::size_t>::max(), &bytes, &photo.error)) {
      return photo;
    }
    is_read = ReadJpegHeader(bytes, &header, &photo.error);
  }
  if (!is_read) {
    return photo;
  }
  photo.error.clear();
  photo.date = DateInHeader(header);
  photo.facts = FactsInHeader(header);
  for (const JpegSegment& segment : header.segments) {
    if (segment.is_comment()) {
      photo.comments.emplace_back(segment.content);
    }
  }
  return photo;
}

}  // namespace command
}  // namespace pelorin
