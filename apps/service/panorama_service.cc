// SPDX-License-Identifier: Apache-2.0
#include "apps/service/panorama_service.h"

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>
#include <vector>

#include "apps/service/answer_cache.h"
#include "apps/service/deep_health.h"
#include "apps/service/elevation_doors.h"
#include "apps/service/http_server.h"
#include "apps/service/image_tile.h"
#include "apps/service/panorama_xml.h"
#include "apps/service/plk_request.h"

namespace pelorin {
namespace {

using httplib::Request;
using httplib::Response;
using SharedAnswer = std::shared_ptr<const FinishedAnswer>;

constexpr char kJpeg[] = "image/jpeg";
constexpr char kText[] = "text/plain; charset=utf-8";
constexpr char kJson[] = "application/json";
constexpr char kFaultHeader[] = "X-Pelorin-Faults";
// Requests told apart by a plan of faults; beyond it the counting starts anew.
constexpr std::size_t kMaxRepeatsKept = 1 << 20;
// How soon a stalled answer notices that its peer has gone.
constexpr std::chrono::milliseconds kStallSlice{20};

void SetLine(int status, const std::string& line, Response* answer) {
  answer->status = status;
  answer->set_content(line + "\n", kText);
}

void SetJson(const nlohmann::json& value, Response* answer) {
  answer->set_content(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n",
                      kJson);
}

const char* FindOptionError(const ServiceOptions& options) {
  if (options.host.empty())
    return "the address to listen on is empty";
  if (options.port < 0 || options.port > 65535)
    return "the port is not from 0 to 65535";
  if (options.max_connections < 1 || options.max_connections > 4096) {
    return "the number of connections is not from 1 to 4096";
  }
  if (options.keep_alive_s < 1)
    return "the idle time of a connection is below 1 second";
  if (options.transfer_timeout_ms < 1)
    return "the time for a transfer is below 1 millisecond";
  return nullptr;
}

}  // namespace

class PanoramaService::Impl {
 public:
  Impl(const Dataset& dataset, const ServiceOptions& options)
      : dataset_(dataset), options_(options), fault_text_(options.faults.Describe()),
        cache_(options.cache_bytes), elevation_(dataset, options.elevation_key),
        server_(
            {options.host, options.port, options.max_connections, options.keep_alive_s,
             std::chrono::milliseconds(options.transfer_timeout_ms)},
            [this](const Request& request, Response& answer) { Serve(request, &answer); },
            &ElevationDoors::TakesBody) {}

  bool Start(std::string* error) { return server_.Start(error); }
  void Stop() {
    std::call_once(stopped_, [this] { server_.Stop(); });
  }
  int port() const { return server_.port(); }
  const ServiceOptions& options() const { return options_; }

  ServiceStatistics statistics() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    ServiceStatistics result = statistics_;
    result.open_connections = server_.CountConnections();
    return result;
  }
  std::string last_data_error() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return last_data_error_;
  }

 private:
  void Serve(const Request& request, Response* answer);
  void ServePlk(const Request& request, Response* answer);
  void ServeElevation(const Request& request, Response* answer);
  void ServeHealth(const Request& request, Response* answer) const;
  void ServeVersion(Response* answer) const;

  FaultDecision DecideFaults(const Request& request);
  // Waits as the decision says. True if the answer is a failure, and set.
  bool FailOnRequest(const FaultDecision& decision, Response* answer);
  void SendDamaged(const FaultDecision& decision, const SharedAnswer& finished, Response* answer);

  // The answer to one query; null if `answer` holds an error instead.
  SharedAnswer Make(const PlkRequest& request, Response* answer);
  SharedAnswer MakeByPosition(const PlkRequest& request, Response* answer);
  SharedAnswer MakeByTile(const PlkRequest& request, Response* answer);
  SharedAnswer MakeImageTile(const PlkRequest& request, Response* answer);
  SharedAnswer MakeOne(const std::string& id, const PlkRequest& request, Response* answer);
  static SharedAnswer MakeEmpty();

  void RefuseData(const std::string& error, Response* answer);
  void RefuseRequest(int status, const std::string& line, Response* answer);
  void Count(std::uint64_t ServiceStatistics::*counter, std::uint64_t number = 1);
  void CountQuery(PlkRequest::Kind kind);

  const Dataset& dataset_;
  const ServiceOptions options_;
  const std::string fault_text_;
  AnswerCache cache_;
  const ElevationDoors elevation_;

  mutable std::mutex mutex_;  // Guards the two members below; held while server_'s is taken.
  ServiceStatistics statistics_;
  std::string last_data_error_;
  std::unordered_map<std::string, std::uint64_t> repeats_;

  std::once_flag stopped_;
  HttpServer server_;  // Last: it calls back into all of the above.
};

void PanoramaService::Impl::Count(std::uint64_t ServiceStatistics::*counter, std::uint64_t number) {
  const std::lock_guard<std::mutex> hold(mutex_);
  statistics_.*counter += number;
}

void PanoramaService::Impl::CountQuery(PlkRequest::Kind kind) {
  switch (kind) {
  case PlkRequest::Kind::kById:
    return Count(&ServiceStatistics::by_id);
  case PlkRequest::Kind::kByPosition:
    return Count(&ServiceStatistics::by_position);
  case PlkRequest::Kind::kByTile:
    return Count(&ServiceStatistics::by_tile);
  case PlkRequest::Kind::kUsageReport:
    return Count(&ServiceStatistics::usage_reports);
  case PlkRequest::Kind::kImageTile:
    return Count(&ServiceStatistics::image_tiles);
  }
}

void PanoramaService::Impl::RefuseRequest(int status, const std::string& line, Response* answer) {
  Count(&ServiceStatistics::bad_requests);
  SetLine(status, line, answer);
}

void PanoramaService::Impl::RefuseData(const std::string& error, Response* answer) {
  Count(&ServiceStatistics::data_errors);
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    last_data_error_ = error;
  }
  SetLine(500, "the dataset cannot be read: " + error, answer);
}

void PanoramaService::Impl::Serve(const Request& request, Response* answer) {
  Count(&ServiceStatistics::requests);
  if (!fault_text_.empty())
    answer->set_header(kFaultHeader, fault_text_);
  const bool may_post = ElevationDoors::TakesBody(request.path);
  if (request.method != "GET" && request.method != "HEAD" &&
      !(may_post && request.method == "POST")) {
    answer->set_header("Allow", may_post ? "GET, HEAD, POST" : "GET, HEAD");
    RefuseRequest(405, "only GET and HEAD are answered here", answer);
  } else if (ElevationDoors::Owns(request.path)) {
    ServeElevation(request, answer);
  } else if (request.path == "/plk") {
    ServePlk(request, answer);
  } else if (request.path == "/health") {
    ServeHealth(request, answer);
  } else if (request.path == "/version") {
    ServeVersion(answer);
  } else {
    RefuseRequest(404, "there is nothing here; try /plk, /v1/heights, /health or /version", answer);
  }
}

void PanoramaService::Impl::ServeElevation(const Request& request, Response* answer) {
  Count(&ServiceStatistics::elevations);
  const FaultDecision decision = DecideFaults(request);
  if (FailOnRequest(decision, answer))
    return;
  const ElevationDoors::Reply reply = elevation_.Serve(request);
  answer->status = reply.status;
  if (reply.status >= 400) {
    Count(reply.status < 500 ? &ServiceStatistics::bad_requests : &ServiceStatistics::data_errors);
    return answer->set_content(reply.body, kJson);
  }
  Count(&ServiceStatistics::heights, reply.heights);
  if (decision.damage == FaultDecision::Damage::kNone)
    return answer->set_content(reply.body, kJson);
  auto finished = std::make_shared<FinishedAnswer>();
  finished->body = reply.body;
  finished->content_type = kJson;
  SendDamaged(decision, finished, answer);
}

void PanoramaService::Impl::ServeHealth(const Request& request, Response* answer) const {
  nlohmann::json health = {{"status", "ok"}, {"panoramas", dataset_.counts().panoramas}};
  if (request.has_param("deep") && request.get_param_value("deep") == "1") {
    const DeepHealth deep = LookDeeply(dataset_);
    health["deep"] = {{"panoramas", deep.panoramas}, {"heights", deep.heights}};
    if (!deep.well()) {
      health["status"] = "failed";
      answer->status = 503;
    }
  }
  if (!fault_text_.empty())
    health["faults"] = fault_text_;
  SetJson(health, answer);
}

void PanoramaService::Impl::ServeVersion(Response* answer) const {
  SetJson({{"name", "pelorin"},
           {"version", PELORIN_VERSION},
           {"dataset", dataset_.info().name},
           {"attribution", dataset_.info().attribution},
           {"dataset_schema", Dataset::kSchemaVersion}},
          answer);
}

void PanoramaService::Impl::ServePlk(const Request& request, Response* answer) {
  PlkRequest query;
  std::string error;
  if (!ParsePlkRequest(request.params, &query, &error))
    return RefuseRequest(400, error, answer);
  CountQuery(query.kind);

  const FaultDecision decision = DecideFaults(request);
  if (FailOnRequest(decision, answer))
    return;
  if (query.kind == PlkRequest::Kind::kUsageReport)
    return SetLine(200, "counted", answer);

  const SharedAnswer finished = Make(query, answer);
  if (finished == nullptr)
    return;
  Count(&ServiceStatistics::panoramas, finished->panoramas);
  if (finished->panoramas == 0 && query.kind != PlkRequest::Kind::kImageTile)
    Count(&ServiceStatistics::empty_answers);
  if (finished->depth_map)
    Count(&ServiceStatistics::depth_maps);
  if (finished->pano_map)
    Count(&ServiceStatistics::pano_maps);
  if (decision.damage != FaultDecision::Damage::kNone) {
    return SendDamaged(decision, finished, answer);
  }
  answer->set_content(finished->body, finished->content_type);
}

bool PanoramaService::Impl::FailOnRequest(const FaultDecision& decision, Response* answer) {
  if (decision.delay.count() > 0)
    server_.SleepUnlessStopped(decision.delay);
  if (decision.fail_status == 0)
    return false;
  Count(&ServiceStatistics::failed);
  if (decision.retry_after_s >= 0)
    answer->set_header("Retry-After", std::to_string(decision.retry_after_s));
  SetLine(decision.fail_status, "failed on request", answer);
  return true;
}

FaultDecision PanoramaService::Impl::DecideFaults(const Request& request) {
  if (fault_text_.empty())
    return {};
  std::uint64_t repeat;
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    if (repeats_.size() >= kMaxRepeatsKept)
      repeats_.clear();
    repeat = repeats_[request.target]++;
  }
  const FaultDecision decision = options_.faults.Decide(request.target, repeat);
  if (decision.late)
    Count(&ServiceStatistics::delayed);
  if (decision.reordered)
    Count(&ServiceStatistics::reordered);
  return decision;
}

void PanoramaService::Impl::SendDamaged(const FaultDecision& decision, const SharedAnswer& finished,
                                        Response* answer) {
  const std::size_t size = finished->body.size();
  if (decision.damage == FaultDecision::Damage::kCorrupt) {
    Count(&ServiceStatistics::corrupted);
    std::string body = finished->body;
    CorruptBytes(decision.noise, &body);
    return answer->set_content(body, finished->content_type);
  }
  // A provider that gives up early makes the library close the connection with the announced length
  // still open.
  if (decision.damage == FaultDecision::Damage::kTruncate) {
    Count(&ServiceStatistics::truncated);
    const std::size_t part = static_cast<std::size_t>(decision.noise % size);
    answer->set_content_provider(
        size, finished->content_type,
        [finished, part](std::size_t, std::size_t, httplib::DataSink& sink) {
          if (part > 0)
            sink.write(finished->body.data(), part);
          return false;
        });
    return;
  }
  Count(&ServiceStatistics::stalled);
  answer->set_content_provider(
      size, finished->content_type,
      [this, finished, size](std::size_t, std::size_t, httplib::DataSink& sink) {
        sink.write(finished->body.data(), size / 2);
        while (sink.is_writable() && !server_.SleepUnlessStopped(kStallSlice)) {
        }
        return false;
      });
}

SharedAnswer PanoramaService::Impl::Make(const PlkRequest& request, Response* answer) {
  switch (request.kind) {
  case PlkRequest::Kind::kById:
    return MakeOne(request.pano_id, request, answer);
  case PlkRequest::Kind::kByPosition:
    return MakeByPosition(request, answer);
  case PlkRequest::Kind::kImageTile:
    return MakeImageTile(request, answer);
  default:
    return MakeByTile(request, answer);
  }
}

SharedAnswer PanoramaService::Impl::MakeEmpty() {
  auto finished = std::make_shared<FinishedAnswer>();
  finished->body = WritePanoramas({});
  return finished;
}

SharedAnswer PanoramaService::Impl::MakeByPosition(const PlkRequest& request, Response* answer) {
  NearestQuery nearest;
  nearest.place = request.place;
  nearest.radius_m = request.radius_m;
  nearest.level_id = request.level_id;
  PanoRecord record;
  std::string error;
  switch (dataset_.FindNearest(nearest, false, &record, &error)) {
  case Answer::kFound:
    return MakeOne(record.id, request, answer);
  case Answer::kNothing:
    return MakeEmpty();
  case Answer::kFailed:
    break;
  }
  RefuseData(error, answer);
  return nullptr;
}

SharedAnswer PanoramaService::Impl::MakeOne(const std::string& id, const PlkRequest& request,
                                            Response* answer) {
  const MapChoice maps{request.depth_map, request.pano_map};
  const std::string key =
      "id " + std::to_string(maps.depth_map) + std::to_string(maps.pano_map) + " " + id;
  if (SharedAnswer kept = cache_.Find(key))
    return kept;
  PanoRecord record;
  std::string error;
  switch (dataset_.FindPano(id, maps.depth_map || maps.pano_map, &record, &error)) {
  case Answer::kFound:
    break;
  case Answer::kNothing:
    return MakeEmpty();
  case Answer::kFailed:
    RefuseData(error, answer);
    return nullptr;
  }
  auto finished = std::make_shared<FinishedAnswer>();
  finished->body = WritePanorama(record, maps);
  finished->panoramas = 1;
  finished->depth_map = maps.depth_map && !record.depth_map.empty();
  finished->pano_map = maps.pano_map && !record.pano_map.empty();
  cache_.Keep(key, finished);
  return finished;
}

SharedAnswer PanoramaService::Impl::MakeImageTile(const PlkRequest& request, Response* answer) {
  const std::string key = "image " + std::to_string(request.zoom) + " " +
                          std::to_string(request.x) + " " + std::to_string(request.y) + " " +
                          request.pano_id;
  if (SharedAnswer kept = cache_.Find(key))
    return kept;
  PanoRecord record;
  std::string error;
  const Answer outcome = dataset_.FindPano(request.pano_id, true, &record, &error);
  if (outcome == Answer::kFailed) {
    RefuseData(error, answer);
    return nullptr;
  }
  auto finished = std::make_shared<FinishedAnswer>();
  finished->content_type = kJpeg;
  if (outcome == Answer::kFound)
    finished->body = DrawImageTile(record, {request.zoom, request.x, request.y});
  if (finished->body.empty()) {
    RefuseRequest(404, "there is no such image tile", answer);
    return nullptr;
  }
  cache_.Keep(key, finished);
  return finished;
}

SharedAnswer PanoramaService::Impl::MakeByTile(const PlkRequest& request, Response* answer) {
  const std::string key = "tile " + std::to_string(request.zoom) + " " + std::to_string(request.x) +
                          " " + std::to_string(request.y);
  if (SharedAnswer kept = cache_.Find(key))
    return kept;
  // One more than allowed, to tell a full tile from one with too many.
  const std::size_t limit = options_.tile_limit + (options_.tile_limit < SIZE_MAX ? 1 : 0);
  std::vector<PanoRecord> records;
  std::string error;
  const Answer outcome =
      dataset_.FindInTile(request.x, request.y, request.zoom, limit, &records, &error);
  if (outcome == Answer::kFailed) {
    RefuseData(error, answer);
    return nullptr;
  }
  if (records.size() > options_.tile_limit) {
    RefuseRequest(400,
                  "the tile holds more than " + std::to_string(options_.tile_limit) +
                      " panoramas; ask for tiles of a higher zoom",
                  answer);
    return nullptr;
  }
  auto finished = std::make_shared<FinishedAnswer>();
  finished->body = WritePanoramas(records);
  finished->panoramas = records.size();
  if (!records.empty())
    cache_.Keep(key, finished);
  return finished;
}

PanoramaService::PanoramaService(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

PanoramaService::~PanoramaService() {
  Stop();
}

std::unique_ptr<PanoramaService>
PanoramaService::Start(const Dataset& dataset, const ServiceOptions& options, std::string* error) {
  if (const char* const reason = FindOptionError(options)) {
    if (error != nullptr)
      *error = reason;
    return nullptr;
  }
  auto impl = std::make_unique<Impl>(dataset, options);
  if (!impl->Start(error))
    return nullptr;
  return std::unique_ptr<PanoramaService>(new PanoramaService(std::move(impl)));
}

int PanoramaService::port() const {
  return impl_->port();
}

std::string PanoramaService::url() const {
  const std::string& host = impl_->options().host;
  // An address with colons would run into the port.
  const bool bracketed = host.find(':') != std::string::npos;
  return "http://" + (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port());
}

ServiceStatistics PanoramaService::statistics() const {
  return impl_->statistics();
}

std::string PanoramaService::last_data_error() const {
  return impl_->last_data_error();
}

void PanoramaService::Stop() {
  impl_->Stop();
}

}  // namespace pelorin
