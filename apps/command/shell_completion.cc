// SPDX-License-Identifier: Apache-2.0
#include <set>
#include <sstream>

#include "apps/command/description.h"

namespace pelorin {
namespace command {
namespace {

std::string VerbOf(const VerbDescription& verb) {
  return verb.name.substr(verb.name.find(' ') + 1);
}

/// For single quotes of a shell.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) {
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return out + "'";
}

std::string NamesOf(const VerbDescription& verb) {
  std::string words;
  for (const OptionDescription& option : verb.options) {
    for (const std::string& name : option.names) {
      if (!option.is_argument) {
        words += (words.empty() ? "" : " ") + name;
      }
    }
  }
  return words;
}

/// A verb with the options of the whole command behind its own, as the parser takes them.
VerbDescription WithCommon(VerbDescription verb, const VerbDescription& whole) {
  std::set<std::vector<std::string>> own;
  for (const OptionDescription& option : verb.options) {
    own.insert(option.names);
  }
  for (const OptionDescription& option : whole.options) {
    if (own.count(option.names) == 0) {
      verb.options.push_back(option);
    }
  }
  return verb;
}

std::string Joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

/// What may follow an option, as one branch of a bash `case`.
void AddBashValues(const VerbDescription& verb, std::ostringstream* script) {
  for (const OptionDescription& option : verb.options) {
    if (option.is_argument || option.value.empty()) {
      continue;
    }
    *script << "        " << VerbOf(verb) << ":" << Joined(option.names, "|" + VerbOf(verb) + ":")
            << ") ";
    if (!option.choices.empty()) {
      *script << "COMPREPLY=($(compgen -W " << Quoted(Joined(option.choices, " "))
              << " -- \"$cur\")); return ;;\n";
    } else if (option.takes_file) {
      *script << "COMPREPLY=($(compgen -f -- \"$cur\")); return ;;\n";
    } else {
      *script << "return ;;\n";
    }
  }
}

std::string BashScript(const std::vector<VerbDescription>& all) {
  std::ostringstream script;
  std::string verbs;
  script << "# bash completion of pelorin: source <(pelorin completion bash)\n"
            "_pelorin() {\n"
            "    local cur=\"${COMP_WORDS[COMP_CWORD]}\" prev=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
            "    local verb=\"\" word\n"
            "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
            "        case \"$word\" in -*) ;; *) verb=\"$word\"; break ;; esac\n"
            "    done\n"
            "    case \"$verb:$prev\" in\n";
  for (auto verb = all.begin() + 1; verb != all.end(); ++verb) {
    AddBashValues(*verb, &script);
    verbs += (verbs.empty() ? "" : " ") + VerbOf(*verb);
  }
  script << "    esac\n"
            "    case \"$verb\" in\n"
            "        \"\") COMPREPLY=($(compgen -W "
         << Quoted(verbs + " " + NamesOf(all.front())) << " -- \"$cur\")) ;;\n";
  for (auto verb = all.begin() + 1; verb != all.end(); ++verb) {
    script << "        " << VerbOf(*verb) << ")\n"
           << "            case \"$cur\" in\n"
           << "                -*) COMPREPLY=($(compgen -W "
           << Quoted(NamesOf(WithCommon(*verb, all.front()))) << " -- \"$cur\")) ;;\n"
           << "                *) COMPREPLY=($(compgen -f -- \"$cur\")) ;;\n"
           << "            esac ;;\n";
  }
  script << "    esac\n"
            "}\n"
            "complete -o filenames -F _pelorin pelorin\n";
  return script.str();
}

/// zsh's description of one option for `_arguments`: brackets and colons belong to its syntax.
std::string ZshText(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') {
      out += '\\';
    }
    out += c;
  }
  return out;
}

void AddZshOptions(const VerbDescription& verb, std::ostringstream* script) {
  for (const OptionDescription& option : verb.options) {
    if (option.is_argument) {
      *script << "          " << Quoted("*:" + ZshText(option.names.front()) + ":_files")
              << " \\\n";
      continue;
    }
    for (const std::string& name : option.names) {
      std::string line = name + "[" + ZshText(option.text) + "]";
      if (!option.value.empty()) {
        line += ":" + ZshText(option.value) + ":";
        line += !option.choices.empty() ? "(" + Joined(option.choices, " ") + ")"
                : option.takes_file     ? "_files"
                                        : " ";
      }
      *script << "          " << Quoted(line) << " \\\n";
    }
  }
}

std::string ZshScript(const std::vector<VerbDescription>& all) {
  std::ostringstream script;
  script << "#compdef pelorin\n"
            "_pelorin() {\n"
            "  local -a verbs\n"
            "  verbs=(\n";
  for (auto verb = all.begin() + 1; verb != all.end(); ++verb) {
    script << "    " << Quoted(VerbOf(*verb) + ":" + ZshText(verb->summary)) << "\n";
  }
  script << "  )\n"
            "  if (( CURRENT == 2 )); then\n"
            "    _describe verb verbs\n"
            "    return\n"
            "  fi\n"
            "  case \"$words[2]\" in\n";
  for (auto verb = all.begin() + 1; verb != all.end(); ++verb) {
    script << "    " << VerbOf(*verb) << ")\n      _arguments \\\n";
    AddZshOptions(WithCommon(*verb, all.front()), &script);
    script << "          && return ;;\n";
  }
  script << "  esac\n"
            "}\n"
            "compdef _pelorin pelorin\n";
  return script.str();
}

void AddFishOptions(const VerbDescription& verb, const std::string& condition,
                    std::ostringstream* script) {
  for (const OptionDescription& option : verb.options) {
    if (option.is_argument) {
      continue;
    }
    *script << "complete -c pelorin" << condition;
    for (const std::string& name : option.names) {
      *script << (name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1));
    }
    if (!option.choices.empty()) {
      *script << " -x -a " << Quoted(Joined(option.choices, " "));
    } else if (option.takes_file) {
      *script << " -r -F";
    } else if (!option.value.empty()) {
      *script << " -x";
    }
    *script << " -d " << Quoted(option.text) << "\n";
  }
}

std::string FishScript(const std::vector<VerbDescription>& all) {
  std::ostringstream script;
  script << "# fish completion of pelorin: pelorin completion fish | source\n";
  AddFishOptions(all.front(), "", &script);
  for (auto verb = all.begin() + 1; verb != all.end(); ++verb) {
    script << "complete -c pelorin -n __fish_use_subcommand -f -a " << VerbOf(*verb) << " -d "
           << Quoted(verb->summary) << "\n";
    AddFishOptions(*verb, " -n '__fish_seen_subcommand_from " + VerbOf(*verb) + "'", &script);
  }
  return script.str();
}

}  // namespace

std::string CompletionScript(const std::vector<VerbDescription>& all, Shell shell) {
  switch (shell) {
  case Shell::kZsh:
    return ZshScript(all);
  case Shell::kFish:
    return FishScript(all);
  case Shell::kBash:
    break;
  }
  return BashScript(all);
}

}  // namespace command
}  // namespace pelorin
