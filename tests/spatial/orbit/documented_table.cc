// SPDX-License-Identifier: Apache-2.0
#include "tests/spatial/orbit/documented_table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace nimbara {
namespace spatial {
namespace {

std::string TableRow(const std::string& name, const std::vector<double>& numbers) {
  std::string row = "| " + name + " |";
  for (const double number : numbers) {
    char text[32];
    std::snprintf(text, sizeof text, " %.3f |", number);
    row += text;
  }
  return row;
}

std::vector<double> DocumentedRow(const std::string& heading, const std::string& name) {
  std::ifstream page(PELORIN_SOLAR_SYSTEM_PAGE);
  std::string line;
  while (std::getline(page, line) && line != heading) {
  }
  std::vector<double> numbers;
  while (std::getline(page, line) && line.rfind("## ", 0) != 0) {
    if (line.rfind("| " + name + " |", 0) == 0) {
      std::istringstream cells(line.substr(name.size() + 4));
      std::string cell;
      while (std::getline(cells, cell, '|')) {
        numbers.push_back(std::stod(cell));
      }
    }
  }
  return numbers;
}

}  // namespace

void ExpectDocumented(const std::string& heading, const std::string& name,
                      const std::vector<double>& measured) {
  const std::vector<double> documented = DocumentedRow(heading, name);
  ASSERT_EQ(documented.size(), measured.size()) << "wanted: " << TableRow(name, measured);
  for (std::size_t i = 0; i < measured.size(); ++i) {
    EXPECT_NEAR(documented[i], measured[i], 0.00051) << "wanted: " << TableRow(name, measured);
  }
}

}  // namespace spatial
}  // namespace nimbara
