// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pelorin {
namespace command {

/// What pages that are made of a template and data need, so that no text of the data can leave its
/// place in the page, whatever it holds.

/// JSON that cannot end the script element around it: no "<" is left in it. Bytes that are not
/// UTF-8 become replacement characters.
std::string ScriptSafe(const nlohmann::ordered_json& data);

/// `text` for the inside of an element.
std::string HtmlSafe(const std::string& text);

/// `page` with each mark replaced by its text. The marks stand in it once each, in this order; each
/// is looked for behind the last text that was put in, so no text is taken for a mark.
std::string FillMarks(std::string_view page,
                      const std::vector<std::pair<std::string_view, std::string>>& marks);

}  // namespace command
}  // namespace pelorin
