// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "apps/command/output_file.h"
#include "apps/command/pano_source.h"
#include "apps/command/tour/tour_kml.h"
#include "apps/command/tour/tour_page.h"
#include "apps/command/tour/tour_run.h"
#include "apps/command/tour/tour_summary.h"
#include "apps/command/verbs.h"
#include "apps/command/versions.h"

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

struct TourFlags {
  PanoSourceFlags source;
  std::string from;
  std::string to;
  int max_hops = 1000;
  std::string folder = "out";
  bool overwrite = false;
  bool json = false;
};

/// The two files of a tour. Looked at before the work, written after it.
struct TourFiles {
  explicit TourFiles(const std::string& folder)
      : kml((fs::path(folder) / "tour.kml").string()),
        page((fs::path(folder) / "tour.html").string()) {}

  Outcome Check(bool overwrite) const {
    Outcome outcome = CheckMayWrite(kml, overwrite);
    return outcome.ok() ? CheckMayWrite(page, overwrite) : outcome;
  }
  Outcome Write(const TourReport& report, bool overwrite) const {
    Outcome outcome = WriteOutput(kml, overwrite, TourKml(report));
    return outcome.ok() ? WriteOutput(page, overwrite, TourPage(report, VersionLine())) : outcome;
  }

  std::string kml;
  std::string page;
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
  const TourFiles files(flags.folder);
  if (Outcome outcome = files.Check(flags.overwrite); !outcome.ok()) {
    return outcome;
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
  session.Tell("wrote " + files.kml + " and " + files.page);
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
  verb->add_option("--from", flags->from,
                   "Where the walk starts; the dataset's own choice if left out")
      ->type_name("LAT,LNG");
  verb->add_option("--to", flags->to, "Where it ends; likewise")->type_name("LAT,LNG");
  verb->add_option("--max-hops", flags->max_hops, "Most panoramas in the walk; 1000 unless given")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000).description(""));
  verb->add_option("--out", flags->folder,
                   "Folder for tour.kml and tour.html, made if need be; 'out' unless given")
      ->type_name("DIR");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the two files if they are there");
  verb->add_flag("--json", flags->json, "Summary in JSON");
  AddFaultFlags(*verb, &flags->source.faults);
  verb->footer("Examples: pelorin tour\n"
               "          pelorin tour --dataset city.sqlite --from 43.7347,7.4206 "
               "--to 43.7402,7.4277");
  verb->callback([flags, &session] { session.outcome = Tour(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
