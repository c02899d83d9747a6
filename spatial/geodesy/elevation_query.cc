// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_query.h"

#include <QString>
#include <algorithm>
#include <mutex>
#include <utility>

#include "spatial/geodesy/elevation_reply.h"
#include "spatial/geodesy/elevation_request.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kServiceOverloaded = 503;
constexpr int kGatewayTimedOut = 504;

RefPtr<net::Fetcher> Send(const QByteArray& url, ElevationQuery* query) {
  net::Fetcher::FetchParams params;
  params.url = QString::fromLatin1(url);
  params.completion = &ElevationQuery::InternalFetchDoneCb;
  params.user_data = query;
  params.bypass_caches = true;
  return net::Fetcher::fetch(params, nullptr);
}

// Without a lock: a completion that runs on another thread is waited for.
void CancelAll(const mmvector<RefPtr<net::Fetcher>>& requests) {
  for (const RefPtr<net::Fetcher>& request : requests) {
    request->cancel();
  }
}

}  // namespace

QUrl ElevationQuery::s_url_;

ElevationQuery::ElevationQuery()
    : heights_(MemoryManager::GetManager(this)), fetchers_(heights_.get_allocator()),
      chunk_sizes_(heights_.get_allocator()), early_(heights_.get_allocator()),
      at_work_(heights_.get_allocator()) {}

ElevationQuery::ElevationQuery(const Vec3<double>* points, int count)
    : ElevationQuery(points, count, kDefaultMaxPointsPerRequest, kDefaultMaxUrlLength) {}

ElevationQuery::ElevationQuery(const Vec3<double>* points, int count, int max_points_per_request,
                               int max_url_length)
    : ElevationQuery() {
  Start(points, count, max_points_per_request, max_url_length);
}

ElevationQuery::~ElevationQuery() {
  DoCancelFetch(kCancelled);
}

void ElevationQuery::Construct(const Vec3<double>* points, int count, int max_points_per_request,
                               int max_url_length) {
  if (Start(points, count, max_points_per_request, max_url_length)) {
    FetchDone();
  }
}

// True if `FetchDone` is to be called, as the last thing that is done with the object.
bool ElevationQuery::Start(const Vec3<double>* points, int count, int max_points_per_request,
                           int max_url_length) {
  if (!Begin(points, count, max_points_per_request)) {
    return false;
  }
  if (!SendAll(points, max_points_per_request, max_url_length)) {
    DoCancelFetch(kFailed);
  }
  for (const RefPtr<net::Fetcher>& fetcher : EndSending()) {
    EndRequest(*fetcher);
  }
  while (EndOneCancelled()) {
  }
  return Leave(nullptr);
}

// False if there is nothing to send.
bool ElevationQuery::Begin(const Vec3<double>* points, int count, int max_points_per_request) {
  const std::lock_guard<SpinLock> hold(lock_);
  if (state_ != kNotStarted || starting_) {
    return false;
  }
  if (points == nullptr || count == 0) {
    state_ = kDone;
    return false;
  }
  // Without a point in each request the splitting would never end.
  if (!s_url_.isValid() || count < 0 || max_points_per_request < 1) {
    state_ = kFailed;
    return false;
  }
  point_count_ = count;
  starting_ = true;
  ++parties_;
  return true;
}

bool ElevationQuery::SendAll(const Vec3<double>* points, int max_points_per_request,
                             int max_url_length) {
  for (int done = 0; done < point_count_;) {
    const int chunk = std::min(point_count_ - done, max_points_per_request);
    const int sent = SendNext(points + done, chunk, max_url_length);
    if (sent == 0) {
      return false;
    }
    done += sent;
  }
  return true;
}

// Sends a request for the first `chunk` points, or for fewer if the address would be too long.
// Returns their number; 0 if not even one fits, or if the host cannot start a request: no end would
// come for that one.
int ElevationQuery::SendNext(const Vec3<double>* points, int chunk, int max_url_length) {
  QByteArray url = ElevationRequestUrl(s_url_, points, chunk, max_url_length);
  while (url.isEmpty()) {
    chunk = static_cast<int>(static_cast<long long>(chunk) * 4 / 5);
    if (chunk == 0) {
      return 0;
    }
    url = ElevationRequestUrl(s_url_, points, chunk, max_url_length);
  }
  RefPtr<net::Fetcher> fetcher = Send(url, this);
  if (!fetcher) {
    return 0;
  }
  const std::lock_guard<SpinLock> hold(lock_);
  fetchers_.push_back(std::move(fetcher));
  chunk_sizes_.push_back(chunk);
  return chunk;
}

// From here on ends count as they come. Returns those that came before.
ElevationQuery::Requests ElevationQuery::EndSending() {
  const std::lock_guard<SpinLock> hold(lock_);
  if (state_ == kNotStarted) {
    state_ = kFetching;
  }
  starting_ = false;
  return std::exchange(early_, Requests(early_.get_allocator()));
}

void ElevationQuery::InternalFetchDoneCb(net::Fetcher& fetcher) {
  static_cast<ElevationQuery*>(fetcher.user_data())->InternalFetchDone(fetcher);
}

void ElevationQuery::InternalFetchDone(net::Fetcher& fetcher) {
  {
    const std::lock_guard<SpinLock> hold(lock_);
    if (starting_) {
      early_.emplace_back(&fetcher);
      return;
    }
    ++parties_;
    at_work_.emplace_back(&fetcher);
  }
  EndRequest(fetcher);
  while (EndOneCancelled()) {
  }
  if (Leave(&fetcher)) {
    FetchDone();
  }
}

void ElevationQuery::EndRequest(net::Fetcher& fetcher) {
  Requests to_cancel(HeapManager::GetTransientHeap());
  {
    const std::lock_guard<SpinLock> hold(lock_);
    const std::size_t index = IndexOfLocked(fetcher);
    if (index == fetchers_.size()) {
      CancelLocked(kFailed, &to_cancel);
    } else {
      EndLocked(index, StateAfterLocked(fetcher, index), &to_cancel);
    }
  }
  CancelAll(to_cancel);
}

// Counts one request as ended that was cancelled and will not be heard of again; false if there is
// none. A host that has a completion to come for a cancelled request leaves its status at
// "running".
bool ElevationQuery::EndOneCancelled() {
  Requests to_cancel(HeapManager::GetTransientHeap());
  {
    const std::lock_guard<SpinLock> hold(lock_);
    // As long as it fetches nothing is cancelled, and nobody waits for the ends of its own end.
    if (state_ == kFetching || state_ == kDone || state_ == kCancelled) {
      return false;
    }
    const auto entry =
        std::find_if(fetchers_.begin(), fetchers_.end(), [](const RefPtr<net::Fetcher>& fetcher) {
          return fetcher && fetcher->status() == net::Fetcher::kCancelled;
        });
    if (entry == fetchers_.end()) {
      return false;
    }
    EndLocked(static_cast<std::size_t>(entry - fetchers_.begin()),
              StateAfterFailureLocked(net::Fetcher::kCancelled), &to_cancel);
  }
  CancelAll(to_cancel);
  return true;
}

// One party less: the completion of `fetcher`, or `Construct` for null. True if it is the last one
// and all requests have ended; then the request stays at work, for `FetchDone` is still to come.
bool ElevationQuery::Leave(const net::Fetcher* fetcher) {
  const std::lock_guard<SpinLock> hold(lock_);
  --parties_;
  const bool all_ended =
      !fetchers_.empty() && fetchers_.size() == static_cast<std::size_t>(fetches_finished_);
  if (parties_ == 0 && all_ended && !told_) {
    told_ = true;
    return true;
  }
  const auto entry =
      std::find_if(at_work_.begin(), at_work_.end(),
                   [fetcher](const RefPtr<net::Fetcher>& other) { return other.get() == fetcher; });
  if (entry != at_work_.end()) {
    at_work_.erase(entry);
  }
  return false;
}

void ElevationQuery::DoCancelFetch(State state) {
  Requests to_cancel(HeapManager::GetTransientHeap());
  {
    const std::lock_guard<SpinLock> hold(lock_);
    CancelLocked(state, &to_cancel);
    // Nothing is left of these to cancel; but their completions are waited for.
    to_cancel.insert(to_cancel.end(), at_work_.begin(), at_work_.end());
  }
  CancelAll(to_cancel);
}

ElevationQuery::State ElevationQuery::state() const {
  const std::lock_guard<SpinLock> hold(lock_);
  return state_;
}

std::size_t ElevationQuery::request_count() const {
  const std::lock_guard<SpinLock> hold(lock_);
  return fetchers_.size();
}

// The number of requests for a fetcher that is not among them.
std::size_t ElevationQuery::IndexOfLocked(const net::Fetcher& fetcher) const {
  const auto entry = std::find_if(
      fetchers_.begin(), fetchers_.end(),
      [&fetcher](const RefPtr<net::Fetcher>& other) { return other.get() == &fetcher; });
  return static_cast<std::size_t>(entry - fetchers_.begin());
}

// What the end of a request leads to; `kFetching` if nothing is to change.
ElevationQuery::State ElevationQuery::StateAfterLocked(const net::Fetcher& fetcher,
                                                       std::size_t index) {
  const int status = fetcher.status();
  if (status == net::Fetcher::kSucceeded && state_ == kFetching) {
    return ReadReplyLocked(fetcher, index);
  }
  return StateAfterFailureLocked(status);
}

// The first rule that holds. The last one lets requests pass that end because they were cancelled.
ElevationQuery::State ElevationQuery::StateAfterFailureLocked(int status) const {
  if (state_ == kFailed) {
    return kFailed;
  }
  if (net::GetInternetConnectionStatus() == 0 || status == net::Fetcher::kConnectionFailed) {
    return kOffline;
  }
  if (status == kServiceOverloaded || status == kGatewayTimedOut) {
    return kServiceUnavailable;
  }
  return state_ == kFetching ? kFailed : kFetching;
}

ElevationQuery::State ElevationQuery::ReadReplyLocked(const net::Fetcher& fetcher,
                                                      std::size_t index) {
  heights_.resize(static_cast<std::size_t>(point_count_), 0.0f);
  std::size_t offset = 0;
  for (std::size_t i = 0; i < index; ++i) {
    offset += static_cast<std::size_t>(chunk_sizes_[i]);
  }
  int read = 0;
  const bool well_formed = ReadElevationReply(fetcher.body(), offset, &heights_, &read);
  heights_received_ += read;
  return well_formed && read == chunk_sizes_[index] ? kFetching : kFailed;
}

void ElevationQuery::EndLocked(std::size_t index, State new_state, Requests* to_cancel) {
  fetchers_[index].reset();
  ++fetches_finished_;
  if (new_state == kOffline || new_state == kServiceUnavailable || new_state == kFailed) {
    CancelLocked(new_state, to_cancel);
  }
  if (static_cast<std::size_t>(fetches_finished_) < fetchers_.size()) {
    return;
  }
  if (state_ == kFetching) {
    state_ = heights_received_ == point_count_ ? kDone : kFailed;
  }
  if (state_ != kDone) {
    heights_.clear();
  }
}

// The caller cancels what `to_cancel` gets, without the lock.
void ElevationQuery::CancelLocked(State state, Requests* to_cancel) {
  for (const RefPtr<net::Fetcher>& fetcher : fetchers_) {
    if (fetcher) {
      to_cancel->push_back(fetcher);
    }
  }
  heights_.clear();
  state_ = state;
}

}  // namespace spatial
}  // namespace nimbara
