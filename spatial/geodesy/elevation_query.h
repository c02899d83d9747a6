// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QUrl>
#include <cstddef>

#include "base/export.h"
#include "host/memory.h"
#include "host/network.h"
#include "host/threads.h"
#include "host/values.h"
#include "spatial/geodesy/elevation_signature.h"

namespace nimbara {
namespace spatial {

/// Asks a web service for the heights of a list of points: splits the list into as many requests as
/// the limits on points and on the length of an address demand, sends them all at once, each signed
/// (elevation_signature.h), and puts the replies together in the order of the points. The viewer
/// derives from it:
///
/// ```
/// class Profile final : public ElevationQuery {
///  public:
///   ~Profile() override { DoCancelFetch(kCancelled); }
///   void FetchDone() override { if (state() == kDone) Draw(heights()); }
/// };
///
/// ElevationQuery::s_url_ = QUrl("http://elevation.example/elevation/");
/// auto profile = std::make_unique<Profile>();
/// profile->Construct(points.data(), count, 512, 2048);
/// ```
///
/// Owned by whoever made it, and made by `new` only, with this class as the first base: it keeps
/// its lists on the heap that it came from. It neither logs nor throws; whatever goes wrong ends in
/// `state()`.
///
/// Lifecycle. `Construct` leads from `kNotStarted` to `kFetching`, or straight to `kDone` (no
/// points) or `kFailed`. The ends of the requests lead on: to `kDone` if every one brought as many
/// heights as it has points, otherwise to the state of its failure, upon which all others are
/// cancelled. When the last request has ended `FetchDone` is called, once, and only if any request
/// went out. A request that was cancelled has ended when the host says so: by its status when
/// `cancel` returns, as hosts of the contract do, or by a completion that comes later.
///
/// Threads. The viewer's way is one thread: that on which the host delivers completions also makes,
/// reads and destroys the query. Where the host delivers on a thread of its own, as the reference
/// host does, three rules hold. Start with `Construct` on the finished object, since a completion
/// may come at any moment after that, and the constructors that start would let it meet an object
/// whose `FetchDone` is not there yet. Before `FetchDone`, which then mostly runs on the host's
/// thread, read only what is said to be safe from any thread. Let the destructor of the derived
/// class begin with `DoCancelFetch(kCancelled)`: when that returns no completion runs or will run.
/// `FetchDone` may destroy the query. Completions that come while `Construct` still sends are kept
/// and count right after it.
class PELORIN_EXPORT ElevationQuery : public MemoryObject {
 public:
  enum State {
    kNotStarted = 0,          ///< Left behind by construction only.
    kFetching = 1,            ///< All requests are out.
    kDone = 2,                ///< All heights are there; also without any points.
    kCancelled = 3,           ///< The object is being destroyed.
    kOffline = 4,             ///< No connection.
    kServiceUnavailable = 5,  ///< The service answered 503 or 504.
    kFailed = 6,              ///< Any other failure.
  };

  static constexpr int kDefaultMaxPointsPerRequest = 512;
  static constexpr int kDefaultMaxUrlLength = 2048;

  /// The base address of the service, such as http://elevation.example/elevation/; "json" is
  /// appended to its path, and items to its query. Empty, hence not valid, at the start. Set before
  /// queries are made, on the thread that makes them.
  static QUrl s_url_;

  /// Cancels what is under way, with `kCancelled`. `FetchDone` is not called any more.
  virtual ~ElevationQuery();

  /// All requests have ended and `state()` is final. Called once, as the last thing that is done
  /// with the object, on the thread that delivered the last end, or that of `Construct` if that
  /// came before `Construct` had ended. Never out of the destructor.
  virtual void FetchDone() = 0;

  /// A query that has not started; `Construct` starts it.
  ElevationQuery();
  /// `Construct` with the default limits, or with these. Only where completions are delivered on
  /// this very thread. If all requests have ended when this returns, `state()` is final and
  /// `FetchDone` is not called: there was no derived object yet to be told.
  ElevationQuery(const Vec3<double>* points, int count);
  ElevationQuery(const Vec3<double>* points, int count, int max_points_per_request,
                 int max_url_length);
  ElevationQuery(const ElevationQuery&) = delete;
  ElevationQuery& operator=(const ElevationQuery&) = delete;

  /// Starts the query for `count` stored positions (x longitude / 180, y latitude / 180; z is not
  /// sent), which are not needed any more when it returns. Once for each object; later calls do
  /// nothing.
  ///
  /// No points (null or a count of 0): `kDone`. An address `s_url_` that is not valid, a negative
  /// count or a `max_points_per_request` below 1: `kFailed`. In these cases nothing is sent.
  /// Otherwise each request takes as many of the points that are left as `max_points_per_request`
  /// allows, four fifths of that (rounded down) for as long as its address has more than
  /// `max_url_length` bytes. If that leads to none, or if the host cannot start a request, the
  /// query is `kFailed` and what has gone out is cancelled.
  void Construct(const Vec3<double>* points, int count, int max_points_per_request,
                 int max_url_length);

  /// The completion of every request, whose user data is its query.
  static void InternalFetchDoneCb(net::Fetcher& fetcher);
  /// One request has ended. A fetcher that is none of this query's, or has been dealt with, cancels
  /// everything with `kFailed`.
  void InternalFetchDone(net::Fetcher& fetcher);
  /// Cancels every request that has not ended, empties the heights and sets the state. Does not
  /// call `FetchDone`. Waits for a completion that is at work on another thread, so the caller
  /// holds no lock that `FetchDone` takes. Safe from any thread.
  void DoCancelFetch(State state);

  /// Safe from any thread.
  State state() const;
  /// Requests sent so far. Safe from any thread. None behind `Construct`: no `FetchDone` will come.
  std::size_t request_count() const;
  /// Metres, one for each point in the order of the points, if `kDone`; empty after a failure.
  const mmvector<float>& heights() const { return heights_; }
  /// Points asked for.
  int point_count() const { return point_count_; }
  /// Requests that have ended.
  int fetches_finished() const { return fetches_finished_; }
  /// The number of points in each request, in the order of sending.
  const mmvector<int>& chunk_sizes() const { return chunk_sizes_; }
  /// Heights taken from replies, surplus and short ones included.
  int heights_received() const { return heights_received_; }

 private:
  using Requests = mmvector<RefPtr<net::Fetcher>>;

  bool Start(const Vec3<double>* points, int count, int max_points_per_request, int max_url_length);
  bool Begin(const Vec3<double>* points, int count, int max_points_per_request);
  bool SendAll(const Vec3<double>* points, int max_points_per_request, int max_url_length);
  int SendNext(const Vec3<double>* points, int chunk, int max_url_length);
  Requests EndSending();
  void EndRequest(net::Fetcher& fetcher);
  bool EndOneCancelled();
  bool Leave(const net::Fetcher* fetcher);

  std::size_t IndexOfLocked(const net::Fetcher& fetcher) const;
  State StateAfterLocked(const net::Fetcher& fetcher, std::size_t index);
  State StateAfterFailureLocked(int status) const;
  State ReadReplyLocked(const net::Fetcher& fetcher, std::size_t index);
  void EndLocked(std::size_t index, State new_state, Requests* to_cancel);
  void CancelLocked(State state, Requests* to_cancel);

  State state_ = kNotStarted;
  mmvector<float> heights_;
  Requests fetchers_;  // An entry is null once its request has been dealt with.
  mmvector<int> chunk_sizes_;
  int fetches_finished_ = 0;
  int heights_received_ = 0;
  int point_count_ = 0;

  // Guards all members, for hosts that complete on threads of their own. `fetch`, `cancel` and
  // `FetchDone` are called without it.
  mutable SpinLock lock_;
  bool starting_ = false;  // Requests are being sent, and ends are kept in `early_`.
  Requests early_;
  Requests at_work_;   // Those whose completion is inside this object.
  int parties_ = 0;    // Completions at work, and `Construct`. The last to leave calls.
  bool told_ = false;  // `FetchDone` has been called, or is about to be.
};

}  // namespace spatial
}  // namespace nimbara
