// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace pelorin {
namespace command {

/// One option or argument as the user is told about it. Texts in plain ASCII or UTF-8.
struct OptionDescription {
  std::vector<std::string> names;  ///< With their dashes, short ones first; an argument's own name.
  std::string value;               ///< What stands behind it, such as "FILE"; empty for a flag.
  std::string text;
  std::string group;                 ///< Heading under which it is listed.
  std::vector<std::string> choices;  ///< The only values that are accepted, if there are few.
  bool is_argument = false;          ///< Stands by itself, without a name before it.
  bool required = false;
  bool takes_file = false;  ///< Completed with file names.
};

/// One verb, or the whole command.
struct VerbDescription {
  std::string name;     ///< "pelorin" or "pelorin tour".
  std::string summary;  ///< One line.
  std::string footer;   ///< Examples and exit codes, as the help shows them.
  std::vector<OptionDescription> options;
};

/// The whole command as its parser describes it: first the command itself, then each verb that is
/// not hidden, in the order of the help. Help texts, man pages, completion and tests are all made
/// from this, so they cannot disagree.
std::vector<VerbDescription> Describe(const CLI::App& app);

/// The page of `verb` for `man`, in section 1. `version` stands in the footer.
std::string ManPage(const VerbDescription& verb, const std::vector<VerbDescription>& all,
                    const std::string& version);

enum class Shell { kBash, kZsh, kFish };
/// The completion script of the whole command for a shell.
std::string CompletionScript(const std::vector<VerbDescription>& all, Shell shell);

}  // namespace command
}  // namespace pelorin
