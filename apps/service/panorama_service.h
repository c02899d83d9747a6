// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "apps/dataset/dataset.h"
#include "apps/service/fault_plan.h"
#include "apps/service/request_signature.h"

namespace pelorin {

/// How a service runs.
struct ServiceOptions {
  /// Address or name of this machine's own to listen on.
  std::string host = "127.0.0.1";
  /// 0 to 65535; 0 picks a free port.
  int port = 0;
  /// The misbehaviour on request; none unless set.
  FaultPlan faults;
  /// Connections served at one time, one thread each, made as they are needed; 1 to 4096. Further
  /// ones wait, and idle ones are closed to let them in.
  int max_connections = 256;
  /// Seconds that a connection may stay idle between two requests; 1 or above.
  int keep_alive_s = 15;
  /// Milliseconds for a request to arrive in full, from its first byte on; also how long a peer may
  /// take no byte of an answer. 1 or above.
  int transfer_timeout_ms = 10000;
  /// Panoramas in the answer to one tile; a tile with more is refused with 400, since a client
  /// would take a cut list for the whole tile.
  std::size_t tile_limit = 20000;
  /// The key that requests for heights are signed with.
  std::string elevation_key = kDevelopmentElevationKey;
  /// Bytes of finished answers that are kept for the next one who asks; 0 keeps none.
  std::size_t cache_bytes = std::size_t{64} << 20;
};

/// What a service did since it started.
struct ServiceStatistics {
  std::uint64_t requests = 0;     ///< All that were understood as HTTP, on any path.
  std::uint64_t by_id = 0;        ///< Well-formed requests of each kind, failed by a fault or not.
  std::uint64_t by_position = 0;  ///<
  std::uint64_t by_tile = 0;      ///<
  std::uint64_t image_tiles = 0;  ///<
  std::uint64_t usage_reports = 0;     ///<
  std::uint64_t empty_answers = 0;     ///< Of the first three kinds: nothing was there.
  std::uint64_t depth_maps = 0;        ///< Answers with a depth map.
  std::uint64_t pano_maps = 0;         ///< Answers with a pano map.
  std::uint64_t panoramas = 0;         ///< In all answers together.
  std::uint64_t elevations = 0;        ///< Requests for heights, on both paths, well-formed or not.
  std::uint64_t heights = 0;           ///< In all answers together.
  std::uint64_t bad_requests = 0;      ///< Answered with 400 to 499, other than by a fault.
  std::uint64_t data_errors = 0;       ///< Answered with 500, since the dataset could not be read.
  std::uint64_t delayed = 0;           ///< Faults, by kind; an answer can count as delayed, as
  std::uint64_t reordered = 0;         ///< reordered and as one of the four others.
  std::uint64_t failed = 0;            ///<
  std::uint64_t truncated = 0;         ///<
  std::uint64_t stalled = 0;           ///<
  std::uint64_t corrupted = 0;         ///<
  std::uint64_t open_connections = 0;  ///< At this moment.
};

/// The panorama service: one HTTP server over one dataset, in this process.
///
/// `/plk` answers by id (`output=xml&panoid=`), by position (`output=xml&ll=lat,lng`, in degrees,
/// with `radius` in metres, 50 if it is left out, and `level_id`; without it every level counts)
/// and by tile
/// (`output=metatile&x=&y=&zoom=`). `dm=1` and `pm=1` add the depth and the pano map. By id and by
/// position the answer is the panorama itself, as the root of the document; by tile, and where
/// nothing is there, it is a list, which can be empty. `output=tile&panoid=&zoom=&x=&y=`
/// is a tile of a panorama's image (see `DrawImageTile`); `output=plrep` counts a usage report.
/// `/elevation/json` and `/v1/<set>` answer with heights (elevation_doors.h). `/health` and
/// `/version` answer in JSON; `/health?deep=1` also reads from every part of the dataset, and is
/// 503 if one cannot be read. Anything else is refused with a status and one line of text. While a
/// fault plan is in force every answer says so in the header `X-Pelorin-Faults`.
///
/// Owned by whoever started it. The dataset stays with the caller and must outlive the service. All
/// operations are safe from any thread. The service runs threads of its own, with all signals
/// blocked: one that accepts, and one for each connection.
///
/// ```
/// std::string error;
/// std::unique_ptr<PanoramaService> service = PanoramaService::Start(*dataset, {}, &error);
/// if (service == nullptr) return Fail(error);
/// Use(service->url() + "/plk");
/// ```
class PanoramaService {
 public:
  /// Starts a service that takes connections when this returns. Null, with one line in `error` (can
  /// be null), if an option is out of its range or the address cannot be listened on.
  static std::unique_ptr<PanoramaService> Start(const Dataset& dataset,
                                                const ServiceOptions& options, std::string* error);
  /// Stops.
  ~PanoramaService();
  PanoramaService(const PanoramaService&) = delete;
  PanoramaService& operator=(const PanoramaService&) = delete;

  /// The port that is listened on; 1 to 65535. Stays after the stop.
  int port() const;
  /// "http://HOST:PORT", without a slash behind it.
  std::string url() const;
  /// The statistics at this moment, or at the end of a stopped service.
  ServiceStatistics statistics() const;
  /// What was wrong the last time that the dataset could not be read; empty if it always could.
  std::string last_data_error() const;

  /// Ends the service: no new connection is taken, delays and stalls end, answers under way have
  /// half a second to leave, then every connection is closed. Returns when all threads have ended.
  /// Any number of times, and from several threads; each call returns after the end.
  void Stop();

 private:
  class Impl;

  explicit PanoramaService(std::unique_ptr<Impl> impl);

  std::unique_ptr<Impl> impl_;
};

}  // namespace pelorin
