// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/photo_facts.h"

#include <libexif/exif-data.h>

#include <cmath>
#include <memory>
#include <string>
#include <string_view>

#include "apps/jpeg/acquisition_date.h"

namespace pelorin {
namespace {

using vortan::JpegCommentDate;

constexpr int kApp1 = 0xE1;
constexpr std::string_view kExifName("Exif\0\0", 6);

struct Unref {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};
using ExifPointer = std::unique_ptr<ExifData, Unref>;

// Tags of the GPS folder share their numbers with those of another folder, so libexif names them by
// macros.
ExifEntry* Find(const ExifData& data, ExifIfd folder, int tag) {
  return exif_content_get_entry(data.ifd[folder], static_cast<ExifTag>(tag));
}

// Degrees, minutes and seconds in an entry, as degrees.
std::optional<double> Angle(const ExifData& data, int tag) {
  const ExifEntry* const entry = Find(data, EXIF_IFD_GPS, tag);
  if (entry == nullptr || entry->format != EXIF_FORMAT_RATIONAL || entry->components != 3 ||
      entry->size < 3 * 8) {
    return std::nullopt;
  }
  double angle_deg = 0.0;
  double unit = 1.0;
  for (int i = 0; i < 3; ++i) {
    const ExifRational part =
        exif_get_rational(entry->data + 8 * i, exif_data_get_byte_order(entry->parent->parent));
    if (part.denominator == 0) {
      // Some cameras write 0/0 for seconds that they do not know.
      if (part.numerator != 0 || i == 0) {
        return std::nullopt;
      }
    } else {
      angle_deg += static_cast<double>(part.numerator) / part.denominator * unit;
    }
    unit /= 60.0;
  }
  return angle_deg;
}

// The letter that says the half of the planet; NUL if there is none.
char Letter(const ExifData& data, int tag) {
  const ExifEntry* const entry = Find(data, EXIF_IFD_GPS, tag);
  return entry == nullptr || entry->format != EXIF_FORMAT_ASCII || entry->size < 1
             ? '\0'
             : static_cast<char>(entry->data[0]);
}

std::optional<LatLng> PlaceIn(const ExifData& data) {
  const std::optional<double> lat = Angle(data, EXIF_TAG_GPS_LATITUDE);
  const std::optional<double> lng = Angle(data, EXIF_TAG_GPS_LONGITUDE);
  const char north = Letter(data, EXIF_TAG_GPS_LATITUDE_REF);
  const char east = Letter(data, EXIF_TAG_GPS_LONGITUDE_REF);
  if (!lat || !lng || (north != 'N' && north != 'S') || (east != 'E' && east != 'W')) {
    return std::nullopt;
  }
  const LatLng place{north == 'S' ? -*lat : *lat, east == 'W' ? -*lng : *lng};
  return IsValidLatLng(place) ? std::optional<LatLng>(place) : std::nullopt;
}

JpegCommentDate DateIn(const ExifData& data) {
  const ExifEntry* const entry = Find(data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL);
  JpegCommentDate date;
  // "2017:12:31 23:59:59"; zeros or blanks where the clock was never set.
  if (entry != nullptr && entry->format == EXIF_FORMAT_ASCII && entry->size >= 10) {
    ParseDate({reinterpret_cast<const char*>(entry->data), 10}, &date);
  }
  return date;
}

}  // namespace

PhotoFacts FactsInHeader(const JpegHeader& header) {
  PhotoFacts facts;
  for (const JpegSegment& segment : header.segments) {
    if (segment.code != kApp1 || segment.content.substr(0, kExifName.size()) != kExifName) {
      continue;
    }
    const ExifPointer data(exif_data_new());
    if (data == nullptr) {
      break;
    }
    exif_data_load_data(data.get(), reinterpret_cast<const unsigned char*>(segment.content.data()),
                        static_cast<unsigned int>(segment.content.size()));
    facts.place = PlaceIn(*data);
    facts.date = DateIn(*data);
    break;
  }
  return facts;
}

}  // namespace pelorin
