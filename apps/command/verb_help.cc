// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <string>

#include "apps/command/description.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/command/versions.h"

namespace pelorin {
namespace command {
namespace {

/// The named verb, the whole command for an empty name, null for a name that is none.
const CLI::App* FindVerb(const CLI::App& app, const std::string& name) {
  if (name.empty()) {
    return &app;
  }
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (verb->get_name() == name) {
      return verb;
    }
  }
  return nullptr;
}

Outcome NoSuchVerb(const std::string& name) {
  return Outcome::Fail(ExitCode::kWrongUsage, "there is no verb '" + name + "'", "",
                       "see 'pelorin --help'");
}

Outcome Help(const CLI::App& app, const std::string& name) {
  const CLI::App* const verb = FindVerb(app, name);
  if (verb == nullptr) {
    return NoSuchVerb(name);
  }
  // Not `help` of the whole command: that would tell of the verb that is running, which is this.
  return WriteOutput("-", false,
                     name.empty() ? app.get_formatter()->make_help(&app, app.get_name(),
                                                                   CLI::AppFormatMode::Normal)
                                  : verb->help(app.get_name()));
}

Outcome Man(const CLI::App& app, const std::string& name) {
  const std::vector<VerbDescription> all = Describe(app);
  const std::string wanted = app.get_name() + (name.empty() ? "" : " " + name);
  for (const VerbDescription& verb : all) {
    if (verb.name == wanted) {
      return WriteOutput("-", false, ManPage(verb, all, VersionLine()));
    }
  }
  return NoSuchVerb(name);
}

}  // namespace

void AddHelpVerbs(CLI::App& app, Session& session) {
  const auto name = std::make_shared<std::string>();
  CLI::App* const help = app.add_subcommand("help", "Show the help of a verb");
  help->add_option("verb", *name, "Verb to explain; left out: the whole command")
      ->type_name("VERB");
  help->callback([&app, &session, name] { session.outcome = Help(app, *name); });

  CLI::App* const man =
      app.add_subcommand("man", "Print a manual page, to be piped into 'man -l -'");
  man->add_option("verb", *name, "Verb whose page to print; left out: the whole command")
      ->type_name("VERB");
  man->footer("Example: pelorin man tour | man -l -");
  man->callback([&app, &session, name] { session.outcome = Man(app, *name); });

  const auto shell = std::make_shared<std::string>();
  CLI::App* const completion = app.add_subcommand("completion", "Print a shell completion script");
  completion->add_option("shell", *shell, "Shell to complete for")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  completion->footer("Example: source <(pelorin completion bash)");
  completion->callback([&app, &session, shell] {
    const std::map<std::string, Shell> shells{
        {"bash", Shell::kBash}, {"zsh", Shell::kZsh}, {"fish", Shell::kFish}};
    session.outcome = WriteOutput("-", false, CompletionScript(Describe(app), shells.at(*shell)));
  });
}

}  // namespace command
}  // namespace pelorin
