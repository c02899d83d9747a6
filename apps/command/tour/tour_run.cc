// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_run.h"

#include <sys/resource.h>

#include <QUrl>
#include <chrono>
#include <utility>

#include "apps/command/coordinates.h"
#include "apps/command/service_fault.h"
#include "apps/command/tour/far_apart.h"
#include "apps/command/tour/graph_snapshot.h"
#include "apps/command/tour/stop_depth_maps.h"
#include "apps/command/tour/stop_tiles.h"
#include "apps/command/tour/street_tour.h"
#include "apps/command/tour/tour_fetch_manager.h"
#include "apps/command/tour/tour_walk.h"
#include "host/reference/network_statistics.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::net::GetNetworkStatistics;
using nimbara::net::NetworkStatistics;
using nimbara::spatial::PelorinSpatialOptions;

/// The library's counters at one moment; a tour is the difference of two.
struct Counters {
  NetworkStatistics network = GetNetworkStatistics();
  int by_id = PelorinSpatialOptions::s_settings_.num_meta_data_pano_id_fetches.Get();
  int by_position = PelorinSpatialOptions::s_settings_.num_meta_data_pano_lat_lon_fetches.Get();
  int by_tile = PelorinSpatialOptions::s_settings_.num_meta_data_pano_tile_fetches.Get();
  std::chrono::steady_clock::time_point time = std::chrono::steady_clock::now();
};

std::uint64_t PeakMemoryBytes() {
  struct rusage usage {};
  return getrusage(RUSAGE_SELF, &usage) == 0 ? static_cast<std::uint64_t>(usage.ru_maxrss) * 1024
                                             : 0;
}

TourFigures FiguresBetween(const Counters& start, const Counters& end, const TourWalk& walk) {
  TourFigures figures;
  figures.id_requests = static_cast<std::uint64_t>(end.by_id - start.by_id);
  figures.position_requests = static_cast<std::uint64_t>(end.by_position - start.by_position);
  figures.tile_requests = static_cast<std::uint64_t>(end.by_tile - start.by_tile);
  figures.refused = walk.refused();
  figures.failed = end.network.failed - start.network.failed;
  figures.retried = end.network.retried - start.network.retried + walk.asked_again();
  figures.seconds = std::chrono::duration<double>(end.time - start.time).count();
  figures.peak_memory_bytes = PeakMemoryBytes();
  return figures;
}

Outcome ChooseEnds(const PanoSource& source, const TourRequest& request, WalkPlan* plan) {
  if (!request.track.empty()) {
    plan->from = request.track.front().place;
    plan->to = request.track.back().place;
    return Outcome::Done();
  }
  if (request.from && request.to) {
    plan->from = *request.from;
    plan->to = *request.to;
    return Outcome::Done();
  }
  if (source.dataset() == nullptr) {
    return Outcome::Fail(ExitCode::kWrongUsage, "a server does not say where to walk", "--server",
                         "give --from and --to");
  }
  const DatasetInfo& info = source.dataset()->info();
  if (info.tour_from && info.tour_to) {
    plan->from = *info.tour_from;
    plan->to = *info.tour_to;
  } else if (Outcome outcome =
                 ChooseFarApart(*source.dataset(), request.max_hops, &plan->from, &plan->to);
             !outcome.ok()) {
    return outcome;
  }
  plan->from = request.from.value_or(plan->from);
  plan->to = request.to.value_or(plan->to);
  return Outcome::Done();
}

Outcome FindWay(const TourRequest& request, TourWalk* walk) {
  if (!request.track.empty()) {
    return walk->FollowTrack();
  }
  return request.go_along ? walk->Run() : walk->FindRoute();
}

/// With a service of this process its own count tells what arrived.
TourStreets TakeStreetsOf(const PanoSource& source, const TourRequest& request,
                          const nimbara::spatial::PanoGraph& graph, const TourWalk& walk) {
  StreetTourPlan plan;
  plan.half_width_m = request.half_width_m;
  plan.service = source.url();
  plan.track = request.track;
  plan.along = walk.along();
  TourStreets streets = TakeStreets(graph, walk.path(), plan);
  streets.usage.received = source.service() == nullptr
                               ? streets.usage.answered
                               : source.service()->statistics().usage_reports;
  return streets;
}

/// Behind the making of the overlays: those name the service of the setting, which outlives a
/// service of this process.
StopTiles FetchImages(const PanoSource& source, const TourWalk::Path& path,
                      const Session& session) {
  nimbara::spatial::PanoramaFetcher::UpdateTileTemplateBaseURL(
      QUrl(QString::fromStdString(source.url())));
  Progress progress = session.NewProgress("images");
  StopTiles images = FetchStopTiles(
      path, [&progress](std::int64_t done, std::int64_t total) { progress.Update(done, total); });
  progress.Finish();
  return images;
}

Outcome DescribeSource(const PanoSource& source, TourReport* report) {
  if (source.dataset() == nullptr) {
    report->title = source.url();
    return Outcome::Done();
  }
  report->title = source.dataset()->info().name;
  report->attribution = source.dataset()->info().attribution;
  std::string error;
  return source.dataset()->ReadBackdrop(&report->backdrop, &error) == Answer::kFailed
             ? Outcome::Fail(ExitCode::kDataError, error)
             : Outcome::Done();
}

/// With a server the data says itself whom to credit.
void CreditFirstCopyright(TourReport* report) {
  for (const TourPanorama& panorama : report->panoramas) {
    if (report->attribution.empty()) {
      report->attribution = panorama.copyright;
    }
  }
}

Outcome ParseEnd(const std::string& text, const char* flag, std::optional<LatLng>* end) {
  if (text.empty()) {
    return Outcome::Done();
  }
  LatLng place;
  Outcome outcome = ParseLatLng(text, flag, &place);
  if (outcome.ok()) {
    *end = place;
  }
  return outcome;
}

}  // namespace

Outcome ParseEnds(const std::string& from, const std::string& to, TourRequest* request) {
  Outcome outcome = ParseEnd(from, "--from", &request->from);
  return outcome.ok() ? ParseEnd(to, "--to", &request->to) : outcome;
}

Outcome RunTour(const PanoSourceFlags& flags, const TourRequest& request, const Session& session,
                TourReport* report) {
  PanoSource source;
  if (Outcome outcome = source.Open(flags, session); !outcome.ok()) {
    return outcome;
  }
  TourReport made;
  WalkPlan plan;
  plan.max_hops = request.max_hops;
  plan.server = source.url();
  plan.track = request.track;
  plan.radius_m =
      static_cast<double>(PelorinSpatialOptions::s_settings_.default_search_radius_m.Get());
  if (Outcome outcome = ChooseEnds(source, request, &plan); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = DescribeSource(source, &made); !outcome.ok()) {
    return outcome;
  }
  made.from = plan.from;
  made.to = plan.to;
  session.TellDetail("from " + LatLngText(plan.from) + " to " + LatLngText(plan.to));

  Progress progress = session.NewProgress("panoramas");
  const Counters start;
  // The graph goes last: manager and walk point into it.
  nimbara::spatial::PanoGraph graph;
  TourFetchManager manager(&graph);
  TourWalk walk(&graph, &manager, plan, [&progress](std::int64_t done, std::int64_t total) {
    progress.Update(done, total);
  });
  const Outcome outcome = FindWay(request, &walk);
  progress.Finish();
  std::uint64_t depth_requests = 0;
  StopTiles images;
  if (outcome.ok() && request.go_along) {
    depth_requests = FetchDepthMaps(graph, walk.path());
    made.streets = TakeStreetsOf(source, request, graph, walk);
    images = FetchImages(source, walk.path(), session);
    made.streets.tiles = std::move(images.tiles);
  }
  manager.Stop();
  const Counters end;
  if (!outcome.ok()) {
    return FailureOf(source.service(), outcome);
  }
  if (request.track.empty() && !walk.reaches_goal()) {
    session.Tell("warning: the walk ends before " + LatLngText(plan.to) +
                 "; no links lead nearer within " + std::to_string(plan.max_hops) + " panoramas");
  }
  CopyGraph(graph, walk.path(), &made);
  CreditFirstCopyright(&made);
  made.figures = FiguresBetween(start, end, walk);
  made.figures.depth_requests = depth_requests;
  made.figures.image_requests = images.requests;
  *report = std::move(made);
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
