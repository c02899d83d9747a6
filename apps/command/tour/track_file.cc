// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/track_file.h"

#include <QDateTime>
#include <QFile>
#include <QXmlStreamReader>
#include <optional>
#include <utility>

#include "apps/command/coordinates.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kMetresPerSecond = 4.0;

struct RawPoint {
  LatLng place;
  std::optional<double> unix_seconds;
};

bool ReadPlace(const QXmlStreamAttributes& attributes, LatLng* place) {
  LatLng read;
  if (!ParseNumber(attributes.value("lat").toString().toStdString(), &read.lat_deg) ||
      !ParseNumber(attributes.value("lon").toString().toStdString(), &read.lng_deg) ||
      !IsValidLatLng(read)) {
    return false;
  }
  *place = read;
  return true;
}

/// The rest of a point's element; its time, if it has one.
std::optional<double> ReadTime(QXmlStreamReader* xml) {
  std::optional<double> seconds;
  while (xml->readNextStartElement()) {
    if (xml->name() != QLatin1String("time")) {
      xml->skipCurrentElement();
      continue;
    }
    const QString text = xml->readElementText(QXmlStreamReader::SkipChildElements).trimmed();
    const QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (time.isValid()) {
      seconds = static_cast<double>(time.toMSecsSinceEpoch()) / 1000.0;
    }
  }
  return seconds;
}

bool HasRisingTimes(const std::vector<RawPoint>& points) {
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!points[i].unix_seconds ||
        (i > 0 && *points[i].unix_seconds < *points[i - 1].unix_seconds)) {
      return false;
    }
  }
  return true;
}

std::vector<TrackPoint> WithSeconds(const std::vector<RawPoint>& points) {
  const bool has_times = HasRisingTimes(points);
  std::vector<TrackPoint> track;
  for (std::size_t i = 0; i < points.size(); ++i) {
    double seconds = 0.0;
    if (i > 0) {
      seconds = has_times
                    ? *points[i].unix_seconds - *points[0].unix_seconds
                    : track.back().seconds +
                          DistanceMetres(points[i - 1].place, points[i].place) / kMetresPerSecond;
    }
    track.push_back({points[i].place, seconds});
  }
  return track;
}

}  // namespace

Outcome ReadTrack(const std::string& path, std::vector<TrackPoint>* track) {
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    return Outcome::Fail(ExitCode::kDataError,
                         "cannot be read: " + file.errorString().toStdString(), path);
  }
  QXmlStreamReader xml(&file);
  if (!xml.readNextStartElement() || xml.name() != QLatin1String("gpx")) {
    return Outcome::Fail(ExitCode::kDataError, "is no GPX", path, "give a track as GPX");
  }
  std::vector<RawPoint> tracks;
  std::vector<RawPoint> routes;
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement) {
      continue;
    }
    const bool is_track = xml.name() == QLatin1String("trkpt");
    RawPoint point;
    if ((is_track || xml.name() == QLatin1String("rtept")) &&
        ReadPlace(xml.attributes(), &point.place)) {
      point.unix_seconds = ReadTime(&xml);
      (is_track ? tracks : routes).push_back(point);
    }
  }
  if (xml.hasError()) {
    return Outcome::Fail(
        ExitCode::kDataError, "not GPX, or damaged: " + xml.errorString().toStdString(),
        path + ", line " + std::to_string(xml.lineNumber()), "give a recorded track");
  }
  const std::vector<RawPoint>& points = tracks.empty() ? routes : tracks;
  if (points.empty()) {
    return Outcome::Fail(ExitCode::kDataError, "has no point of a track or route", path,
                         "give a recorded track");
  }
  *track = WithSeconds(points);
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
