// SPDX-License-Identifier: Apache-2.0
#include "curl_fetcher.h"

#include "counters.h"
#include "network_thread.h"

namespace nimbara {
namespace net {

RefPtr<Fetcher> Fetcher::fetch(const FetchParams& params, MemoryManager* heap) {
  auto* fetcher = new (heap) CurlFetcher(params);
  RefPtr<Fetcher> result(fetcher);
  // The last thing done here, so that no completion can overtake anything but the return itself.
  if (!NetworkThread::Submit(fetcher)) {
    result.reset();
  }
  return result;
}

CurlFetcher::CurlFetcher(const FetchParams& params)
    : request_(params), completion_(params.completion), user_data_(params.user_data) {}

int CurlFetcher::status() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return status_;
}

QByteArray CurlFetcher::body() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return body_;
}

void CurlFetcher::Finish(int status, const QByteArray& body) {
  {
    std::lock_guard<std::mutex> hold(mutex_);
    if (phase_ != Phase::kOpen) {
      return;
    }
    phase_ = Phase::kCompleting;
    completing_thread_ = System::GetCurrentThread();
    status_ = status;
    body_ = body;
  }
  Count(status == kSucceeded ? g_counters.succeeded : g_counters.failed);
  if (completion_ != nullptr) {
    completion_(*this);
  }
  {
    std::lock_guard<std::mutex> hold(mutex_);
    phase_ = Phase::kEnded;
  }
  ended_.notify_all();
}

bool CurlFetcher::Abandon() {
  std::lock_guard<std::mutex> hold(mutex_);
  if (phase_ != Phase::kOpen) {
    return false;
  }
  phase_ = Phase::kEnded;
  status_ = kCancelled;
  Count(g_counters.cancelled);
  return true;
}

void CurlFetcher::cancel() {
  if (Abandon()) {
    NetworkThread::Drop(this);
    return;
  }
  std::unique_lock<std::mutex> hold(mutex_);
  if (completing_thread_ != System::GetCurrentThread()) {
    ended_.wait(hold, [this] { return phase_ == Phase::kEnded; });
  }
}

}  // namespace net
}  // namespace nimbara
