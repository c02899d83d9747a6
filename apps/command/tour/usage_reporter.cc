// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/usage_reporter.h"

#include <QStringList>
#include <QUrl>
#include <chrono>
#include <thread>

#include "host/reference/network_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::net::Fetcher;
using nimbara::net::NetworkOptions;
using nimbara::spatial::SceneStats;

constexpr int kHttpPort = 80;
constexpr std::chrono::milliseconds kLook{1};

void AddCounts(const SceneStats& stats, TourUsage* usage) {
  usage->panoramas += static_cast<std::uint64_t>(stats.num_panoramas);
  usage->viewpoints += static_cast<std::uint64_t>(stats.num_viewpoints);
  usage->fields_of_view += static_cast<std::uint64_t>(stats.num_fovs);
}

/// "from:port:to:port"; empty if `service` is not plain HTTP.
QString RedirectionOf(const QUrl& from, const std::string& service) {
  const QUrl to(QString::fromStdString(service));
  if (to.scheme() != QLatin1String("http") || to.host().isEmpty()) {
    return QString();
  }
  const QString host = to.host().contains(':') ? "[" + to.host() + "]" : to.host();
  return QStringList{from.host(), QString::number(from.port(kHttpPort)), host,
                     QString::number(to.port(kHttpPort))}
      .join(':');
}

}  // namespace

UsageReporter::UsageReporter(nimbara::ITimingSource* clock, const std::string& service)
    : PanoramaLogger(clock), redirection_(RedirectionOf(CreateUrl(), service)) {}

/// The redirection holds for this request alone: while there is one, no proxy is used, which the
/// other requests may need.
void UsageReporter::SendData() {
  TourUsage due;
  AddCounts(stats_68, &due);
  AddCounts(stats_67, &due);
  if (redirection_.isEmpty() || due.panoramas + due.viewpoints + due.fields_of_view == 0) {
    return;
  }
  const NetworkOptions before = nimbara::net::GetNetworkOptions();
  NetworkOptions redirected = before;
  redirected.connect_to = QStringList(redirection_);
  nimbara::net::SetNetworkOptions(redirected);
  PanoramaLogger::SendData();
  nimbara::net::SetNetworkOptions(before);
  usage_.panoramas += due.panoramas;
  usage_.viewpoints += due.viewpoints;
  usage_.fields_of_view += due.fields_of_view;
  if (fetcher) {
    ++usage_.reports;
    reports_.push_back(fetcher);
  }
}

TourUsage UsageReporter::Finish() {
  ForceSendData();
  TourUsage usage = usage_;
  AddCounts(stats_68, &usage);
  AddCounts(stats_67, &usage);
  for (const nimbara::RefPtr<Fetcher>& report : reports_) {
    while (report->status() == Fetcher::kRunning) {
      std::this_thread::sleep_for(kLook);
    }
    usage.answered += report->status() == Fetcher::kSucceeded ? 1 : 0;
  }
  return usage;
}

}  // namespace command
}  // namespace pelorin
