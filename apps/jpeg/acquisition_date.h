// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "apps/jpeg/jpeg_header.h"
#include "vortan/common/internal/jpeg_comments_dates.h"

namespace pelorin {

/// Acquisition dates in the comments of JPEG files.
///
/// A file can have several comment segments. Its date is that of the first segment ahead of the
/// image data in which a block names a known one.

/// Registers the date family with the factory of comments and closes it. Every operation here does
/// it by itself; a program that registers families of its own must not use these. A date stands for
/// a tile if it covers at least half of it. Safe from any thread.
void PrepareDateComments();

/// Shares of an image by date key; see `JpegCommentDate`.
using DateShares = std::map<unsigned int, float>;

/// The comment that says of an image what its shares come down to; empty if that is no known date.
std::string DateComment(const DateShares& shares);
/// The comment for an image of one date; empty for a date without a year.
std::string DateComment(const vortan::JpegCommentDate& date);

/// The date in a comment; the unknown date if it has none. What stands behind a NUL is not read.
vortan::JpegCommentDate DateInComment(std::string_view comment);

/// The date of a file; the unknown date if no comment names one.
vortan::JpegCommentDate DateInHeader(const JpegHeader& header);

/// The file `bytes` with `comment`, one of `DateComment`, as its date. `header` is that of `bytes`.
///
/// A segment that holds a date block and nothing else, and is what the file's date is read from,
/// gives its place to the new one. A date that stands among other text is left as it is, with the
/// new segment ahead of it, where it counts first. Otherwise the new segment goes behind the
/// application and comment segments that the file begins with. Every other byte stays as it is.
std::string WithDateComment(std::string_view bytes, const JpegHeader& header,
                            std::string_view comment);

/// A date as people and other programs write it: "2017", "2017-12", "2017-12-31", with colons as
/// well, also with unknown parts as zeros ("2017:12:00"). False, with `date` as it was, for
/// anything else, years outside 1 to 4095 and days that the month does not have.
bool ParseDate(std::string_view text, vortan::JpegCommentDate* date);

/// "2017-12-31", "2017-12" or "2017", as far as the date is known; empty if it is unknown.
std::string DateForPeople(const vortan::JpegCommentDate& date);

/// "2017:12:31"; unknown parts are zeros.
std::string DateText(const vortan::JpegCommentDate& date);

}  // namespace pelorin
