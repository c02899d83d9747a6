// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRegExp>
#include <QString>
#include <QStringList>
#include <cmath>
#include <cstring>

#include "ostrand/base/utmzone.h"

namespace nimbara {
namespace test_support {

/// What reading a UTM text gave: the angles as they were before where it failed.
struct UtmTextResult {
  bool ok = false;
  double lat = 77.0;
  double lng = 77.0;
};

/// Equal to the bit, not-a-number included.
inline bool Same(const UtmTextResult& a, const UtmTextResult& b) {
  return a.ok == b.ok && std::memcmp(&a.lat, &b.lat, sizeof a.lat) == 0 &&
         std::memcmp(&a.lng, &b.lng, sizeof a.lng) == 0;
}

/// The number that the first run of digits makes.
inline double NumberTwin(const QString& text) {
  QRegExp number(QStringLiteral("(?:\\s*)(\\d+)"));
  number.indexIn(text);
  return number.cap(1).toDouble();
}

/// What the three-field form reads, by the regular expressions that its scanner stands for.
inline UtmTextResult FieldsTwin(const QString& zone, const QString& easting,
                                const QString& northing) {
  QRegExp parts(QStringLiteral("(?:\\s*)(\\d+)(?:\\s*)(\\w+)"));
  parts.indexIn(zone.toUpper());
  UtmTextResult result;
  if (parts.cap(2).isEmpty()) {
    return result;
  }
  const char letter = parts.cap(2).toLatin1().at(0);
  const int number = static_cast<unsigned char>(parts.cap(1).toInt());
  if (letter < 'C' || letter > 'X' || letter == 'I' || letter == 'O' || number < 1 || number > 60) {
    return result;
  }
  result.ok = true;
  ostrand::UTMZone(static_cast<unsigned char>(number), letter)
      .LocalToLatLng(NumberTwin(easting), NumberTwin(northing), &result.lat, &result.lng);
  return result;
}

/// The same for the form in one string. Takes quadratic time.
inline UtmTextResult WholeTwin(const QString& text) {
  QRegExp whole(QStringLiteral("(\\d+)\\s*([C-X])\\s+([\\.\\d]+)\\s+([\\.\\d]+)"),
                Qt::CaseInsensitive);
  if (whole.indexIn(text.toUpper().trimmed()) < 0) {
    return {};
  }
  const QStringList found = whole.capturedTexts();
  const UtmTextResult result = FieldsTwin(found[1] + found[2], found[3], found[4]);
  return result.ok && std::abs(result.lat) <= 90.0 && std::abs(result.lng) <= 180.0
             ? result
             : UtmTextResult{};
}

}  // namespace test_support
}  // namespace nimbara
