// SPDX-License-Identifier: Apache-2.0
#include "apps/command/format_choice.h"

#include <algorithm>
#include <filesystem>

namespace pelorin {
namespace command {
namespace {

std::string FormatOfEnding(const std::string& ending) {
  if (ending.empty() || ending == ".txt") {
    return "text";
  }
  return ending == ".htm" ? "html" : ending == ".jsonl" ? "json" : ending.substr(1);
}

// "text, json or csv".
std::string Listed(const std::vector<std::string>& formats) {
  std::string text;
  for (std::size_t i = 0; i < formats.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == formats.size() ? " or " : ", ") + formats[i];
  }
  return text;
}

}  // namespace

Outcome ChooseFormat(const std::string& wanted, bool json, const std::string& output,
                     const std::vector<std::string>& formats, std::string* format) {
  if (!wanted.empty() || json) {
    *format = wanted.empty() ? "json" : wanted;
    return Outcome::Done();
  }
  const std::string ending =
      output == "-" ? "" : std::filesystem::path(output).extension().string();
  const std::string found = FormatOfEnding(ending);
  if (std::find(formats.begin(), formats.end(), found) == formats.end()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "no format is known by the ending " + ending,
                         output, "give -f " + Listed(formats));
  }
  *format = found;
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
