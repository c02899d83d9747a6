// SPDX-License-Identifier: Apache-2.0
#include "apps/command/description.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace pelorin {
namespace command {
namespace {

/// "{text,json}" from an option's type name gives its choices.
std::vector<std::string> ChoicesIn(const std::string& type) {
  std::vector<std::string> choices;
  const std::size_t open = type.find('{');
  const std::size_t close = type.find('}');
  if (open == std::string::npos || close == std::string::npos || close < open) {
    return choices;
  }
  std::string list = type.substr(open + 1, close - open - 1);
  for (std::size_t comma = list.find(','); comma != std::string::npos; comma = list.find(',')) {
    choices.push_back(list.substr(0, comma));
    list.erase(0, comma + 1);
  }
  choices.push_back(list);
  return choices;
}

OptionDescription DescribeOption(const CLI::Option& option) {
  OptionDescription description;
  description.is_argument = option.get_positional();
  if (description.is_argument) {
    description.names.push_back(option.get_name(true));
  } else {
    for (const std::string& name : option.get_snames()) {
      description.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
      description.names.push_back("--" + name);
    }
  }
  if (option.get_type_size_max() > 0) {
    const std::string type = option.get_type_name();
    description.choices = ChoicesIn(type);
    description.value = description.choices.empty() ? type : "";
    for (const std::string& choice : description.choices) {
      description.value += (description.value.empty() ? "" : "|") + choice;
    }
  }
  description.text = option.get_description();
  description.group = option.get_group();
  description.required = option.get_required();
  description.takes_file = description.value == "FILE" || description.value == "DIR";
  return description;
}

VerbDescription DescribeApp(const CLI::App& app, const std::string& name) {
  VerbDescription verb;
  verb.name = name;
  verb.summary = app.get_description();
  verb.footer = app.get_footer();
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_group().empty()) {
      verb.options.push_back(DescribeOption(*option));
    }
  }
  return verb;
}

}  // namespace

std::vector<VerbDescription> Describe(const CLI::App& app) {
  std::vector<VerbDescription> all{DescribeApp(app, app.get_name())};
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!verb->get_group().empty()) {
      all.push_back(DescribeApp(*verb, app.get_name() + " " + verb->get_name()));
    }
  }
  return all;
}

}  // namespace command
}  // namespace pelorin
