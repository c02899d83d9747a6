// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/coordinates.h"
#include "apps/command/format_choice.h"
#include "apps/command/line_reader.h"
#include "apps/command/output_file.h"
#include "apps/command/utm_formats.h"
#include "apps/command/utm_point.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

const std::vector<std::string> kFormats = {"text", "json", "csv"};

struct UtmFlags {
  std::string point;
  std::string input = "-";
  bool to_place = false;
  int zone = 0;
  std::string format;
  bool json = false;
  std::string output = "-";
  bool overwrite = false;
};

UtmFormat FormatOfName(const std::string& name) {
  return name == "csv" ? UtmFormat::kCsv : name == "json" ? UtmFormat::kJson : UtmFormat::kText;
}

Outcome Convert(const std::string& text, const std::string& where, const UtmFlags& flags,
                UtmPoint* point) {
  if (flags.to_place) {
    return UtmFromText(text, where, point);
  }
  LatLng place;
  if (Outcome outcome = ParseLatLng(text, where, &place); !outcome.ok()) {
    return outcome;
  }
  return UtmFromPlace(place, flags.zone, point);
}

Outcome ConvertOne(const UtmFlags& flags, UtmFormat format) {
  UtmPoint point;
  if (Outcome outcome = Convert(flags.point, "", flags, &point); !outcome.ok()) {
    return outcome;
  }
  return WriteOutput(flags.output, flags.overwrite, UtmAnswer(point, format, flags.to_place));
}

/// Answers the lines one by one; a bad one is told on standard error and gets a row of its own.
class UtmFilter {
 public:
  UtmFilter(const UtmFlags& flags, UtmFormat format, const Session& session)
      : flags_(flags), format_(format), session_(session) {}

  Outcome Run() {
    if (Outcome outcome = lines_.Open(flags_.input); !outcome.ok()) {
      return outcome;
    }
    if (Outcome outcome = output_.Open(flags_.output, flags_.overwrite); !outcome.ok()) {
      return outcome;
    }
    output_.Write(UtmHead(format_));
    AnswerAll();
    if (!lines_.status().ok()) {
      return lines_.status();
    }
    if (Outcome outcome = output_.Commit(); !outcome.ok() || bad_rows_ == 0) {
      return outcome;
    }
    return Outcome::Fail(ExitCode::kDataError, std::to_string(bad_rows_) + " of " +
                                                   std::to_string(lines_.number()) +
                                                   " rows failed");
  }

 private:
  void AnswerAll() {
    // Rows that go to a terminal show the progress by themselves.
    const bool shows_rows = flags_.output == "-" && isatty(STDOUT_FILENO) != 0;
    Session quiet = session_;
    quiet.no_progress = session_.no_progress || shows_rows;
    Progress progress(quiet.NewProgress("rows"));
    std::string rows;
    while (lines_.Next()) {
      rows += Answer();
      if (!lines_.has_more_buffered()) {
        output_.Write(rows);
        rows.clear();
      }
      progress.Update(static_cast<std::int64_t>(lines_.number()), 0);
    }
  }

  std::string Answer() {
    UtmPoint point;
    const Outcome outcome = lines_.is_cut()
                                ? Outcome::Fail(ExitCode::kDataError, "the line is too long")
                                : Convert(lines_.line(), "", flags_, &point);
    if (outcome.ok()) {
      return UtmRow(lines_.number(), point, format_, flags_.to_place);
    }
    ++bad_rows_;
    const std::string told =
        "pelorin utm: line " + std::to_string(lines_.number()) + ": " + outcome.Line() + "\n";
    std::fputs(told.c_str(), stderr);
    return UtmBadRow(lines_.number(), outcome, format_);
  }

  const UtmFlags& flags_;
  const UtmFormat format_;
  const Session& session_;
  LineReader lines_;
  OutputFile output_;
  std::size_t bad_rows_ = 0;
};

Outcome Utm(const UtmFlags& flags, const Session& session) {
  if (flags.zone != 0 && flags.to_place) {
    return Outcome::Fail(ExitCode::kWrongUsage, "--zone is for points in degrees", "",
                         "leave it out with --reverse, where the text names the zone");
  }
  std::string name;
  if (Outcome outcome = ChooseFormat(flags.format, flags.json, flags.output, kFormats, &name);
      !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  const UtmFormat format = FormatOfName(name);
  return flags.point.empty() ? UtmFilter(flags, format, session).Run() : ConvertOne(flags, format);
}

}  // namespace

void AddUtmVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<UtmFlags>();
  CLI::App* const verb = app.add_subcommand("utm", "Convert to and from UTM coordinates");
  CLI::Option* const point =
      verb->add_option(
              "point", flags->point,
              "LAT,LNG in degrees, or UTM text with --reverse; without one, lines are read")
          ->type_name("POINT");
  verb->add_option("-i,--input", flags->input,
                   "File of points, one a line; '-', the default, for standard input")
      ->type_name("FILE")
      ->excludes(point);
  verb->add_flag("-r,--reverse", flags->to_place, "From UTM to degrees");
  verb->add_option("--zone", flags->zone, "Use this zone, 1 to 60, and not the point's own")
      ->type_name("N")
      ->check(CLI::Range(1, 60).description(""));
  verb->add_option("-f,--format", flags->format, "How it is told; from the file's name otherwise")
      ->check(CLI::IsMember(kFormats));
  verb->add_flag("--json", flags->json, "The same as -f json");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer(
      "Lines get one row each; a bad one gets '?' or its reason, is told on standard error,\n"
      "and makes the exit code 1. JSON rows stand one a line.\n\n"
      "Examples: pelorin utm 42,12.5\n"
      "          pelorin utm --reverse '33T 292948.96 4652799.81'\n"
      "          pelorin utm -i points.txt -o points.csv");
  verb->callback([flags, &session] { session.outcome = Utm(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
