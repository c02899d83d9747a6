// SPDX-License-Identifier: Apache-2.0
#include "apps/command/pano_source.h"

#include <CLI/CLI.hpp>
#include <QUrl>

#include "apps/dataset/harbour_town.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

/// A service of our own loses nothing by being asked again at once.
void AskOwnServiceAgainSoon() {
  nimbara::net::NetworkOptions options = nimbara::net::GetNetworkOptions();
  options.retry_base_delay_s = 0.02;
  options.retry_max_delay_s = 0.5;
  options.stall_timeout_s = 2;
  nimbara::net::SetNetworkOptions(options);
}

/// The address as a base for requests: a server alone gets the path under which services answer.
Outcome BaseUrl(const std::string& text, std::string* base) {
  QUrl url(QString::fromStdString(text), QUrl::StrictMode);
  const bool is_http = url.scheme() == "http" || url.scheme() == "https";
  if (!url.isValid() || !is_http || url.host().isEmpty()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "'" + text + "' is not the address of a server",
                         "--server", "give something like http://127.0.0.1:8080");
  }
  if (url.path().isEmpty() || url.path() == "/") {
    url.setPath("/plk");
  }
  *base = url.toString().toStdString();
  return Outcome::Done();
}

}  // namespace

void AddPanoSourceFlags(CLI::App& verb, PanoSourceFlags* flags) {
  CLI::Option* const dataset =
      verb.add_option("--dataset", flags->dataset,
                      "Dataset made by 'pelorin import', or 'town' for the one that is compiled in "
                      "(the default)")
          ->type_name("FILE");
  verb.add_option("--server", flags->server, "Panorama service to ask instead of a dataset")
      ->type_name("URL")
      ->excludes(dataset);
}

Outcome OpenDataset(const std::string& name, std::unique_ptr<Dataset>* dataset) {
  std::string error;
  *dataset = name.empty() || name == "town" ? MakeHarbourTown(&error) : Dataset::Open(name, &error);
  return *dataset != nullptr ? Outcome::Done()
                             : Outcome::Fail(ExitCode::kDataError, error, "",
                                             "give a dataset made by 'pelorin import', or 'town'");
}

PanoSource::~PanoSource() {
  nimbara::net::ShutDownNetwork();
}

Outcome PanoSource::Open(const PanoSourceFlags& flags, const Session& session) {
  const Outcome outcome =
      flags.server.empty() ? StartService(flags, session) : BaseUrl(flags.server, &url_);
  if (outcome.ok()) {
    nimbara::spatial::PelorinSpatialOptions::s_settings_.meta_data_fetch_server.Set(
        QString::fromStdString(url_));
    session.TellDetail("asking " + url_);
  }
  return outcome;
}

Outcome PanoSource::StartService(const PanoSourceFlags& flags, const Session& session) {
  ServiceOptions options;
  if (Outcome outcome = MakeFaultPlan(flags.faults, &options.faults); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = OpenDataset(flags.dataset, &dataset_); !outcome.ok()) {
    return outcome;
  }
  std::string error;
  service_ = PanoramaService::Start(*dataset_, options, &error);
  if (service_ == nullptr) {
    return Outcome::Fail(ExitCode::kUnavailable, error);
  }
  if (options.faults.active()) {
    session.Tell("the service misbehaves on request: " + options.faults.Describe());
  }
  AskOwnServiceAgainSoon();
  url_ = service_->url() + "/plk";
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
