// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/format_choice.h"
#include "apps/command/output_file.h"
#include "apps/command/pano_source.h"
#include "apps/command/route_formats.h"
#include "apps/command/tour/tour_kml.h"
#include "apps/command/tour/tour_run.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

struct RouteFlags {
  PanoSourceFlags source;
  std::string from;
  std::string to;
  int max_hops = 1000;
  std::string format;
  std::string output = "-";
  bool overwrite = false;
  bool json = false;
};

const std::vector<std::string> kFormats = {"text", "json", "kml", "gpx", "geojson"};

std::string InFormat(const TourReport& report, const std::string& format) {
  if (format == "kml") {
    return RouteKml(report);
  }
  if (format == "gpx") {
    return RouteGpx(report);
  }
  if (format == "geojson") {
    return RouteGeoJson(report);
  }
  return format == "json" ? RouteJson(report) : RouteText(report);
}

Outcome Route(const RouteFlags& flags, const Session& session) {
  TourRequest request;
  request.max_hops = flags.max_hops;
  request.go_along = false;
  std::string format;
  if (Outcome outcome = ParseEnds(flags.from, flags.to, &request); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = ChooseFormat(flags.format, flags.json, flags.output, kFormats, &format);
      !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  TourReport report;
  if (Outcome outcome = RunTour(flags.source, request, session, &report); !outcome.ok()) {
    return outcome;
  }
  return WriteOutput(flags.output, flags.overwrite, InFormat(report, format));
}

}  // namespace

void AddRouteVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<RouteFlags>();
  CLI::App* const verb = app.add_subcommand("route", "Find a walk between two places");
  verb->add_option("--from", flags->from, "Where the walk starts")
      ->type_name("LAT,LNG")
      ->required();
  verb->add_option("--to", flags->to, "Where it ends")->type_name("LAT,LNG")->required();
  verb->add_option("--max-hops", flags->max_hops,
                   "Most panoramas in the walk, 1 to 1000000; 1000 unless given")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000).description(""));
  AddPanoSourceFlags(*verb, &flags->source);
  verb->add_option("-f,--format", flags->format, "How it is told; from the file's name otherwise")
      ->check(CLI::IsMember(kFormats));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("Example: pelorin route --from 47.4981,-24.5001 --to 47.5010,-24.4990 -o walk.gpx");
  verb->callback([flags, &session] { session.outcome = Route(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
