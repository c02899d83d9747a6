// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "apps/buildings/stream_file.h"
#include "apps/command/building/building_files.h"
#include "apps/command/building/building_report.h"
#include "apps/command/coordinates.h"
#include "apps/command/input_file.h"
#include "apps/command/number_check.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/mesh/mesh_file.h"

namespace pelorin {
namespace command {
namespace {

using geometry3d::BuildingZ;

// The text is in memory whole.
constexpr std::size_t kMostBytes = std::size_t{1} << 29;
constexpr std::size_t kWarningsShown = 10;

struct BuildingFlags {
  std::string input;
  std::string output;
  std::string format;
  int point_bits = 8;
  FootprintOptions heights;
  std::string origin;
  double base_m = 0.0;
  std::string attribution;
  bool overwrite = false;
  bool json = false;
};

Outcome ChooseFormat(const BuildingFlags& flags, BuildingFormat* format) {
  const std::string ending = std::filesystem::path(flags.output).extension().string();
  const std::string name = !flags.format.empty() ? flags.format
                           : ending.empty()      ? ""
                                                 : ending.substr(1);
  if (const std::optional<BuildingFormat> found = BuildingFormatByName(name)) {
    *format = *found;
    return Outcome::Done();
  }
  return Outcome::Fail(ExitCode::kWrongUsage,
                       ending.empty() ? "no format is told by the name"
                                      : "no format is known by the ending " + ending,
                       flags.output, "give -f stream, glb, obj or html");
}

Outcome ReadStream(const std::string& bytes, const BuildingFlags& flags, BuildingZ* building,
                   BuildingReport* report) {
  StreamFacts facts;
  std::string error;
  if (!ReadBuildingStream(bytes, building, &facts, &error)) {
    return Outcome::Fail(ExitCode::kDataError, error, InputName(flags.input));
  }
  report->point_bits = facts.point_bits;
  if (facts.bytes_behind_end > 0) {
    report->warnings.push_back(std::to_string(facts.bytes_behind_end) +
                               " bytes behind the end of the stream are passed over");
    ++report->warning_count;
  }
  return Outcome::Done();
}

Outcome ReadPlan(const std::string& text, const BuildingFlags& flags, const Session& session,
                 BuildingZ* building, BuildingReport* report) {
  BuildingOptions options;
  options.point_bits = flags.point_bits;
  if (!flags.origin.empty()) {
    LatLng origin;
    if (Outcome outcome = ParseLatLng(flags.origin, "--origin", &origin); !outcome.ok()) {
      return outcome;
    }
    options.origin = origin;
  }
  Footprints footprints;
  std::string error;
  if (!ReadFootprints(text, flags.heights, &footprints, &error)) {
    const bool is_mesh = mesh::FormatOfBytes(text) != mesh::MeshFormat::kUnknown;
    return Outcome::Fail(
        ExitCode::kDataError, is_mesh ? "it is a mesh" : error, InputName(flags.input),
        is_mesh ? "see 'pelorin mesh'" : "give footprints as GeoJSON, or a building stream");
  }
  Progress progress = session.NewProgress("footprints");
  options.on_progress = [&progress](std::uint64_t done, std::uint64_t total) {
    progress.Update(static_cast<std::int64_t>(done), static_cast<std::int64_t>(total));
  };
  const BuildingResult result = MakeBuilding(options, &footprints, building);
  progress.Finish();
  BuildingReport::Source source;
  source.footprints = footprints.footprints.size();
  source.from_height = footprints.from_height;
  source.from_levels = footprints.from_levels;
  source.from_default = footprints.from_default;
  source.above_ground = footprints.above_ground;
  source.repaired = result.repaired;
  source.left_out = result.left_out;
  source.replaced = result.replaced;
  source.origin = result.origin;
  report->source = source;
  report->attribution = footprints.attribution;
  report->point_bits = flags.point_bits;
  report->warnings = footprints.warnings;
  report->warning_count = footprints.warning_count;
  return Outcome::Done();
}

void TellWarnings(const BuildingReport& report, const Session& session) {
  for (std::size_t i = 0; i < report.warnings.size() && i < kWarningsShown; ++i) {
    session.Tell(report.input + ": " + report.warnings[i]);
  }
  if (report.warning_count > kWarningsShown) {
    session.Tell(std::to_string(report.warning_count - kWarningsShown) + " warnings more");
  }
}

Outcome Building(const BuildingFlags& flags, const Session& session) {
  BuildingFormat format = BuildingFormat::kStream;
  if (!flags.output.empty()) {
    if (Outcome outcome = ChooseFormat(flags, &format); !outcome.ok()) {
      return outcome;
    }
    if (Outcome outcome = CheckMayWriteBuilding(format, flags.output, flags.overwrite);
        !outcome.ok()) {
      return outcome;
    }
  }
  std::string bytes;
  if (Outcome outcome = ReadInput(flags.input, kMostBytes, &bytes); !outcome.ok()) {
    return outcome;
  }
  BuildingZ building;
  BuildingReport report;
  report.input = InputName(flags.input);
  Outcome read = IsBuildingStream(bytes) ? ReadStream(bytes, flags, &building, &report)
                                         : ReadPlan(bytes, flags, session, &building, &report);
  if (!read.ok()) {
    return read;
  }
  if (!flags.attribution.empty()) {
    report.attribution = flags.attribution;
  }
  TellWarnings(report, session);
  if (building.polygons().empty()) {
    return Outcome::Fail(ExitCode::kNothingFound, "no building in it", report.input);
  }
  Measure(building, &report);
  std::string stream;
  if (!BuildingStream(building, report.point_bits, &stream)) {
    return Outcome::Fail(ExitCode::kDataError, "its coordinates do not fit a stream", report.input,
                         "give fewer --points-bits");
  }
  report.stream_bytes = stream.size();
  if (!flags.output.empty()) {
    Outcome written = WriteBuilding(building, stream, format, flags.base_m, flags.output,
                                    flags.overwrite, report);
    if (!written.ok()) {
      return written;
    }
    if (flags.output == "-") {
      return Outcome::Done();
    }
  }
  if (flags.json) {
    return WriteOutput("-", false, BuildingJson(report));
  }
  if (flags.output.empty()) {
    return WriteOutput("-", false, BuildingText(report));
  }
  std::istringstream text(BuildingText(report));
  for (std::string line; std::getline(text, line);) {
    session.Tell(line);
  }
  return Outcome::Done();
}

}  // namespace

void AddBuildingVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<BuildingFlags>();
  CLI::App* const verb = app.add_subcommand(
      "building", "Footprints with heights into building streams, and those into meshes");
  verb->add_option("input", flags->input,
                   "GeoJSON polygons or a building stream; '-' for standard input")
      ->type_name("FILE")
      ->required();
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-' for standard output. Without it there is only a report")
      ->type_name("FILE");
  verb->add_option("-f,--format", flags->format,
                   "What is written; from the file's name (.zb is a stream) otherwise")
      ->check(CLI::IsMember({"stream", "glb", "obj", "html"}));
  verb->add_option("--points-bits", flags->point_bits,
                   "Lengths are multiples of 2^-N metres, N from -8 to 16; 8 unless given")
      ->type_name("N")
      ->check(CLI::Range(-8, 16).description(""));
  verb->add_option("--storey-height", flags->heights.level_height_m,
                   "Metres of one of the building:levels, 0.1 to 100; 3 unless given")
      ->type_name("M")
      ->check(NumberFrom(0.1, 100.0));
  verb->add_option("--default-height", flags->heights.default_height_m,
                   "Metres of a building without height and levels, 0.1 to 10000; 6 unless given")
      ->type_name("M")
      ->check(NumberFrom(0.1, 10000.0));
  verb->add_option("--origin", flags->origin,
                   "Where lengths count from; the middle of the footprints unless given")
      ->type_name("LAT,LNG");
  verb->add_option(
          "--base", flags->base_m,
          "Height that the walls of a mesh go down to, -10000 to 10000 metres; 0 unless given")
      ->type_name("M")
      ->check(NumberFrom(-10000.0, 10000.0));
  verb->add_option(
          "--attribution", flags->attribution,
          "Whose data it is, for the page; what the footprints say unless given. A stream does "
          "not say")
      ->type_name("TEXT");
  verb->add_flag("--json", flags->json, "The report as JSON, on standard output");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("Examples: pelorin building houses.geojson -o houses.zb\n"
               "          pelorin building houses.zb -o houses.glb");
  verb->callback([flags, &session] { session.outcome = Building(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
