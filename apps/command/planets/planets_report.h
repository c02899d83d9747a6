// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/planets/sky.h"

namespace pelorin {
namespace command {

/// What is told about the bodies.
struct PlanetsRequest {
  std::vector<std::string> bodies;  ///< Among `Sky::Names`.
  std::string relative_to;          ///< Likewise.
  std::vector<double> dates;        ///< Julian dates, not empty.
  std::string unit = "au";          ///< "au", "km" or "radii" (of the Earth).
};

/// The pieces of a report, to be written one behind the other: a beginning, one piece for each date
/// in its order, and an end. Texts in UTF-8 with a point as decimal mark in every locale.
class PlanetsReport {
 public:
  virtual ~PlanetsReport() = default;
  virtual std::string Begin() { return ""; }
  virtual std::string AtDate(double julian_date) = 0;
  virtual std::string End() { return ""; }
};

/// A table for people for each date.
class PlanetsText : public PlanetsReport {
 public:
  /// Both outlive the report.
  PlanetsText(const PlanetsRequest& request, const Sky& sky) : request_(request), sky_(sky) {}
  std::string AtDate(double julian_date) override;

 private:
  const PlanetsRequest& request_;
  const Sky& sky_;
};

/// One JSON object. What has no value, such as the direction of the centre, is null.
class PlanetsJson : public PlanetsReport {
 public:
  PlanetsJson(const PlanetsRequest& request, const Sky& sky) : request_(request), sky_(sky) {}
  std::string Begin() override;
  std::string AtDate(double julian_date) override;
  std::string End() override;

 private:
  const PlanetsRequest& request_;
  const Sky& sky_;
  bool is_first_ = true;
};

/// A row for each body and date below one row of names. What has no value is an empty field.
class PlanetsCsv : public PlanetsReport {
 public:
  PlanetsCsv(const PlanetsRequest& request, const Sky& sky) : request_(request), sky_(sky) {}
  std::string Begin() override;
  std::string AtDate(double julian_date) override;

 private:
  const PlanetsRequest& request_;
  const Sky& sky_;
};

}  // namespace command
}  // namespace pelorin
