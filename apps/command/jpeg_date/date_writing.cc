// SPDX-License-Identifier: Apache-2.0
#include "apps/command/jpeg_date/date_writing.h"

#include <filesystem>
#include <limits>
#include <map>

#include "apps/command/output_file.h"
#include "apps/jpeg/acquisition_date.h"

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

// The comment for a file, or empty with the reason in `error`.
std::string CommentFor(const DateWriting& writing, const PhotoFacts& facts, std::string* error) {
  if (!writing.comment.empty()) {
    return writing.comment;
  }
  const std::string comment = DateComment(facts.date);
  if (comment.empty()) {
    *error = "has no date of its camera";
  }
  return comment;
}

}  // namespace

std::string DateWriting::PathFor(const PhotoPath& photo) const {
  if (output.empty()) {
    return photo.path;
  }
  return into_folder ? (fs::path(output) / photo.relative).string() : output;
}

Outcome PrepareWriting(const DateWriting& writing, const std::vector<PhotoPath>& photos) {
  std::map<std::string, const PhotoPath*> targets;
  for (const PhotoPath& photo : photos) {
    const std::string path = writing.PathFor(photo);
    const auto [target, is_new] = targets.emplace(fs::path(path).lexically_normal(), &photo);
    if (!is_new) {
      return Outcome::Fail(ExitCode::kWrongUsage,
                           "would be written from " + target->second->path + " and from " +
                               photo.path,
                           path, "write them into different folders");
    }
    if (Outcome outcome = CheckMayWrite(path, writing.overwrite); !outcome.ok()) {
      return writing.output.empty()
                 ? Outcome::Fail(ExitCode::kWrongUsage, "would be changed in its place", path,
                                 "give --overwrite for that, or -o for a copy")
                 : outcome;
    }
  }
  for (const PhotoPath& photo : photos) {
    const fs::path folder = fs::path(writing.PathFor(photo)).parent_path();
    std::error_code error;
    if (writing.into_folder && !folder.empty()) {
      fs::create_directories(folder, error);
    }
    if (error) {
      return Outcome::Fail(ExitCode::kDataError, "cannot be made: " + error.message(),
                           folder.string());
    }
  }
  return Outcome::Done();
}

Photo WriteDate(const DateWriting& writing, const PhotoPath& photo) {
  Photo result;
  result.path = writing.PathFor(photo);
  std::string bytes;
  JpegHeader header;
  if (!ReadBytes(photo.path, std::numeric_limits<std::size_t>::max(), &bytes, &result.error) ||
      !ReadJpegHeader(bytes, &header, &result.error)) {
    result.path = photo.path;
    return result;
  }
  result.facts = FactsInHeader(header);
  const std::string comment = CommentFor(writing, result.facts, &result.error);
  if (comment.empty()) {
    result.path = photo.path;
    return result;
  }
  const std::string dated = WithDateComment(bytes, header, comment);
  if (dated != bytes || result.path != photo.path) {
    if (const Outcome outcome = WriteOutput(result.path, writing.overwrite, dated); !outcome.ok()) {
      result.error = outcome.Reason();
      return result;
    }
  }
  JpegHeader written;
  if (ReadJpegHeader(dated, &written, &result.error)) {
    result.date = DateInHeader(written);
    for (const JpegSegment& segment : written.segments) {
      if (segment.is_comment()) {
        result.comments.emplace_back(segment.content);
      }
    }
  }
  return result;
}

}  // namespace command
}  // namespace pelorin
