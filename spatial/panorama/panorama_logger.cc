// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_logger.h"

#include <QStringList>
#include <QUrlQuery>

#include "spatial/panorama/metadata_request.h"
#include "spatial/panorama/panorama_fetcher.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr char kReportServer[] = "http://panorama.pelorin.example/plk";
constexpr int kEventsOfAFullReport = 20;
constexpr double kSecondsBetweenReports = 30.0;
constexpr double kSecondsBeforeTheFirst = 100.0;

QString Text(const char* literal) {
  return QString::fromLatin1(literal);
}

int CountedEventsOf(const SceneStats& stats) {
  return stats.num_viewpoints + stats.num_panoramas + stats.num_fovs;
}

void AppendPart(const char* kind, const SceneStats& stats, QStringList* parts) {
  if (CountedEventsOf(stats) > 0) {
    parts->append(Text(kind) + stats.FormatEvents());
  }
}

// What decides about the next view stays.
void ResetCounts(SceneStats* stats) {
  stats->num_viewpoints = 0;
  stats->num_panoramas = 0;
  stats->num_fovs = 0;
}

}  // namespace

PanoramaLogger::PanoramaLogger(ITimingSource* clock)
    : timing(clock), last_send_time(clock->GetTime() - kSecondsBeforeTheFirst) {}

PanoramaLogger::~PanoramaLogger() {
  if (fetcher) {
    fetcher->cancel();
  }
}

void PanoramaLogger::SendData() {
  if (CountedEvents() == 0) {
    return;
  }
  net::Fetcher::FetchParams params = MetaDataRequest(CreateUrl(), nullptr, this);
  params.pacing_interval_s = 0.0;
  fetcher = net::Fetcher::fetch(params, nullptr);
  last_send_time = timing->GetTime();
  ResetCounts(&stats_68);
  ResetCounts(&stats_67);
}

void PanoramaLogger::NewPanoramaEvent(bool flag) {
  StatsOf(flag).NewPanoramaEvent();
  SendIfDue();
}

void PanoramaLogger::NewViewEvent(double heading, double tilt, double fov, bool flag) {
  StatsOf(flag).NewViewEvent(heading, tilt, fov);
  SendIfDue();
}

bool PanoramaLogger::ShouldSendData() {
  return CountedEvents() > kEventsOfAFullReport ||
         timing->GetTime() - last_send_time > kSecondsBetweenReports;
}

void PanoramaLogger::ForceSendData() {
  SendData();
}

QUrl PanoramaLogger::CreateUrl() const {
  QStringList parts;
  AppendPart("67:", stats_67, &parts);
  AppendPart("68:", stats_68, &parts);
  QUrl url(Text(kReportServer));
  QUrlQuery query;
  query.addQueryItem(Text("output"), Text("plrep"));
  query.addQueryItem(Text("ed"), parts.join(QLatin1Char(',')));
  query.addQueryItem(Text("pl_client"), Text(PanoramaFetcher::kPLClient));
  query.addQueryItem(Text("v"), Text(PanoramaFetcher::kLoggingVersion));
  query.addQueryItem(Text("s"), QString::number(System::Random(0, 10000)));
  url.setQuery(query);
  return url;
}

int PanoramaLogger::CountedEvents() const {
  return CountedEventsOf(stats_67) + CountedEventsOf(stats_68);
}

void PanoramaLogger::SendIfDue() {
  if (ShouldSendData()) {
    SendData();
  }
}

}  // namespace spatial
}  // namespace nimbara
