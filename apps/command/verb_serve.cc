// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <csignal>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "apps/command/elevation/height_source.h"
#include "apps/command/fault_flags.h"
#include "apps/command/output_file.h"
#include "apps/command/pano_source.h"
#include "apps/command/verbs.h"
#include "apps/service/panorama_service.h"

namespace pelorin {
namespace command {
namespace {

struct ServeFlags {
  std::string dataset;
  std::string address = "127.0.0.1";
  int port = 0;
  std::string key_file;
  FaultFlags faults;
};

/// The one line that a script reads to learn where the service is.
std::string ReadyLine(const PanoramaService& service, const Dataset& dataset,
                      const ServiceOptions& options) {
  nlohmann::ordered_json line;
  line["address"] = options.host;
  line["port"] = service.port();
  line["url"] = service.url();
  line["dataset"] = dataset.info().name;
  line["panoramas"] = dataset.counts().panoramas;
  line["height_grids"] = dataset.counts().height_grids;
  line["misbehaviour"] = options.faults.Describe();
  return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string Farewell(const ServiceStatistics& done) {
  return "answered " + std::to_string(done.requests) + " requests: " + std::to_string(done.by_id) +
         " by id, " + std::to_string(done.by_position) + " by position, " +
         std::to_string(done.by_tile) + " by tile";
}

Outcome Serve(const ServeFlags& flags, const Session& session) {
  ServiceOptions options;
  options.host = flags.address;
  options.port = flags.port;
  if (Outcome outcome = MakeFaultPlan(flags.faults, &options.faults); !outcome.ok()) {
    return outcome;
  }
  if (!flags.key_file.empty()) {
    if (Outcome outcome = ReadKeyFile(flags.key_file, &options.elevation_key); !outcome.ok()) {
      return outcome;
    }
  }
  std::unique_ptr<Dataset> dataset;
  if (Outcome outcome = OpenDataset(flags.dataset, &dataset); !outcome.ok()) {
    return outcome;
  }
  std::string error;
  const std::unique_ptr<PanoramaService> service =
      PanoramaService::Start(*dataset, options, &error);
  if (service == nullptr) {
    return Outcome::Fail(ExitCode::kUnavailable, error, "",
                         "choose an --address of this machine and a free --port, 0 for any");
  }
  // Whoever reads the line may send its signal at once.
  session.interruption->TakeOver();
  if (Outcome outcome = WriteOutput("-", false, ReadyLine(*service, *dataset, options));
      !outcome.ok()) {
    return outcome;
  }
  if (options.faults.active()) {
    session.Tell("this service misbehaves on request: " + options.faults.Describe());
  }
  const int signal = session.interruption->WaitForSignal();
  service->Stop();
  session.TellDetail(Farewell(service->statistics()));
  return signal == SIGINT ? Outcome::Ended(ExitCode::kInterrupted) : Outcome::Done();
}

}  // namespace

void AddServeVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<ServeFlags>();
  CLI::App* const verb = app.add_subcommand("serve", "Run the panorama and elevation service");
  verb->add_option("--dataset", flags->dataset,
                   "Dataset made by 'pelorin import', or 'town' for the one that is compiled in "
                   "(the default)")
      ->type_name("FILE");
  verb->add_option("--address", flags->address, "Address to listen on; 127.0.0.1 unless given")
      ->type_name("HOST");
  verb->add_option("--port", flags->port, "Port to listen on; 0, the default, takes a free one")
      ->type_name("N")
      ->check(CLI::Range(0, 65535).description(""));
  verb->add_option("--key", flags->key_file,
                   "File with the key that requests for heights are signed with")
      ->type_name("FILE");
  AddFaultFlags(*verb, &flags->faults);
  verb->footer("Prints one line of JSON with address, port and url once it takes connections, and "
               "runs\nuntil SIGTERM (exit code 0) or SIGINT (130).\n\n"
               "Example: pelorin serve --port 0 --fail 503:0.2 --truncate 0.1");
  verb->callback([flags, &session] { session.outcome = Serve(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
