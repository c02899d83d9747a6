// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/coordinates.h"
#include "apps/command/elevation/gpx_track.h"
#include "apps/command/elevation/height_source.h"
#include "apps/command/elevation/profile.h"
#include "apps/command/elevation/profile_chart.h"
#include "apps/command/format_choice.h"
#include "apps/command/input_file.h"
#include "apps/command/line_reader.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/service/height_request.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {
namespace {

constexpr int kMaxSamples = 1000000;
const std::vector<std::string> kFormats = {"text", "json", "csv", "gpx", "svg", "html"};

struct ElevationFlags {
  HeightSourceFlags source;
  std::vector<std::string> places;
  std::string input;
  std::string track;
  int samples = 0;  ///< 0: none are wanted.
  std::string format;
  std::string output = "-";
  std::string chart;
  bool overwrite = false;
  bool json = false;
};

/// One row of a list: a place, or what is wrong with it.
struct Row {
  std::string text;
  LatLng place;
  Outcome outcome = Outcome::Done();
};

/// Whether the places follow one another, so that there is something to draw.
bool IsProfile(const ElevationFlags& flags) {
  return !flags.track.empty() || flags.samples > 0;
}

Outcome CheckFormat(const ElevationFlags& flags, const std::string& format) {
  if (format == "gpx" && flags.track.empty()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "gpx is made of a track only", "", "give --track");
  }
  if ((format == "svg" || format == "html") && !IsProfile(flags)) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         format + " is made of a track or of samples along a path", "",
                         "give --track or --samples");
  }
  return Outcome::Done();
}

Outcome CheckChart(const ElevationFlags& flags) {
  if (flags.chart.empty()) {
    return Outcome::Done();
  }
  const std::string ending = std::filesystem::path(flags.chart).extension().string();
  if (!IsProfile(flags) || (ending != ".svg" && ending != ".html")) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         "a chart is an .svg or .html file made of a track or of --samples",
                         "--chart");
  }
  return CheckMayWrite(flags.chart, flags.overwrite);
}

Outcome CheckFlags(const ElevationFlags& flags, std::string* format) {
  const int sources = (flags.places.empty() ? 0 : 1) + (flags.input.empty() ? 0 : 1) +
                      (flags.track.empty() ? 0 : 1);
  if (sources != 1) {
    return Outcome::Fail(ExitCode::kWrongUsage, "give one of places, --input and --track", "",
                         "see 'pelorin elevation --help'");
  }
  if (Outcome outcome = ChooseFormat(flags.format, flags.json, flags.output, kFormats, format);
      !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckFormat(flags, *format); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckChart(flags); !outcome.ok()) {
    return outcome;
  }
  return CheckMayWrite(flags.output, flags.overwrite);
}

Outcome FetchHeights(const HeightSource& source, const std::vector<LatLng>& places,
                     const Session& session, std::vector<double>* heights) {
  Progress progress = session.NewProgress("heights");
  const Outcome outcome = source.Fetch(places, heights, [&](std::size_t done) {
    progress.Update(static_cast<std::int64_t>(done), static_cast<std::int64_t>(places.size()));
  });
  progress.Finish();
  return outcome;
}

Outcome Fetched(const ElevationFlags& flags, const std::vector<LatLng>& places,
                const Session& session, std::vector<double>* heights) {
  HeightSource source;
  if (Outcome outcome = source.Open(flags.source, session); !outcome.ok()) {
    return outcome;
  }
  const std::size_t unknown = source.CountUnknown(places);
  if (unknown > 0 && unknown == places.size()) {
    return Outcome::Fail(ExitCode::kNothingFound, "no heights are known at any of these places", "",
                         "give a --dataset whose heights lie there");
  }
  if (unknown > 0) {
    session.Tell("pelorin elevation: no heights are known at " + std::to_string(unknown) + " of " +
                 std::to_string(places.size()) + " places; they are given as sea level");
  }
  return FetchHeights(source, places, session, heights);
}

Row RowOf(const std::string& text, const std::string& where) {
  Row row;
  row.text = text.substr(0, text.find_last_not_of(" \t\r") + 1);
  row.outcome = ParseLatLng(row.text, where, &row.place);
  return row;
}

Outcome ReadRows(const ElevationFlags& flags, std::vector<Row>* rows) {
  for (const std::string& place : flags.places) {
    rows->push_back(RowOf(place, ""));
    if (!rows->back().outcome.ok()) {
      return rows->back().outcome;
    }
  }
  if (flags.input.empty()) {
    return Outcome::Done();
  }
  LineReader lines;
  if (Outcome outcome = lines.Open(flags.input); !outcome.ok()) {
    return outcome;
  }
  const std::string name = InputName(flags.input);
  while (lines.Next()) {
    rows->push_back(RowOf(lines.line(), name + ", line " + std::to_string(lines.number())));
  }
  return lines.status();
}

std::string RowsText(const std::vector<Row>& rows, const std::vector<double>& heights) {
  std::string text;
  std::size_t next = 0;
  for (const Row& row : rows) {
    text += row.text + "\t";
    text +=
        row.outcome.ok() ? ShortestText(std::round(heights[next++] * 100.0) / 100.0 + 0.0) : "?";
    text += "\n";
  }
  return text;
}

// One row for each row of the input: a bad one has no height.
std::string RowsCsv(const std::vector<Row>& rows, const std::vector<double>& heights) {
  std::string text = "lat,lng,height_m\n";
  std::size_t next = 0;
  for (const Row& row : rows) {
    text += row.outcome.ok()
                ? LatLngText(row.place) + "," +
                      ShortestText(std::round(heights[next++] * 100.0) / 100.0 + 0.0) + "\n"
                : ",,\n";
  }
  return text;
}

Outcome AnswerRows(const ElevationFlags& flags, const std::string& format,
                   const std::vector<Row>& rows, const Session& session) {
  Profile profile;
  std::vector<LatLng> places;
  std::size_t bad = 0;
  for (const Row& row : rows) {
    if (row.outcome.ok()) {
      places.push_back(row.place);
    } else {
      ++bad;
      session.Tell("pelorin elevation: " + row.outcome.Line());
    }
  }
  std::vector<double> heights;
  if (Outcome outcome = Fetched(flags, places, session, &heights); !outcome.ok()) {
    return outcome;
  }
  for (std::size_t i = 0; i < places.size(); ++i) {
    profile.points.push_back({places[i], heights[i], {}, 0, 0.0});
  }
  const std::string text = format == "json"  ? ProfileJson(profile, false)
                           : format == "csv" ? RowsCsv(rows, heights)
                                             : RowsText(rows, heights);
  if (Outcome outcome = WriteOutput(flags.output, flags.overwrite, text); !outcome.ok()) {
    return outcome;
  }
  return bad == 0 ? Outcome::Done()
                  : Outcome::Fail(ExitCode::kDataError, std::to_string(bad) + " of " +
                                                            std::to_string(rows.size()) +
                                                            " rows have no place that can be read");
}

// What all kinds of profiles are written as; the text of a track is another one.
std::string InFormat(const std::string& format, const Profile& profile) {
  if (format == "svg") {
    return ProfileSvg(profile);
  }
  if (format == "html") {
    return ProfileHtml(profile);
  }
  return format == "csv" ? ProfileCsv(profile, true) : ProfileJson(profile, true);
}

Outcome WriteChart(const ElevationFlags& flags, const Profile& profile) {
  if (flags.chart.empty()) {
    return Outcome::Done();
  }
  const bool page = std::filesystem::path(flags.chart).extension() == ".html";
  return WriteOutput(flags.chart, flags.overwrite, InFormat(page ? "html" : "svg", profile));
}

// A path needs all of its places, so a row that cannot be read ends it.
Outcome AnswerPath(const ElevationFlags& flags, const std::string& format,
                   const std::vector<Row>& rows, const Session& session) {
  std::vector<LatLng> corners;
  for (const Row& row : rows) {
    if (!row.outcome.ok()) {
      return Outcome::Fail(ExitCode::kDataError, row.outcome.Line());
    }
    corners.push_back(row.place);
  }
  if (corners.size() < 2) {
    return Outcome::Fail(ExitCode::kWrongUsage, "a path has two places or more", "--samples");
  }
  const std::vector<LatLng> places = PlacesAlongPath(corners, flags.samples);
  std::vector<double> heights;
  if (Outcome outcome = Fetched(flags, places, session, &heights); !outcome.ok()) {
    return outcome;
  }
  Profile profile;
  profile.title = "From " + rows.front().text + " to " + rows.back().text;
  std::vector<Row> reached;
  for (std::size_t i = 0; i < places.size(); ++i) {
    profile.points.push_back({places[i], heights[i], {}, 0, 0.0});
    reached.push_back({LatLngText(places[i]), places[i], Outcome::Done()});
  }
  Measure(&profile);
  if (Outcome outcome = WriteChart(flags, profile); !outcome.ok()) {
    return outcome;
  }
  return WriteOutput(flags.output, flags.overwrite,
                     format == "text" ? RowsText(reached, heights) : InFormat(format, profile));
}

// The tracks and routes of a file; waypoints lie beside them.
Profile ProfileOf(const ElevationFlags& flags, const GpxTrack& track,
                  const std::vector<double>& heights) {
  Profile profile;
  profile.title =
      track.name().empty() ? std::filesystem::path(flags.track).stem().string() : track.name();
  for (std::size_t i = 0; i < heights.size(); ++i) {
    const GpxTrack::Point& point = track.points()[i];
    if (point.line >= 0) {
      profile.points.push_back({point.place, heights[i], point.recorded_m, point.line, 0.0});
    }
  }
  Measure(&profile);
  return profile;
}

Outcome AnswerTrack(const ElevationFlags& flags, const std::string& format,
                    const Session& session) {
  GpxTrack track;
  if (Outcome outcome = track.Open(flags.track); !outcome.ok()) {
    return outcome;
  }
  std::vector<LatLng> places;
  bool any_line = false;
  for (const GpxTrack::Point& point : track.points()) {
    places.push_back(point.place);
    any_line = any_line || point.line >= 0;
  }
  if (!any_line) {
    return Outcome::Fail(ExitCode::kNothingFound, "there is neither track nor route in it",
                         InputName(flags.track));
  }
  std::vector<double> heights;
  if (Outcome outcome = Fetched(flags, places, session, &heights); !outcome.ok()) {
    return outcome;
  }
  const Profile profile = ProfileOf(flags, track, heights);
  if (Outcome outcome = WriteChart(flags, profile); !outcome.ok()) {
    return outcome;
  }
  return WriteOutput(flags.output, flags.overwrite,
                     format == "gpx"    ? track.WithHeights(heights)
                     : format == "text" ? ProfileText(profile)
                                        : InFormat(format, profile));
}

Outcome Elevation(const ElevationFlags& flags, const Session& session) {
  std::string format;
  if (Outcome outcome = CheckFlags(flags, &format); !outcome.ok()) {
    return outcome;
  }
  if (!flags.track.empty()) {
    return AnswerTrack(flags, format, session);
  }
  std::vector<Row> rows;
  if (Outcome outcome = ReadRows(flags, &rows); !outcome.ok()) {
    return outcome;
  }
  return flags.samples > 0 ? AnswerPath(flags, format, rows, session)
                           : AnswerRows(flags, format, rows, session);
}

}  // namespace

void AddElevationVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<ElevationFlags>();
  CLI::App* const verb =
      app.add_subcommand("elevation", "Find the heights of places or of a track");
  verb->add_option("place", flags->places, "Places in degrees")->type_name("LAT,LNG");
  verb->add_option("-i,--input", flags->input,
                   "File with a place lat,lng in each line; '-' for standard input")
      ->type_name("FILE");
  CLI::Option* const track =
      verb->add_option("--track", flags->track, "GPX file whose profile is wanted")
          ->type_name("FILE");
  verb->add_option("--samples", flags->samples,
                   "Heights at this many places instead, 2 to 1000000, at even distances along the "
                   "path through the places")
      ->type_name("N")
      ->check(CLI::Range(2, kMaxSamples).description(""))
      ->excludes(track);
  verb->add_option("--chart", flags->chart,
                   "Profile of the track or of the samples to draw, as .svg or as a page .html")
      ->type_name("FILE");
  AddHeightSourceFlags(*verb, &flags->source);
  verb->add_option("-f,--format", flags->format,
                   "How it is told; from the file's name otherwise. A GPX file is the track with "
                   "its heights replaced")
      ->check(CLI::IsMember(kFormats));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace files that are there");
  verb->footer(
      "Examples: pelorin elevation 47.5,-24.5 47.503,-24.506 --samples 200 --chart line.svg\n"
      "          pelorin elevation --track walk.gpx --dataset alps.sqlite --chart walk.html");
  verb->callback([flags, &session] { session.outcome = Elevation(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
