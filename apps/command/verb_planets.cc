// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/format_choice.h"
#include "apps/command/number_check.h"
#include "apps/command/output_file.h"
#include "apps/command/planets/dates.h"
#include "apps/command/planets/planets_chart.h"
#include "apps/command/planets/planets_report.h"
#include "apps/command/planets/sky.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kMostDates = 1000000.0;
/// A chart is made whole in memory.
constexpr std::size_t kMostChartDates = 100000;

const std::vector<std::string> kFormats = {"text", "json", "csv", "svg"};

struct PlanetsFlags {
  std::vector<std::string> bodies;
  std::vector<std::string> at;
  std::string from;
  std::string to;
  double step_days = 1.0;
  std::string relative_to = "sun";
  std::string unit = "au";
  std::string format;
  std::string output = "-";
  bool overwrite = false;
  bool json = false;
};

Outcome ReadRow(const PlanetsFlags& flags, std::vector<double>* dates) {
  double from = 0.0;
  double to = 0.0;
  if (flags.from.empty() || flags.to.empty()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "--from and --to go together");
  }
  if (Outcome outcome = ParseDate(flags.from, "--from", &from); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = ParseDate(flags.to, "--to", &to); !outcome.ok()) {
    return outcome;
  }
  if (to < from) {
    return Outcome::Fail(ExitCode::kWrongUsage, "the end is before the beginning", "--to");
  }
  if ((to - from) / flags.step_days >= kMostDates) {
    return Outcome::Fail(ExitCode::kWrongUsage, "that makes more than a million dates", "--step",
                         "take longer steps");
  }
  const std::vector<double> row = DateRow(from, to, flags.step_days);
  dates->insert(dates->end(), row.begin(), row.end());
  return Outcome::Done();
}

Outcome ReadRequest(const PlanetsFlags& flags, PlanetsRequest* request) {
  for (const std::string& text : flags.at) {
    double date = 0.0;
    if (Outcome outcome = ParseDate(text, "--at", &date); !outcome.ok()) {
      return outcome;
    }
    request->dates.push_back(date);
  }
  if (!flags.from.empty() || !flags.to.empty()) {
    if (Outcome outcome = ReadRow(flags, &request->dates); !outcome.ok()) {
      return outcome;
    }
  }
  if (request->dates.empty()) {
    double now = 0.0;
    if (Outcome outcome = ParseDate("now", "", &now); !outcome.ok()) {
      return outcome;
    }
    request->dates.push_back(now);
  }
  request->bodies = flags.bodies.empty() ? Sky::Names() : flags.bodies;
  request->relative_to = flags.relative_to;
  request->unit = flags.unit;
  return Outcome::Done();
}

void WarnOfFarDates(const std::vector<double>& dates, const Session& session) {
  const auto far =
      std::count_if(dates.begin(), dates.end(), [](double date) { return !IsInUsefulRange(date); });
  if (far > 0) {
    session.Tell("pelorin planets: warning: " + std::to_string(far) + " of " +
                 std::to_string(dates.size()) +
                 " dates outside of the years 1600 to 2399, for which the elements are meant");
  }
}

Outcome WriteReport(PlanetsReport* report, const std::vector<double>& dates, OutputFile* out,
                    const Session& session) {
  Progress progress = session.NewProgress("dates");
  out->Write(report->Begin());
  std::int64_t done = 0;
  for (const double date : dates) {
    out->Write(report->AtDate(date));
    progress.Update(++done, static_cast<std::int64_t>(dates.size()));
  }
  out->Write(report->End());
  progress.Finish();
  return out->Commit();
}

Outcome Planets(const PlanetsFlags& flags, const Session& session) {
  PlanetsRequest request;
  std::string format;
  if (Outcome outcome = ReadRequest(flags, &request); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = ChooseFormat(flags.format, flags.json, flags.output, kFormats, &format);
      !outcome.ok()) {
    return outcome;
  }
  if (format == "svg" && request.dates.size() > kMostChartDates) {
    return Outcome::Fail(ExitCode::kWrongUsage, "a chart takes no more than 100000 dates", "",
                         "take longer steps");
  }
  OutputFile out;
  if (Outcome outcome = out.Open(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  WarnOfFarDates(request.dates, session);
  const Sky sky;
  if (format == "svg") {
    out.Write(PlanetsChart(request, sky));
    return out.Commit();
  }
  std::unique_ptr<PlanetsReport> report;
  if (format == "json") {
    report = std::make_unique<PlanetsJson>(request, sky);
  } else if (format == "csv") {
    report = std::make_unique<PlanetsCsv>(request, sky);
  } else {
    report = std::make_unique<PlanetsText>(request, sky);
  }
  return WriteReport(report.get(), request.dates, &out, session);
}

}  // namespace

void AddPlanetsVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<PlanetsFlags>();
  CLI::App* const verb =
      app.add_subcommand("planets", "Show where the planets stand and how they are turned");
  verb->add_option("body", flags->bodies, "Bodies to show; all of them unless given")
      ->check(CLI::IsMember(Sky::Names()));
  verb->add_option("--at", flags->at,
                   "Date, as often as wanted: 2024-02-29, 2024-02-29T18:30+02:00, a Julian date "
                   "or now, which it is unless given")
      ->type_name("DATE")
      ->allow_extra_args(false);
  CLI::Option* const from =
      verb->add_option("--from", flags->from, "First date of a row of dates")->type_name("DATE");
  verb->add_option("--to", flags->to, "Last date of the row")->type_name("DATE");
  verb->add_option("--step", flags->step_days,
                   "Days between the dates of the row, 1e-6 to 1e7; 1 unless given")
      ->type_name("DAYS")
      ->check(NumberFrom(1e-6, 1e7))
      ->needs(from);
  verb->add_option("--relative-to", flags->relative_to, "Body in the centre; the sun unless given")
      ->check(CLI::IsMember(Sky::Names()));
  verb->add_option("--unit", flags->unit,
                   "Unit of lengths; astronomical units unless given; radii are those of the Earth")
      ->check(CLI::IsMember({"au", "km", "radii"}));
  verb->add_option("-f,--format", flags->format, "How it is told; from the file's name otherwise")
      ->check(CLI::IsMember(kFormats));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer(
      "Axes: x to the equinox of the date, z to the north pole of the ecliptic of the date.\n"
      "Spin grows as the body turns about its axis; roll is the tilt of the axis and 90 "
      "degrees.\n\n"
      "Example: pelorin planets venus --relative-to earth --from 2022-01-01 --to 2030-01-01\n"
      "         --step 5 -o venus.svg");
  verb->callback([flags, &session] { session.outcome = Planets(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
