// SPDX-License-Identifier: Apache-2.0
#include "apps/command/jpeg_date/photo_report.h"

#include <map>
#include <nlohmann/json.hpp>

#include "apps/command/coordinates.h"
#include "apps/jpeg/acquisition_date.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

std::string DateOrDash(const Photo& photo) {
  return photo.has_date() ? DateText(photo.date) : "-";
}

std::map<std::string, int> CountsByDate(const std::vector<Photo>& photos) {
  std::map<std::string, int> counts;
  for (const Photo& photo : photos) {
    if (photo.has_date()) {
      ++counts[DateText(photo.date)];
    }
  }
  return counts;
}

std::string FilesText(int count) {
  return std::to_string(count) + (count == 1 ? " file" : " files");
}

Json DateJson(const vortan::JpegCommentDate& date) {
  return date.year() == vortan::JpegCommentDate::kYearUnknown ? Json(nullptr)
                                                              : Json(DateText(date));
}

Json RowJson(const Photo& photo) {
  Json row;
  row["file"] = photo.path;
  row["date"] = DateJson(photo.date);
  row["lat"] = photo.facts.place ? Json(photo.facts.place->lat_deg) : Json(nullptr);
  row["lng"] = photo.facts.place ? Json(photo.facts.place->lng_deg) : Json(nullptr);
  row["taken"] = DateJson(photo.facts.date);
  row["comments"] = photo.comments;
  row["error"] = photo.error.empty() ? Json(nullptr) : Json(photo.error);
  return row;
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c == '"' ? "\"\"" : std::string(1, c);
  }
  return quoted + "\"";
}

}  // namespace

std::string PhotoDatesText(const std::vector<Photo>& photos) {
  std::string text;
  for (const Photo& photo : photos) {
    if (photo.error.empty() && photos.size() > 1) {
      text += DateOrDash(photo) + "\t" + photo.path + "\n";
    } else if (photo.has_date()) {
      text += DateText(photo.date) + "\n";
    }
  }
  return text;
}

std::string PhotoListText(const std::vector<Photo>& photos) {
  std::string text;
  int undated = 0;
  for (const Photo& photo : photos) {
    if (!photo.error.empty()) {
      continue;
    }
    undated += photo.has_date() ? 0 : 1;
    const std::string place = photo.facts.place ? LatLngText(*photo.facts.place) : "-";
    text += DateOrDash(photo) + "\t" + place + "\t" + photo.path + "\n";
  }
  text += "\n";
  for (const auto& [date, count] : CountsByDate(photos)) {
    text += date + "  " + FilesText(count) + "\n";
  }
  return text + "undated     " + FilesText(undated) + "\n";
}

std::string PhotoJson(const std::vector<Photo>& photos) {
  Json json;
  json["files"] = Json::array();
  json["dates"] = Json::object();
  int dated = 0;
  int failed = 0;
  for (const Photo& photo : photos) {
    json["files"].push_back(RowJson(photo));
    dated += photo.has_date() ? 1 : 0;
    failed += photo.error.empty() ? 0 : 1;
  }
  for (const auto& [date, count] : CountsByDate(photos)) {
    json["dates"][date] = count;
  }
  json["dated"] = dated;
  json["undated"] = static_cast<int>(photos.size()) - dated - failed;
  json["failed"] = failed;
  // Comments and file names need not be UTF-8.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string PhotoCsv(const std::vector<Photo>& photos) {
  std::string text = "file,date,lat_deg,lng_deg,taken,comments,error\n";
  for (const Photo& photo : photos) {
    const auto& place = photo.facts.place;
    const bool is_taken = photo.facts.date.year() != vortan::JpegCommentDate::kYearUnknown;
    text += CsvField(photo.path) + "," + (photo.has_date() ? DateText(photo.date) : "") + "," +
            (place ? DegreesText(place->lat_deg) : "") + "," +
            (place ? DegreesText(place->lng_deg) : "") + "," +
            (is_taken ? DateText(photo.facts.date) : "") + "," +
            std::to_string(photo.comments.size()) + "," + CsvField(photo.error) + "\n";
  }
  return text;
}

}  // namespace command
}  // namespace pelorin
