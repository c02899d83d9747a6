// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cctype>
#include <sstream>

#include "apps/command/description.h"

namespace pelorin {
namespace command {
namespace {

/// Text as roff takes it: backslashes and dashes escaped, no line that a leading dot or quote would
/// turn into a request.
std::string Roff(const std::string& text) {
  std::string out;
  bool line_starts = true;
  for (const char c : text) {
    if (line_starts && (c == '.' || c == '\'')) {
      out += "\\&";
    }
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
    line_starts = c == '\n';
  }
  return out;
}

std::string Dashed(std::string name) {
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

void AddOption(const OptionDescription& option, std::ostringstream* page) {
  *page << ".TP\n";
  for (std::size_t i = 0; i < option.names.size(); ++i) {
    *page << (i == 0 ? "" : ", ") << "\\fB" << Roff(option.names[i]) << "\\fR";
  }
  if (!option.value.empty() && !option.is_argument) {
    *page << " \\fI" << Roff(option.value) << "\\fR";
  }
  *page << "\n" << Roff(option.text) << "\n";
}

void AddSynopsis(const VerbDescription& verb, bool has_verbs, std::ostringstream* page) {
  *page << ".SH SYNOPSIS\n\\fB" << Roff(verb.name) << "\\fR";
  if (has_verbs) {
    *page << " \\fIVERB\\fR";
  }
  *page << " [\\fIoptions\\fR]";
  for (const OptionDescription& option : verb.options) {
    if (option.is_argument) {
      *page << " \\fI" << Roff(option.names.front()) << "\\fR";
    }
  }
  *page << "\n";
}

}  // namespace

std::string ManPage(const VerbDescription& verb, const std::vector<VerbDescription>& all,
                    const std::string& version) {
  const bool is_whole = verb.name == all.front().name;
  std::ostringstream page;
  page << ".TH " << Upper(Dashed(verb.name)) << " 1 \"\" \"" << version << "\"\n";
  page << ".SH NAME\n" << Roff(Dashed(verb.name)) << " \\- " << Roff(verb.summary) << "\n";
  AddSynopsis(verb, is_whole, &page);
  if (is_whole) {
    page << ".SH VERBS\n";
    for (auto other = all.begin() + 1; other != all.end(); ++other) {
      page << ".TP\n\\fB" << Roff(other->name.substr(verb.name.size() + 1)) << "\\fR\n"
           << Roff(other->summary) << "\n";
    }
  }
  page << ".SH OPTIONS\n";
  for (const OptionDescription& option : verb.options) {
    AddOption(option, &page);
  }
  if (!verb.footer.empty()) {
    page << ".SH NOTES\n.nf\n" << Roff(verb.footer) << "\n.fi\n";
  }
  page << ".SH SEE ALSO\n";
  bool first = true;
  for (const VerbDescription& other : all) {
    if (other.name != verb.name) {
      page << (first ? "" : ", ") << "\\fB" << Roff(Dashed(other.name)) << "\\fR(1)";
      first = false;
    }
  }
  page << "\n";
  return page.str();
}

}  // namespace command
}  // namespace pelorin
