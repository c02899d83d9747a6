// SPDX-License-Identifier: Apache-2.0
#include "apps/command/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "apps/command/output_file.h"
#include "apps/command/session.h"
#include "apps/command/verbs.h"
#include "apps/command/versions.h"

namespace pelorin {
namespace command {
namespace {

void AddCommonOptions(CLI::App& app, Session& session) {
  app.add_flag("-q,--quiet", session.quiet, "Only errors on standard error");
  app.add_flag("-v,--verbose", session.verbose, "Tell what is being done");
  app.add_flag("--progress", session.force_progress,
               "Progress also where standard error is no terminal, a line for each 10 %");
  app.add_flag("--no-progress", session.no_progress, "No progress");
  app.set_version_flag("--version", VersionText(), "Print the version and those of the libraries");
  app.set_help_flag("-h,--help", "Print this help");
}

void AddVerbs(CLI::App& app, Session& session) {
  AddTourVerb(app, session);
  AddServeVerb(app, session);
  AddImportVerb(app, session);
  AddPanoVerb(app, session);
  AddRouteVerb(app, session);
  AddUtmVerb(app, session);
  AddStratumVerb(app, session);
  AddPlanetsVerb(app, session);
  AddJpegDateVerb(app, session);
  AddBuildingVerb(app, session);
  AddElevationVerb(app, session);
  AddMeshVerb(app, session);
  AddInspectVerb(app, session);
  AddHelpVerbs(app, session);
  for (CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; })) {
    verb->fallthrough();
    verb->get_formatter()->column_width(34);
  }
}

/// The verb that the user named, for the front of a message.
std::string NamedVerb(const CLI::App& app) {
  const std::vector<CLI::App*> named = app.get_subcommands();
  return named.empty() ? "" : named.front()->get_name();
}

void PrintFailure(const std::string& verb, const std::string& line) {
  if (!line.empty()) {
    const std::string name = verb.empty() ? "pelorin: " : "pelorin " + verb + ": ";
    std::fputs((name + line + "\n").c_str(), stderr);
  }
}

/// What is wrong where no verb was understood; `words` are those that mean nothing.
std::string VerbFault(const std::vector<std::string>& words) {
  if (words.empty()) {
    return "no verb was given";
  }
  const bool is_option = words.front().front() == '-';
  return std::string("there is no ") + (is_option ? "option" : "verb") + " '" + words.front() + "'";
}

/// Help and version are answers, so they go to standard output; everything else that stops the
/// parser is a mistake on the command line.
Outcome EndOfParsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    if (error.get_name() == "CallForHelp") {
      const std::vector<CLI::App*> named = app.get_subcommands();
      return WriteOutput("-", false,
                         named.empty() ? app.help() : named.front()->help(app.get_name()));
    }
    return WriteOutput("-", false, std::string(error.what()) + "\n");
  }
  const std::string verb = NamedVerb(app);
  if (verb.empty() && error.get_name() == "RequiredError") {
    return Outcome::Fail(ExitCode::kWrongUsage, VerbFault(app.remaining()), "",
                         "see 'pelorin --help'");
  }
  return Outcome::Fail(ExitCode::kWrongUsage, error.what(), "",
                       "see 'pelorin " + (verb.empty() ? "" : verb + " ") + "--help'");
}

}  // namespace

int RunCommandLine(int argc, char** argv, Interruption* interruption) {
  Session session(interruption);
  CLI::App app("Street-level panoramas: served, fetched, walked and drawn", "pelorin");
  app.require_subcommand(1);
  app.get_formatter()->column_width(34);
  app.footer("Exit codes: 0 done; 1 data error; 2 wrong usage; 3 nothing found; 4 service\n"
             "unavailable; 130 interrupted.\n"
             "'pelorin VERB --help' tells about one verb.");
  AddCommonOptions(app, session);
  AddVerbs(app, session);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    session.outcome = EndOfParsing(app, error);
  } catch (const std::bad_alloc&) {
    session.outcome = Outcome::Fail(ExitCode::kDataError, "out of memory");
  } catch (const std::exception& error) {
    session.outcome = Outcome::Fail(ExitCode::kDataError, error.what());
  }
  PrintFailure(NamedVerb(app), session.outcome.Line());
  return static_cast<int>(session.outcome.code());
}

}  // namespace command
}  // namespace pelorin
