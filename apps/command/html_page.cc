// SPDX-License-Identifier: Apache-2.0
#include "apps/command/html_page.h"

#include <QString>
#include <nlohmann/json.hpp>

namespace pelorin {
namespace command {

std::string ScriptSafe(const nlohmann::ordered_json& data) {
  const std::string text =
      data.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  return safe;
}

std::string HtmlSafe(const std::string& text) {
  // A file's name can be of any bytes; a page is UTF-8.
  std::string safe;
  for (const char c : QString::fromStdString(text).toStdString()) {
    safe += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
  }
  return safe;
}

std::string FillMarks(std::string_view page,
                      const std::vector<std::pair<std::string_view, std::string>>& marks) {
  std::string filled;
  for (const auto& [mark, text] : marks) {
    const std::size_t at = page.find(mark);
    filled += page.substr(0, at);
    filled += text;
    page.remove_prefix(at + mark.size());
  }
  filled += page;
  return filled;
}

}  // namespace command
}  // namespace pelorin
