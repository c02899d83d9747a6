// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/command/coordinates.h"
#include "apps/command/format_choice.h"
#include "apps/command/octants.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

constexpr int kMostOctants = 10000;
const std::vector<std::string> kFormats = {"text", "json", "kml"};

struct StratumFlags {
  std::optional<int> level;
  std::optional<int> stratum;
  std::optional<int> row;
  std::optional<int> column;
  std::optional<std::string> path;
  std::string at;
  std::optional<double> altitude_m;
  std::optional<double> from_m;
  std::optional<double> to_m;
  std::string format;
  bool json = false;
  std::string output = "-";
  bool overwrite = false;
};

Outcome WrongUsage(const std::string& what) {
  return Outcome::Fail(ExitCode::kWrongUsage, what, "", "see 'pelorin stratum --help'");
}

Outcome OverPlace(const StratumFlags& flags, std::vector<Octant>* octants) {
  LatLng place;
  if (Outcome outcome = ParseLatLng(flags.at, "--at", &place); !outcome.ok()) {
    return outcome;
  }
  const double altitude_m = flags.altitude_m.value_or(0.0);
  return OctantsOver(place, *flags.level, flags.from_m.value_or(altitude_m),
                     flags.to_m.value_or(altitude_m), kMostOctants, octants);
}

Outcome ByNumbers(const StratumFlags& flags, std::vector<Octant>* octants) {
  octants->resize(1);
  int stratum = flags.stratum.value_or(0);
  if (flags.altitude_m) {
    if (Outcome outcome = StratumOfAltitude(*flags.level, *flags.altitude_m, &stratum);
        !outcome.ok()) {
      return outcome;
    }
  }
  return flags.row ? OctantAt(*flags.level, *flags.row, *flags.column, stratum, &octants->front())
                   : StratumAt(*flags.level, stratum, &octants->front());
}

Outcome Find(const StratumFlags& flags, std::vector<Octant>* octants) {
  const bool has_range = flags.from_m || flags.to_m;
  if (flags.path) {
    if (flags.level || flags.stratum || flags.row || flags.column || !flags.at.empty() ||
        flags.altitude_m || has_range) {
      return WrongUsage("--path says it all by itself");
    }
    octants->resize(1);
    return OctantOfPath(*flags.path, &octants->front());
  }
  if (!flags.level) {
    return WrongUsage("--level or --path is needed");
  }
  if (flags.row.has_value() != flags.column.has_value()) {
    return WrongUsage("--row and --column need each other");
  }
  if (flags.stratum && flags.altitude_m) {
    return WrongUsage("either --stratum or --altitude, not both");
  }
  if (flags.at.empty()) {
    if (has_range) {
      return WrongUsage("--from and --to need --at");
    }
    return flags.stratum || flags.altitude_m
               ? ByNumbers(flags, octants)
               : WrongUsage("one of --stratum, --altitude and --at is needed");
  }
  if (flags.row || flags.stratum) {
    return WrongUsage("--at takes an altitude, or --from and --to");
  }
  if (has_range && (!flags.from_m || !flags.to_m || flags.altitude_m)) {
    return WrongUsage("--from and --to need each other and no --altitude");
  }
  return OverPlace(flags, octants);
}

Outcome Stratum(const StratumFlags& flags) {
  std::string format;
  if (Outcome outcome = ChooseFormat(flags.format, flags.json, flags.output, kFormats, &format);
      !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  std::vector<Octant> octants;
  if (Outcome outcome = Find(flags, &octants); !outcome.ok()) {
    return outcome;
  }
  if (format == "kml") {
    const bool any_box = std::any_of(octants.begin(), octants.end(), [](const Octant& octant) {
      return octant.cell && octant.cell->is_on_globe;
    });
    if (!any_box) {
      return octants.front().cell
                 ? Outcome::Fail(ExitCode::kNothingFound, "the cell lies beyond the pole")
                 : WrongUsage("a box needs a place, a path, or a row and column");
    }
  }
  return WriteOutput(flags.output, flags.overwrite,
                     format == "kml"    ? OctantsKml(octants)
                     : format == "json" ? OctantsJson(octants)
                                        : OctantsText(octants));
}

}  // namespace

void AddStratumVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<StratumFlags>();
  CLI::App* const verb =
      app.add_subcommand("stratum", "Tell altitude strata, and octants with their traversal paths");
  verb->add_option("--level", flags->level, "Level of the tree, 0 to 30")
      ->type_name("N")
      ->check(CLI::Range(0, kDeepestOctant).description(""));
  verb->add_option("--altitude", flags->altitude_m, "The stratum that holds this altitude")
      ->type_name("METRES");
  verb->add_option("--stratum", flags->stratum, "The stratum of this number, 0 at sea level")
      ->type_name("N");
  verb->add_option("--row", flags->row, "The octant in this row, from 0 in the north")
      ->type_name("N");
  verb->add_option("--column", flags->column, "And in this column, from 0 in the west")
      ->type_name("N");
  verb->add_option("--path", flags->path, "The octant of this traversal path")->type_name("DIGITS");
  verb->add_option("--at", flags->at, "The octants over this place, at --altitude or in a range")
      ->type_name("LAT,LNG");
  verb->add_option("--from", flags->from_m, "Lower end of the range")->type_name("METRES");
  verb->add_option("--to", flags->to_m, "Upper end of the range")->type_name("METRES");
  verb->add_option("-f,--format", flags->format, "How it is told; from the file's name otherwise")
      ->check(CLI::IsMember(kFormats));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("The tree covers longitude and latitude from -180 to 180 each; cells beyond the\n"
               "poles are empty. Altitudes are metres above the mean radius of 6371010 m.\n\n"
               "Examples: pelorin stratum --level 12 --altitude 4424\n"
               "          pelorin stratum --path 034\n"
               "          pelorin stratum --at 43.73,7.42 --level 14 --from 0 --to 9000 -o o.kml");
  verb->callback([flags, &session] { session.outcome = Stratum(*flags); });
}

}  // namespace command
}  // namespace pelorin
