// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"

namespace nimbara {
namespace spatial {

/// UTM coordinates as the text that a viewer shows and reads, by `ostrand::UTMZone`.
///
///     QString zone, easting, northing;
///     CreateUTMStrings(42.0, 12.5, &zone, &easting, &northing);
///     // "33 T", "292948.96 m E", "4652799.81 m N"
///     double lat, lng;
///     ParseLatLonFromUTM(zone, easting, northing, &lat, &lng);   // whole metres: fractions go
///
/// What counts as a digit, a blank, or part of a word is Unicode's: `QChar::isDigit`, `isSpace`,
/// and letters, numbers, marks and the underscore. Digits other than 0 to 9 are found, but read as
/// 0. No pointer may be null. Any text is safe, and reading takes time in proportion to its length.

/// Reads a zone such as "33T" or "33 t", and an easting and northing, into degrees. False, with the
/// outputs as they were, unless the zone has
///   - a number, the first run of digits that a word follows, with or without blanks between; at
///     the end of the text or ahead of something else the last digit of a run is its own word, and
///     its letter then fails;
///   - of which the low 8 bits are 1 to 60 ("289T" is zone 33), and which is an `int`;
///   - a word whose first letter, upper-cased, is 'C' to 'X' without 'I' and 'O'. Letters below 'N'
///     are south of the equator.
///
/// Of an easting or northing the first run of digits counts and nothing else: "500000.75 m E" is
/// 500000, "-5" is 5, a text without digits is 0. So the result is true for any of these two, and
/// the angles need not lie on the globe: numbers far off give nonsense, beyond the range of a
/// double not-a-number.
PELORIN_EXPORT bool ParseLatLonFromUTM(const QString& zone, const QString& easting,
                                       const QString& northing, double* lat, double* lng);

/// Finds the first "33T 500000 4649776" or "33 t 500000.25 4649776.5" in `text`: a run of digits, a
/// letter 'C' to 'X' with or without blanks before it, and two numbers of digits and dots, each
/// behind at least one blank. The parts are then read as above, so fractions go. False, with the
/// outputs as they were, if there is none, if the first one fails there (no later one is tried), or
/// if the result is off the globe: latitude beyond 90 degrees or longitude beyond 180, which also
/// refuses places across the antimeridian from their zone.
PELORIN_EXPORT bool ParseLatLonFromUTM(const QString& text, double* lat, double* lng);

/// The zone and band, such as "33 T", and easting and northing in metres with two decimals, such as
/// "500000.00 m E" and "4649776.00 m N", of a point in degrees. Numbers are filled up with blanks
/// to 7 characters; a half goes away from zero. South of the equator the northing ends in "S" and
/// counts from 10,000,000 m south of it.
///
/// False, with the outputs as they were, above 84 degrees north and for a latitude that is
/// not-a-number; below 80 degrees south the letter is 'A' and the result true. A longitude below
/// -186 has no zone and gives nonsense, with a fatal entry for zone 0.
///
/// The forms of easting and northing are translated (context QObject) at the first call of the
/// process and stay. Safe from any thread, as is the parsing above.
PELORIN_EXPORT bool CreateUTMStrings(double lat, double lng, QString* zone, QString* easting,
                                     QString* northing);

}  // namespace spatial
}  // namespace nimbara
