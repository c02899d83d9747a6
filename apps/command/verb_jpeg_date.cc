// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/coordinates.h"
#include "apps/command/jpeg_date/date_writing.h"
#include "apps/command/jpeg_date/photo_list.h"
#include "apps/command/jpeg_date/photo_report.h"
#include "apps/command/one_line.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/jpeg/acquisition_date.h"

namespace pelorin {
namespace command {
namespace {

struct JpegDateFlags {
  std::string action;
  std::vector<std::string> inputs;
  std::string date;
  std::vector<std::string> shares;
  bool from_exif = false;
  bool recursive = false;
  bool require = false;
  std::string format;
  bool json = false;
  std::string output;
  bool overwrite = false;
};

Outcome WrongUsage(const std::string& what, const std::string& where = "") {
  return Outcome::Fail(ExitCode::kWrongUsage, what, where, "see 'pelorin jpeg-date --help'");
}

/// One line on standard error for one of many files; the work goes on.
void TellFailure(const std::string& line) {
  std::fputs(("pelorin jpeg-date: " + InOneLine(line) + "\n").c_str(), stderr);
}

Outcome ParseDateFlag(const std::string& text, const std::string& where,
                      vortan::JpegCommentDate* date) {
  return ParseDate(text, date)
             ? Outcome::Done()
             : WrongUsage("\"" + text + "\" is no date; give it as 2017-12-31, 2017-12 or 2017",
                          where);
}

/// "2017-12=0.6" each.
Outcome ParseShares(const std::vector<std::string>& texts, DateShares* shares) {
  double whole = 0.0;
  for (const std::string& text : texts) {
    const std::size_t equals = text.find('=');
    double share = 0.0;
    if (equals == std::string::npos || !ParseNumber(text.substr(equals + 1), &share) ||
        share <= 0.0 || share > 1.0) {
      return WrongUsage("\"" + text + "\" is no share; give it as 2017-12-31=0.6", "--share");
    }
    whole += share;
    vortan::JpegCommentDate date;
    if (Outcome outcome = ParseDateFlag(text.substr(0, equals), "--share", &date); !outcome.ok()) {
      return outcome;
    }
    (*shares)[date.Key()] += static_cast<float>(share);
  }
  // Shares that were rounded may add up to a little more than all.
  return whole <= 1.01 ? Outcome::Done()
                       : WrongUsage("the shares are more than the whole image", "--share");
}

/// The comment that the flags ask for; empty with --from-exif.
Outcome ChooseComment(const JpegDateFlags& flags, std::string* comment) {
  const int given =
      (flags.date.empty() ? 0 : 1) + (flags.shares.empty() ? 0 : 1) + (flags.from_exif ? 1 : 0);
  if (given != 1) {
    return WrongUsage("'write' needs exactly one of --date, --share and --from-exif");
  }
  if (!flags.date.empty()) {
    vortan::JpegCommentDate date;
    Outcome outcome = ParseDateFlag(flags.date, "--date", &date);
    *comment = DateComment(date);
    return outcome;
  }
  DateShares shares;
  if (Outcome outcome = ParseShares(flags.shares, &shares); !outcome.ok()) {
    return outcome;
  }
  *comment = DateComment(shares);
  return flags.shares.empty() || !comment->empty()
             ? Outcome::Done()
             : Outcome::Fail(ExitCode::kDataError, "no date has half of the image", "--share",
                             "nothing was written");
}

/// `-f` decides, then `--json`, then the name of the report, then it is text.
Outcome ChooseFormat(const JpegDateFlags& flags, const std::string& output, std::string* format) {
  const std::string ending = std::filesystem::path(output).extension().string();
  *format = !flags.format.empty()                                       ? flags.format
            : flags.json                                                ? "json"
            : ending == ".json" || ending == ".csv" || ending == ".kml" ? ending.substr(1)
                                                                        : "text";
  return flags.action != "list" && *format == "kml"
             ? WrongUsage("only 'list' knows the format kml", "--format")
             : Outcome::Done();
}

std::string InFormat(const std::vector<Photo>& photos, const std::string& format, bool is_list) {
  if (format == "json") {
    return PhotoJson(photos);
  }
  if (format == "csv") {
    return PhotoCsv(photos);
  }
  if (format == "kml") {
    return PhotoKml(photos);
  }
  return is_list ? PhotoListText(photos) : PhotoDatesText(photos);
}

/// Tells the failures; with `require` also the files without a date. Returns how many there were.
std::size_t TellFailures(const std::vector<Photo>& photos, bool require) {
  std::size_t failures = 0;
  for (const Photo& photo : photos) {
    if (!photo.error.empty()) {
      TellFailure(photo.path + ": " + photo.error);
      ++failures;
    } else if (require && !photo.has_date()) {
      TellFailure(photo.path + ": has no acquisition date");
      ++failures;
    }
  }
  return failures;
}

Outcome EndOfRun(std::size_t failures, std::size_t files) {
  return failures == 0 ? Outcome::Done()
                       : Outcome::Fail(ExitCode::kDataError,
                                       std::to_string(failures) + " of " + std::to_string(files) +
                                           (files == 1 ? " file failed" : " files failed"));
}

template <typename Work>
std::vector<Photo> ForEach(const std::vector<PhotoPath>& paths, const Session& session, Work work) {
  std::vector<Photo> photos;
  Progress progress = session.NewProgress("files");
  for (const PhotoPath& path : paths) {
    photos.push_back(work(path));
    progress.Update(static_cast<std::int64_t>(photos.size()),
                    static_cast<std::int64_t>(paths.size()));
  }
  return photos;
}

Outcome Report(const JpegDateFlags& flags, const std::vector<PhotoPath>& paths,
               const Session& session) {
  const std::string output = flags.output.empty() ? "-" : flags.output;
  const bool is_list = flags.action == "list";
  std::string format;
  if (Outcome outcome = ChooseFormat(flags, output, &format); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckMayWrite(output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  const std::vector<Photo> photos =
      ForEach(paths, session, [](const PhotoPath& path) { return ReadPhoto(path.path); });
  const bool any_read = std::any_of(photos.begin(), photos.end(),
                                    [](const Photo& photo) { return photo.error.empty(); });
  // A file is not made, and none replaced, to say nothing: only JSON and CSV tell of failures.
  if (any_read || output == "-" || format == "json" || format == "csv") {
    if (Outcome outcome = WriteOutput(output, flags.overwrite, InFormat(photos, format, is_list));
        !outcome.ok()) {
      return outcome;
    }
  }
  if (any_read && format == "kml" &&
      std::none_of(photos.begin(), photos.end(),
                   [](const Photo& photo) { return photo.facts.place.has_value(); })) {
    session.Tell("no file says where it was taken, so the map is empty");
  }
  const std::size_t failures = TellFailures(photos, flags.require);
  const bool any_date = std::any_of(photos.begin(), photos.end(),
                                    [](const Photo& photo) { return photo.has_date(); });
  if (failures == 0 && !is_list && !any_date) {
    return paths.size() == 1 ? Outcome::Fail(ExitCode::kNothingFound, "no acquisition date there",
                                             paths.front().path)
                             : Outcome::Fail(ExitCode::kNothingFound,
                                             "no acquisition date in any of " +
                                                 std::to_string(paths.size()) + " files");
  }
  return EndOfRun(failures, photos.size());
}

Outcome Write(const JpegDateFlags& flags, const std::vector<PhotoPath>& paths,
              const Session& session) {
  DateWriting writing;
  writing.output = flags.output;
  writing.overwrite = flags.overwrite;
  std::error_code unknown;
  writing.into_folder =
      !flags.output.empty() &&
      (flags.inputs.size() != 1 || std::filesystem::is_directory(flags.inputs.front(), unknown) ||
       std::filesystem::is_directory(flags.output, unknown));
  if (writing.into_folder && flags.output == "-") {
    return WrongUsage("only one file can go to standard output", "--output");
  }
  std::string format;
  if (Outcome outcome = ChooseFormat(flags, "-", &format); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = ChooseComment(flags, &writing.comment); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = PrepareWriting(writing, paths); !outcome.ok()) {
    return outcome;
  }
  const std::vector<Photo> photos = ForEach(
      paths, session, [&writing](const PhotoPath& path) { return WriteDate(writing, path); });
  const std::size_t failures = TellFailures(photos, false);
  if (flags.output != "-") {
    if (format != "text") {
      if (Outcome outcome = WriteOutput("-", false, InFormat(photos, format, false));
          !outcome.ok()) {
        return outcome;
      }
    }
    session.Tell(std::to_string(photos.size() - failures) +
                 (photos.size() - failures == 1 ? " file" : " files") + " with a date");
  }
  return EndOfRun(failures, photos.size());
}

Outcome Run(const JpegDateFlags& flags, const Session& session) {
  std::vector<PhotoPath> paths;
  if (Outcome outcome = ListPhotos(flags.inputs, flags.recursive, &paths); !outcome.ok()) {
    return outcome;
  }
  const bool is_write = flags.action == "write";
  if (!is_write && (!flags.date.empty() || !flags.shares.empty() || flags.from_exif)) {
    return WrongUsage("--date, --share and --from-exif belong to 'write'");
  }
  if (is_write && flags.require) {
    return WrongUsage("--require belongs to 'read' and 'list'");
  }
  if (paths.empty()) {
    return Outcome::Fail(ExitCode::kNothingFound, "no JPEG file there", flags.inputs.front(),
                         flags.recursive ? "" : "give --recursive for the folders below it");
  }
  return is_write ? Write(flags, paths, session) : Report(flags, paths, session);
}

}  // namespace

void AddJpegDateVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<JpegDateFlags>();
  CLI::App* const verb =
      app.add_subcommand("jpeg-date", "Acquisition dates in the comments of JPEG files");
  verb->add_option("action", flags->action,
                   "Show the dates of files, give files a date, or list all files with their "
                   "places and the files of each date")
      ->required()
      ->check(CLI::IsMember({"read", "write", "list"}));
  verb->add_option("input", flags->inputs, "JPEG files, and folders of them")
      ->type_name("FILE")
      ->required();
  verb->add_option("--date", flags->date, "The date to write: 2017-12-31, 2017-12 or 2017")
      ->type_name("DATE");
  verb->add_option("--share", flags->shares,
                   "Instead, a share of the image, such as 2017-12=0.6; can be repeated, and the "
                   "date with at least half of the image is written")
      ->type_name("DATE=SHARE")
      ->allow_extra_args(false);
  verb->add_flag("--from-exif", flags->from_exif, "Instead, of each file the date of its camera");
  verb->add_flag("-r,--recursive", flags->recursive, "Also the files in folders below a folder");
  verb->add_flag("--require", flags->require,
                 "With read and list: name the files without a date and end with code 1");
  verb->add_option("-f,--format", flags->format,
                   "How it is told; from the report's name otherwise. kml is for list")
      ->check(CLI::IsMember({"text", "json", "csv", "kml"}));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "The report to write, '-' unless given. With write: the file to write, or the "
                   "folder for several; each file in its place unless given")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace files that are there");
  verb->footer(
      "The image data and all other segments of a file stay as they are. Dates are told as they\n"
      "stand in comments, YYYY:MM:DD with zeros for what is not known.\n\n"
      "Examples: pelorin jpeg-date write tile.jpg --date 2017-12-31 -o dated.jpg\n"
      "          pelorin jpeg-date list photos --require -o coverage.kml");
  verb->callback([flags, &session] { session.outcome = Run(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
