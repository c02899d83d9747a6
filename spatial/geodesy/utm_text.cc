// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/utm_text.h"

#include <QChar>
#include <QObject>
#include <cmath>

#include "ostrand/base/utmzone.h"

namespace nimbara {
namespace spatial {
namespace {

using ostrand::UTMZone;

// The scanner below stands for three regular expressions of QRegExp, which it is tested against:
//
//     zone     (?:\s*)(\d+)(?:\s*)(\w+)
//     number   (?:\s*)(\d+)
//     whole    (\d+)\s*([C-X])\s+([\.\d]+)\s+([\.\d]+)
//
// QRegExp starts anew at every character, so that a long run of blanks or digits takes it quadratic
// time, and a pasted text of some 100,000 of them minutes. Here a failed start skips the whole run
// of digits: a later start in the same run would meet the same end of the run.

bool IsDigit(QChar c) {
  return c.isDigit();
}
bool IsBlank(QChar c) {
  return c.isSpace();
}
bool IsDigitOrDot(QChar c) {
  return c.isDigit() || c == QLatin1Char('.');
}
bool IsWord(QChar c) {
  return c.isLetterOrNumber() || c.isMark() || c == QLatin1Char('_');
}
bool IsBandLetter(QChar c) {
  return c >= QLatin1Char('C') && c <= QLatin1Char('X');
}

// A place in a text, moved on by what it skips.
class Scanner {
 public:
  explicit Scanner(const QString& text) : text_(text) {}

  bool AtEnd() const { return position_ == text_.size(); }
  bool At(bool (*is)(QChar)) const { return !AtEnd() && is(text_.at(position_)); }
  int position() const { return position_; }

  // Moves behind the run of characters here that are (or are not) of a kind, and returns the run.
  QStringRef Take(bool (*is)(QChar)) {
    const int start = position_;
    while (At(is)) {
      ++position_;
    }
    return text_.midRef(start, position_ - start);
  }
  QChar TakeOne() { return text_.at(position_++); }
  // Moves to the next character of a kind, or to the end.
  void SkipTo(bool (*is)(QChar)) {
    while (!AtEnd() && !is(text_.at(position_))) {
      ++position_;
    }
  }

 private:
  const QString& text_;
  int position_ = 0;
};

struct ZoneParts {
  QString number;
  QString word;
};

// Empty parts if there are none.
ZoneParts FindZone(const QString& text) {
  Scanner scanner(text);
  for (scanner.SkipTo(IsDigit); !scanner.AtEnd(); scanner.SkipTo(IsDigit)) {
    const QString number = scanner.Take(IsDigit).toString();
    scanner.Take(IsBlank);
    const QString word = scanner.Take(IsWord).toString();
    if (!word.isEmpty()) {
      return {number, word};
    }
    // A digit is part of a word too, so the last one of the run serves as one.
    if (number.size() > 1) {
      return {number.left(number.size() - 1), number.right(1)};
    }
  }
  return {};
}

double FirstNumber(const QString& text) {
  Scanner scanner(text);
  scanner.SkipTo(IsDigit);
  return scanner.Take(IsDigit).toDouble();
}

struct UtmParts {
  QString zone;
  QString easting;
  QString northing;
};

bool TakeCoordinate(Scanner* scanner, QString* digits) {
  if (scanner->Take(IsBlank).isEmpty()) {
    return false;
  }
  *digits = scanner->Take(IsDigitOrDot).toString();
  return !digits->isEmpty();
}

bool FindUtm(const QString& text, UtmParts* parts) {
  Scanner scanner(text);
  for (scanner.SkipTo(IsDigit); !scanner.AtEnd(); scanner.SkipTo(IsDigit)) {
    const QString number = scanner.Take(IsDigit).toString();
    Scanner ahead = scanner;
    ahead.Take(IsBlank);
    if (!ahead.At(IsBandLetter)) {
      continue;
    }
    parts->zone = number + ahead.TakeOne();
    if (TakeCoordinate(&ahead, &parts->easting) && TakeCoordinate(&ahead, &parts->northing)) {
      return true;
    }
  }
  return false;
}

bool IsBand(char letter) {
  return letter >= 'C' && letter <= 'X' && letter != 'I' && letter != 'O';
}

struct Formats {
  QString easting;
  QString northing;
  QString south;
};

QString Translated(const char* text, const char* comment) {
  return QObject::staticMetaObject.tr(text, comment, -1);
}

const Formats& GetFormats() {
  static const Formats formats{
      Translated("%1 m E", "Meters easting in Universal Transverse Mercator (UTM) coordinates.  "
                           "VALUE_1 will be replaced with a number."),
      Translated("%1 m N", "Meters northing in Universal Transverse Mercator (UTM) coordinates.  "
                           "VALUE_1 will be replaced with a number."),
      Translated("%1 m S", "Negative meters northing (i.e., south of the equator) in Universal "
                           "Transverse Mercator (UTM) coordinates.  VALUE_1 will be replaced with "
                           "a number.")};
  return formats;
}

QString WithNumber(const QString& format, double metres) {
  return format.arg(metres, 7, 'f', 2, QLatin1Char(' '));
}

}  // namespace

bool ParseLatLonFromUTM(const QString& zone, const QString& easting, const QString& northing,
                        double* lat, double* lng) {
  const ZoneParts parts = FindZone(zone.toUpper());
  if (parts.word.isEmpty()) {
    return false;
  }
  const char letter = parts.word.toLatin1().at(0);
  const auto number = static_cast<unsigned char>(parts.number.toInt());
  if (!IsBand(letter) || number < 1 || number > 60) {
    return false;
  }
  const UTMZone utm(number, letter);
  utm.LocalToLatLng(FirstNumber(easting), FirstNumber(northing), lat, lng);
  return true;
}

bool ParseLatLonFromUTM(const QString& text, double* lat, double* lng) {
  UtmParts parts;
  if (!FindUtm(text.toUpper().trimmed(), &parts)) {
    return false;
  }
  double found_lat = 1000.0;
  double found_lng = 1000.0;
  if (!ParseLatLonFromUTM(parts.zone, parts.easting, parts.northing, &found_lat, &found_lng) ||
      !(std::abs(found_lat) <= 90.0 && std::abs(found_lng) <= 180.0)) {
    return false;
  }
  *lat = found_lat;
  *lng = found_lng;
  return true;
}

bool CreateUTMStrings(double lat, double lng, QString* zone, QString* easting, QString* northing) {
  const UTMZone utm(lat, lng);
  if (utm.latitude_zone() == 'Z') {
    return false;
  }
  double x = 0.0;
  double y = 0.0;
  utm.LatLngToLocal(lat, lng, &x, &y);
  const Formats& formats = GetFormats();
  *zone = QStringLiteral("%1 %2")
              .arg(static_cast<unsigned>(utm.longitude_zone()), 0, 10, QLatin1Char(' '))
              .arg(QLatin1Char(utm.latitude_zone()));
  *easting = WithNumber(formats.easting, x);
  *northing = WithNumber(utm.latitude_zone() <= 'M' ? formats.south : formats.northing, y);
  return true;
}

}  // namespace spatial
}  // namespace nimbara
