// SPDX-License-Identifier: Apache-2.0
#include "apps/command/elevation/height_source.h"

#include <CLI/CLI.hpp>
#include <QUrl>
#include <QUrlQuery>
#include <algorithm>
#include <fstream>
#include <iterator>

#include "apps/command/elevation/awaited_query.h"
#include "apps/command/pano_source.h"
#include "apps/command/service_fault.h"
#include "apps/service/height_request.h"
#include "host/reference/network_shutdown.h"
#include "spatial/geodesy/elevation_query.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec3;
using nimbara::spatial::ElevationQuery;

constexpr std::size_t kPlacesAtATime = 20000;
constexpr std::size_t kMaxKeyBytes = 4096;
constexpr char kServicePath[] = "/elevation/";

Outcome BaseUrl(const std::string& text, std::string* base) {
  QUrl url(QString::fromStdString(text), QUrl::StrictMode);
  const bool is_http = url.scheme() == "http" || url.scheme() == "https";
  if (!url.isValid() || !is_http || url.host().isEmpty()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "'" + text + "' is not the address of a server",
                         "--server", "give something like http://127.0.0.1:8080");
  }
  if (url.path().isEmpty() || url.path() == "/") {
    url.setPath(kServicePath);
  }
  *base = url.toString(QUrl::FullyEncoded).toStdString();
  return Outcome::Done();
}

// Queries keep the items that the address of the service has, and sign them.
QUrl WithInterpolation(QUrl url, const HeightSourceFlags& flags) {
  if (!flags.interpolation.empty()) {
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("interpolation"),
                       QString::fromStdString(flags.interpolation));
    url.setQuery(query);
  }
  return url;
}

Outcome OutcomeOf(ElevationQuery::State state, const std::string& url) {
  switch (state) {
  case ElevationQuery::kDone:
    return Outcome::Done();
  case ElevationQuery::kOffline:
    return Outcome::Fail(ExitCode::kUnavailable, "nobody answers", url,
                         "see that the service runs and the address is right");
  case ElevationQuery::kServiceUnavailable:
    return Outcome::Fail(ExitCode::kUnavailable, "the service is overloaded", url,
                         "try again later");
  default:
    return Outcome::Fail(ExitCode::kUnavailable, "the service gave no heights that can be used",
                         url, "see that it serves heights and that --key is the key it has");
  }
}

}  // namespace

void AddHeightSourceFlags(CLI::App& verb, HeightSourceFlags* flags) {
  CLI::Option* const dataset =
      verb.add_option(
              "--dataset", flags->dataset,
              "Dataset with heights made by 'pelorin import', or 'town' for the one that is "
              "compiled in (the default)")
          ->type_name("FILE");
  verb.add_option("--server", flags->server, "Elevation service to ask instead of a dataset")
      ->type_name("URL")
      ->excludes(dataset);
  verb.add_option("--key", flags->key_file, "File with the key that requests are signed with")
      ->type_name("FILE");
  verb.add_option("--interpolation", flags->interpolation,
                  "How heights between samples are found; bilinear otherwise. Other services may "
                  "pass it over")
      ->check(CLI::IsMember(InterpolationNames()));
}

Outcome ReadKeyFile(const std::string& path, std::string* key) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(kMaxKeyBytes + 1, '\0');
  file.read(&bytes[0], static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  if (bytes.size() > kMaxKeyBytes) {
    return Outcome::Fail(ExitCode::kDataError, "more than 4096 bytes are no key", path);
  }
  while (!bytes.empty() && (bytes.back() == '\n' || bytes.back() == '\r')) {
    bytes.pop_back();
  }
  if (bytes.empty()) {
    return Outcome::Fail(ExitCode::kDataError, "there is no key to be read", path,
                         "give a file that holds the key of the service");
  }
  *key = std::move(bytes);
  return Outcome::Done();
}

HeightSource::~HeightSource() {
  nimbara::net::ShutDownNetwork();
}

Outcome HeightSource::Open(const HeightSourceFlags& flags, const Session& session) {
  std::string key;
  if (!flags.key_file.empty()) {
    if (Outcome outcome = ReadKeyFile(flags.key_file, &key); !outcome.ok()) {
      return outcome;
    }
  }
  nimbara::spatial::SetElevationQueryKey(reinterpret_cast<const unsigned char*>(key.data()),
                                         static_cast<int>(key.size()));
  const Outcome outcome =
      flags.server.empty() ? StartService(flags, key) : BaseUrl(flags.server, &url_);
  if (outcome.ok()) {
    ElevationQuery::s_url_ = WithInterpolation(QUrl(QString::fromStdString(url_)), flags);
    session.TellDetail("asking " + url_);
  }
  return outcome;
}

Outcome HeightSource::StartService(const HeightSourceFlags& flags, const std::string& key) {
  if (Outcome outcome = OpenDataset(flags.dataset, &dataset_); !outcome.ok()) {
    return outcome;
  }
  if (dataset_->height_grids().empty()) {
    return Outcome::Fail(ExitCode::kNothingFound, "the dataset holds no heights", flags.dataset,
                         "give a dataset made with an SRTM tile, a GeoTIFF or an ASCII grid");
  }
  ServiceOptions options;
  if (!key.empty()) {
    options.elevation_key = key;
  }
  std::string error;
  service_ = PanoramaService::Start(*dataset_, options, &error);
  if (service_ == nullptr) {
    return Outcome::Fail(ExitCode::kUnavailable, error);
  }
  url_ = service_->url() + kServicePath;
  return Outcome::Done();
}

std::size_t HeightSource::CountUnknown(const std::vector<LatLng>& places) const {
  std::vector<Height> heights;
  if (dataset_ == nullptr ||
      dataset_->FindHeights(places, {}, &heights, nullptr) != Answer::kFound) {
    return 0;
  }
  return static_cast<std::size_t>(std::count_if(
      heights.begin(), heights.end(), [](const Height& height) { return height.grid < 0; }));
}

Outcome HeightSource::Fetch(const std::vector<LatLng>& places, std::vector<double>* heights,
                            const std::function<void(std::size_t)>& on_progress) const {
  for (std::size_t done = 0; done < places.size(); done += kPlacesAtATime) {
    const std::size_t count = std::min(kPlacesAtATime, places.size() - done);
    if (Outcome outcome = FetchSome(&places[done], count, heights); !outcome.ok()) {
      return outcome;
    }
    if (on_progress) {
      on_progress(done + count);
    }
  }
  return Outcome::Done();
}

Outcome HeightSource::FetchSome(const LatLng* places, std::size_t count,
                                std::vector<double>* heights) const {
  std::vector<Vec3<double>> points(count);
  std::transform(places, places + count, points.begin(), [](const LatLng& place) {
    return Vec3<double>{place.lng_deg / 180.0, place.lat_deg / 180.0, 0.0};
  });
  const auto query = std::make_unique<AwaitedQuery>();
  query->Construct(points.data(), static_cast<int>(count),
                   ElevationQuery::kDefaultMaxPointsPerRequest,
                   ElevationQuery::kDefaultMaxUrlLength);
  if (query->request_count() > 0) {
    query->Await();
  }
  if (Outcome outcome = OutcomeOf(query->state(), url_); !outcome.ok()) {
    return FailureOf(service_.get(), outcome);
  }
  // A float has seven digits: half a millimetre on the highest mountain.
  std::transform(query->heights().begin(), query->heights().end(), std::back_inserter(*heights),
                 [](float metres) { return static_cast<double>(metres); });
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
