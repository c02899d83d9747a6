// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "apps/dataset/street_network.h"

namespace pelorin {

/// What a source says about one line, under the names that OpenStreetMap gives these things; what
/// is not said is empty. Internal to this room.
struct StreetTags {
  std::string highway;
  std::string name;
  std::string level;
  std::string area;
  std::string access;
  std::string foot;
  std::string service;
  std::string footway;
  std::string indoor;
  std::string date;  ///< When it was seen; see `SeenDate`.
};

/// The date in `text`, a date or a time of the ISO form ("2024-05-17T09:30:00Z"; month, day and
/// time may be missing), as "2024-05-17", "2024-05" or "2024". Empty if there is none. The zone of
/// a time is not looked at.
std::string SeenDate(const std::string& text);

/// The street that such a line is, still without points; nothing if nobody walks along it.
///
/// Streets are the classes from primary roads down to paths, corridors and steps, and lines without
/// a class. Not among them: motorways and trunk roads, roads that are being built or planned,
/// areas, private and forbidden ways (`foot` has the last word), parking aisles and drives, and the
/// pavements and crossings that run beside and across streets, since the street itself is there.
///
/// It has the date of the tags, if that is one.
///
/// A storey is read only where it says something: indoors, or other than 0. Of several storeys (a
/// stair) it is the first.
std::optional<Street> StreetFromTags(const StreetTags& tags);

/// `text` as a number with a dot, whatever the locale; nothing if it is not all of the text. Blanks
/// around it are allowed.
std::optional<double> NumberFromText(const std::string& text);

}  // namespace pelorin
