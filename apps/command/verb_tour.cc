// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "apps/command/number_check.h"
#include "apps/command/output_file.h"
#include "apps/command/pano_source.h"
#include "apps/command/tour/tour_files.h"
#include "apps/command/tour/tour_run.h"
#include "apps/command/tour/tour_summary.h"
#include "apps/command/tour/track_file.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

struct TourFlags {
  PanoSourceFlags source;
  std::string from;
  std::string to;
  int max_hops = 1000;
  std::string replay;
  double half_width_m = 3.0;
  std::vector<std::string> formats;
  std::string folder = "out";
  bool overwrite = false;
  bool json = false;
};

Outcome MakeFolder(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  return error ? Outcome::Fail(ExitCode::kDataError, "cannot be made: " + error.message(), folder,
                               "choose another folder for --out")
               : Outcome::Done();
}

Outcome Tour(const TourFlags& flags, const Session& session) {
  TourRequest request;
  request.max_hops = flags.max_hops;
  if (Outcome outcome = ParseEnds(flags.from, flags.to, &request); !outcome.ok()) {
    return outcome;
  }
  request.half_width_m = flags.half_width_m;
  const TourFiles files(flags.folder, flags.formats);
  if (Outcome outcome = files.Check(flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  if (!flags.replay.empty()) {
    if (Outcome outcome = ReadTrack(flags.replay, &request.track); !outcome.ok()) {
      return outcome;
    }
  }
  TourReport report;
  if (Outcome outcome = RunTour(flags.source, request, session, &report); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = MakeFolder(flags.folder); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = files.Write(report, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  session.Tell("wrote " + files.Names());
  return WriteOutput("-", false,
                     flags.json
                         ? SummaryJson(report).dump(
                               2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
                               "\n"
                         : SummaryText(report, MayColour(STDOUT_FILENO)));
}

}  // namespace

void AddTourVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<TourFlags>();
  CLI::App* const verb =
      app.add_subcommand("tour", "Fetch, link, plan and walk; leaves a map of the walk behind");
  AddPanoSourceFlags(*verb, &flags->source);
  CLI::Option* const from =
      verb->add_option("--from", flags->from,
                       "Where the walk starts; the dataset's own choice if left out")
          ->type_name("LAT,LNG");
  CLI::Option* const to =
      verb->add_option("--to", flags->to, "Where it ends; likewise")->type_name("LAT,LNG");
  verb->add_option(
          "--replay", flags->replay,
          "Recorded track to send through the corridors of the streets, in place of a walk "
          "of the camera's own")
      ->type_name("TRACK.gpx")
      ->excludes(from)
      ->excludes(to);
  verb->add_option("--max-hops", flags->max_hops,
                   "Most panoramas in the walk, 1 to 1000000; 1000 unless given")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000).description(""));
  verb->add_option("--corridor", flags->half_width_m,
                   "Metres from the middle of a street to the edge of its corridor, 0.5 to 50; 3 "
                   "unless given")
      ->type_name("METRES")
      ->check(NumberFrom(0.5, 50.0));
  verb->add_option("--out", flags->folder,
                   "Folder for tour.kml and tour.html, made if need be; 'out' unless given")
      ->type_name("DIR");
  verb->add_option("-f,--format", flags->formats,
                   "Further file beside the two: tour.gpx or tour.geojson; can be given twice")
      ->check(CLI::IsMember({"gpx", "geojson"}));
  verb->add_flag("--overwrite", flags->overwrite, "Replace the files if they are there");
  verb->add_flag("--json", flags->json, "Summary in JSON");
  AddFaultFlags(*verb, &flags->source.faults);
  verb->footer("Examples: pelorin tour\n"
               "          pelorin tour --dataset city.sqlite --from 43.7347,7.4206 "
               "--to 43.7402,7.4277\n"
               "          pelorin tour --dataset city.sqlite --replay ride.gpx -f gpx -f geojson");
  verb->callback([flags, &session] { session.outcome = Tour(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
