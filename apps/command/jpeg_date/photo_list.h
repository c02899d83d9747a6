// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/jpeg/photo_facts.h"

namespace pelorin {
namespace command {

/// A file that the user named, or that stands in a folder that he named.
struct PhotoPath {
  std::string path;      ///< From where the user stands.
  std::string relative;  ///< From the folder that was named; the name alone for a named file.
};

/// The files of `inputs` in their order, those of a folder sorted by path: its JPEG files by the
/// ending of their names (.jpg, .jpeg, .jpe in any case), with `recursive` those below it too.
/// Fails, with `photos` untouched, on a folder that cannot be read. A named file is taken whether
/// it exists or not.
Outcome ListPhotos(const std::vector<std::string>& inputs, bool recursive,
                   std::vector<PhotoPath>* photos);

/// What a JPEG file says about itself, or why it cannot be read.
struct Photo {
  std::string path;
  std::string error;                  ///< Empty if all went well.
  vortan::JpegCommentDate date;       ///< Of its comments; the unknown date if there is none.
  std::vector<std::string> comments;  ///< The bytes of its comment segments.
  PhotoFacts facts;

  bool has_date() const { return date.year() != vortan::JpegCommentDate::kYearUnknown; }
};

/// Reads the header of a file, and as little as possible of the rest.
Photo ReadPhoto(const std::string& path);

/// All bytes of a file, at most `max_bytes`. False, with the reason in `error`, if it cannot be
/// read.
bool ReadBytes(const std::string& path, std::size_t max_bytes, std::string* bytes,
               std::string* error);

}  // namespace command
}  // namespace pelorin
