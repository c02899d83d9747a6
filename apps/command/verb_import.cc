// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/importer/importer.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kWarningsShown = 10;

struct ImportFlags {
  std::vector<std::string> inputs;
  std::string output;
  std::string format;
  double spacing_m = 10.0;
  bool no_depth_maps = false;
  std::string name;
  std::string attribution;
  std::string date;
  bool overwrite = false;
  bool json = false;
};

ImportOptions OptionsFrom(const ImportFlags& flags) {
  ImportOptions options;
  const ImportFormat format =
      flags.format.empty() ? ImportFormat::kAuto : *ImportFormatFromName(flags.format);
  for (const std::string& input : flags.inputs) {
    options.inputs.push_back({input, format});
  }
  options.output = flags.output;
  options.spacing_m = flags.spacing_m;
  options.depth_maps = !flags.no_depth_maps;
  options.name = flags.name;
  options.attribution = flags.attribution;
  options.date = flags.date;
  return options;
}

Outcome OutcomeOf(const ImportResult& result) {
  switch (result.status) {
  case ImportStatus::kDone:
    break;
  case ImportStatus::kBadOptions:
    return Outcome::Fail(ExitCode::kWrongUsage, result.error, "", "see 'pelorin import --help'");
  case ImportStatus::kNoStreets:
    return Outcome::Fail(ExitCode::kNothingFound, result.error, "",
                         "give files with streets, lines, tracks or heights");
  case ImportStatus::kCancelled:
    return Outcome::Ended(ExitCode::kInterrupted);
  case ImportStatus::kBadInput:
  case ImportStatus::kWriteFailed:
    return Outcome::Fail(ExitCode::kDataError, result.error);
  }
  return Outcome::Done();
}

std::string ReportJson(const ImportResult& result, const std::string& output) {
  Json json;
  json["dataset"] = output;
  json["lines_read"] = result.lines_read;
  json["streets"] = result.streets_used;
  json["street_names"] = result.counts.streets;
  json["junctions"] = result.junctions;
  json["street_metres"] = std::round(result.street_metres * 10.0) / 10.0;
  json["panoramas"] = result.counts.panoramas;
  json["dated"] = result.dated_panoramas;
  json["links"] = result.counts.links;
  json["scenes"] = result.counts.scenes;
  json["levels"] = result.counts.levels;
  json["depth_maps"] = result.counts.depth_maps;
  json["height_grids"] = result.counts.height_grids;
  json["height_samples"] = result.height_samples;
  json["heights_missing"] = result.missing_heights;
  json["warnings"] = result.warning_count;
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string HeightsText(const ImportResult& result) {
  const std::string grids = result.counts.height_grids == 1 ? " grid" : " grids";
  return std::to_string(result.height_samples) + " heights in " +
         std::to_string(result.counts.height_grids) + grids + ", " +
         std::to_string(result.missing_heights) + " missing\n";
}

std::string ReportText(const ImportResult& result, const std::string& output) {
  const std::string heights = result.counts.height_grids > 0 ? HeightsText(result) : "";
  if (result.counts.panoramas == 0) {
    return output + ": " + heights;
  }
  return output + ": " + std::to_string(result.counts.panoramas) + " panoramas on " +
         std::to_string(std::llround(result.street_metres / 100.0) / 10) + "." +
         std::to_string(std::llround(result.street_metres / 100.0) % 10) + " km of street, " +
         std::to_string(result.junctions) + " junctions, " + std::to_string(result.counts.scenes) +
         (result.counts.scenes == 1 ? " scene\n" : " scenes\n") + heights;
}

void TellWarnings(const ImportResult& result, const Session& session) {
  const std::size_t shown =
      session.verbose ? result.warnings.size() : std::min(result.warnings.size(), kWarningsShown);
  for (std::size_t i = 0; i < shown; ++i) {
    session.Tell("pelorin import: warning: " + result.warnings[i]);
  }
  if (result.warning_count > shown) {
    session.Tell("pelorin import: " + std::to_string(result.warning_count - shown) +
                 " more warnings" + (session.verbose ? "" : "; -v shows more"));
  }
}

Outcome RunImport(const ImportFlags& flags, Session& session) {
  if (flags.output == "-") {
    return Outcome::Fail(ExitCode::kWrongUsage, "a dataset cannot go to standard output", "-o",
                         "give the name of a file");
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  ImportOptions options = OptionsFrom(flags);
  // The importer writes beside and renames by itself, and takes its partial file away when it is
  // cancelled.
  session.interruption->Cooperate();
  Progress progress = session.NewProgress("panoramas");
  options.on_progress = [&session, &progress](const ImportProgress& done) {
    if (done.phase == ImportProgress::Phase::kWriting) {
      progress.Update(static_cast<std::int64_t>(done.done), static_cast<std::int64_t>(done.total));
    }
    return !session.interruption->requested();
  };
  const ImportResult result = Import(options);
  progress.Finish();
  TellWarnings(result, session);
  if (Outcome outcome = OutcomeOf(result); outcome.code() != ExitCode::kDone) {
    return outcome;
  }
  return WriteOutput(
      "-", false, flags.json ? ReportJson(result, flags.output) : ReportText(result, flags.output));
}

}  // namespace

void AddImportVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<ImportFlags>();
  CLI::App* const verb =
      app.add_subcommand("import", "Turn street networks, tracks and heights into a dataset");
  verb->add_option(
          "input", flags->inputs,
          "OpenStreetMap XML or PBF, GeoJSON lines or GPX tracks, gzip and bzip2 too; heights as "
          "SRTM tile, GeoTIFF or ASCII grid")
      ->type_name("FILE")
      ->required();
  verb->add_option("-o,--output", flags->output, "Dataset to write")->type_name("FILE")->required();
  verb->add_option("-f,--format", flags->format,
                   "Kind of all inputs; told from each file otherwise")
      ->check(CLI::IsMember({"osm", "pbf", "geojson", "gpx", "heights"}));
  verb->add_option("--spacing", flags->spacing_m,
                   "Metres between panoramas, 1 to 1000; 10 unless given")
      ->type_name("METRES");
  verb->add_flag("--no-depth-maps", flags->no_depth_maps, "Make no depth maps");
  verb->add_option("--name", flags->name, "Name of the dataset; the first input's unless given")
      ->type_name("TEXT");
  verb->add_option("--attribution", flags->attribution, "Credit to show with the data")
      ->type_name("TEXT");
  verb->add_option("--date", flags->date,
                   "When streets were seen whose source says no date: 2017-12-31, 2017-12 or 2017")
      ->type_name("DATE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the dataset if it is there");
  verb->add_flag("--json", flags->json, "Report in JSON");
  verb->footer("Example: pelorin import city.osm.pbf -o city.sqlite");
  verb->callback([flags, &session] { session.outcome = RunImport(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
