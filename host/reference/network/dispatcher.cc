// SPDX-License-Identifier: Apache-2.0
#include "dispatcher.h"

#include <algorithm>
#include <utility>

#include "counters.h"
#include "host/reference/network/retry_policy.h"

namespace nimbara {
namespace net {
namespace {

RetryPolicy PolicyOf(const NetworkOptions& options) {
  return RetryPolicy{options.max_retries, options.retry_base_delay_s, options.retry_max_delay_s,
                     options.retry_after_limit_s};
}

}  // namespace

Dispatcher::Dispatcher(int wake_fd) : poller_(wake_fd), multi_(curl_multi_init()) {
  if (multi_ != nullptr) {
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &Dispatcher::OnSocket);
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &Dispatcher::OnTimer);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
  }
}

Dispatcher::~Dispatcher() {
  AbandonAll();
}

void Dispatcher::Admit(RefPtr<CurlFetcher> fetcher) {
  ++requests_;
  if (fetcher->request().url.isEmpty()) {
    Complete(fetcher, Fetcher::kBadUrl, QByteArray());
  } else {
    Queue(std::move(fetcher));
  }
}

void Dispatcher::Queue(RefPtr<CurlFetcher> fetcher) {
  Server& server = servers_[fetcher->request().server];
  const bool paced = fetcher->request().pacing > Clock::duration::zero();
  FetcherList& list = paced ? server.paced : server.unpaced;
  CurlFetcher::Place& place = fetcher->place;
  place.list = &list;
  place.entry = list.insert(list.end(), std::move(fetcher));
  ++waiting_;
}

void Dispatcher::Drop(CurlFetcher* fetcher) {
  CurlFetcher::Place& place = fetcher->place;
  if (place.transfer != nullptr) {
    Release(place.transfer);
    --requests_;
  } else if (place.list != nullptr) {
    std::exchange(place.list, nullptr)->erase(place.entry);
    --waiting_;
    --requests_;
  } else {
    const auto retry = std::find_if(retries_.begin(), retries_.end(), [fetcher](const auto& entry) {
      return entry.second.get() == fetcher;
    });
    if (retry != retries_.end()) {
      retries_.erase(retry);
      --requests_;
    }
  }
}

void Dispatcher::Begin() {
  do {
    const Clock::time_point now = Clock::now();
    QueueDueRetries(now);
    StartWaiting(now);
    RunTimer();
  } while (CompleteEnded());  // An attempt that ended makes room for a waiting one.
}

void Dispatcher::Await(Clock::time_point deadline) {
  if (!retries_.empty()) {
    deadline = std::min(deadline, retries_.begin()->first);
  }
  poller_.Wait(std::min({deadline, next_start_, curl_deadline_}));
}

void Dispatcher::Perform() {
  for (const SocketPoller::Ready& ready : poller_.ready()) {
    RunSocket(ready.socket, ready.events);
  }
  RunTimer();
  CompleteEnded();
}

Clock::time_point Dispatcher::PacingEnd() const {
  Clock::time_point end = Clock::time_point::min();
  for (const auto& entry : servers_) {
    end = std::max(end, entry.second.gate.OpenFrom());
  }
  return end;
}

int Dispatcher::OnSocket(CURL*, curl_socket_t socket, int events, void* self, void*) {
  static_cast<Dispatcher*>(self)->poller_.Watch(socket, events);
  return 0;
}

int Dispatcher::OnTimer(CURLM*, long milliseconds, void* self) {
  static_cast<Dispatcher*>(self)->curl_deadline_ =
      milliseconds < 0 ? Clock::time_point::max()
                       : Clock::now() + std::chrono::milliseconds(milliseconds);
  return 0;
}

void Dispatcher::QueueDueRetries(Clock::time_point now) {
  while (!retries_.empty() && retries_.begin()->first <= now) {
    RefPtr<CurlFetcher> fetcher = std::move(retries_.begin()->second);
    retries_.erase(retries_.begin());
    Queue(std::move(fetcher));
  }
}

void Dispatcher::StartWaiting(Clock::time_point now) {
  next_start_ = Clock::time_point::max();
  if (waiting_ == 0) {
    return;
  }
  for (auto entry = servers_.begin(); entry != servers_.end();) {
    Server& server = entry->second;
    StartWaitingAt(&server, now);
    const bool over = !server.HasWaiting() && server.attempts == 0 && server.gate.OpenFrom() <= now;
    entry = over ? servers_.erase(entry) : std::next(entry);
  }
}

void Dispatcher::StartWaitingAt(Server* server, Clock::time_point now) {
  while (FetcherList* list = NextList(server, now)) {
    RefPtr<CurlFetcher> fetcher = std::move(list->front());
    list->pop_front();
    fetcher->place.list = nullptr;
    --waiting_;
    if (list == &server->paced) {
      server->gate.Started(now, fetcher->request().pacing);
    }
    ++server->attempts;
    ++attempts_;
    Start(std::move(fetcher));
  }
}

// Where the next request that may start stands; null if none may. Paced requests go first once
// their gate is open: the gate bounds them, so they cannot starve the others.
FetcherList* Dispatcher::NextList(Server* server, Clock::time_point now) {
  const bool paced = !server->paced.empty() && GateIsOpen(*server, now);
  FetcherList& list = paced ? server->paced : server->unpaced;
  if (list.empty()) {
    return nullptr;
  }
  const NetworkOptions& options = *list.front()->request().options;
  const bool room =
      attempts_ < options.max_connections && server->attempts < options.max_connections_per_server;
  return room ? &list : nullptr;
}

// For a server with paced requests waiting. Notes when a closed gate opens.
bool Dispatcher::GateIsOpen(const Server& server, Clock::time_point now) {
  const Clock::time_point earliest = server.gate.Earliest(server.paced.front()->request().pacing);
  if (earliest > now) {
    next_start_ = std::min(next_start_, earliest);
  }
  return earliest <= now;
}

void Dispatcher::Start(RefPtr<CurlFetcher> fetcher) {
  std::unique_ptr<Transfer> transfer = TakeTransfer();
  fetcher->place.transfer = transfer.get();
  const bool prepared = transfer->Begin(std::move(fetcher)) && multi_ != nullptr;
  Transfer* const started = transfer.get();
  active_.push_back(std::move(transfer));
  if (!prepared || curl_multi_add_handle(multi_.get(), started->easy()) != CURLM_OK) {
    Complete(Release(started), Fetcher::kConnectionFailed, QByteArray());
  }
}

std::unique_ptr<Transfer> Dispatcher::TakeTransfer() {
  if (spare_.empty()) {
    return std::make_unique<Transfer>();
  }
  std::unique_ptr<Transfer> transfer = std::move(spare_.back());
  spare_.pop_back();
  return transfer;
}

void Dispatcher::RunTimer() {
  if (curl_deadline_ <= Clock::now()) {
    curl_deadline_ = Clock::time_point::max();
    RunSocket(CURL_SOCKET_TIMEOUT, 0);
  }
}

void Dispatcher::RunSocket(curl_socket_t socket, int events) {
  int running = 0;
  curl_multi_socket_action(multi_.get(), socket, events, &running);
}

// True if any attempt had ended.
bool Dispatcher::CompleteEnded() {
  bool any = false;
  int left = 0;
  while (CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg == CURLMSG_DONE) {
      Transfer* transfer = nullptr;
      curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
      Ended(transfer, message->data.result);
      any = true;
    }
  }
  return any;
}

void Dispatcher::Ended(Transfer* transfer, CURLcode code) {
  const int status = transfer->Status(code);
  const double retry_after_s = transfer->RetryAfterSeconds();
  const QByteArray body = transfer->body();
  const RefPtr<CurlFetcher> fetcher = Release(transfer);
  if (!RetryLater(fetcher, status, retry_after_s)) {
    Complete(fetcher, status, body);
  }
}

bool Dispatcher::RetryLater(const RefPtr<CurlFetcher>& fetcher, int status, double retry_after_s) {
  const RetryPolicy policy = PolicyOf(*fetcher->request().options);
  if (!policy.Retries(status, fetcher->place.retries)) {
    return false;
  }
  const double draw = std::uniform_real_distribution<double>(0.0, 1.0)(draw_);
  const double delay_s = policy.DelaySeconds(fetcher->place.retries, retry_after_s, draw);
  ++fetcher->place.retries;
  Count(g_counters.retried);
  retries_.emplace(Clock::now() + ToDuration(delay_s, kMaxPacingIntervalS), fetcher);
  return true;
}

// Takes an attempt off curl and off its server; its handle is kept for another one.
RefPtr<CurlFetcher> Dispatcher::Release(Transfer* transfer) {
  Count(g_counters.connections_opened, transfer->ConnectionsOpened());
  if (multi_ != nullptr && transfer->easy() != nullptr) {
    curl_multi_remove_handle(multi_.get(), transfer->easy());
  }
  const auto entry = std::find_if(active_.begin(), active_.end(), [transfer](const auto& other) {
    return other.get() == transfer;
  });
  spare_.push_back(std::move(*entry));
  *entry = std::move(active_.back());
  active_.pop_back();
  RefPtr<CurlFetcher> fetcher = transfer->End();
  fetcher->place.transfer = nullptr;
  --servers_[fetcher->request().server].attempts;
  --attempts_;
  return fetcher;
}

void Dispatcher::Complete(const RefPtr<CurlFetcher>& fetcher, int status, const QByteArray& body) {
  --requests_;
  fetcher->Finish(status, body);
}

void Dispatcher::AbandonAll() {
  while (!active_.empty()) {
    Release(active_.back().get())->Abandon();
  }
  for (auto& entry : servers_) {
    for (FetcherList* list : {&entry.second.unpaced, &entry.second.paced}) {
      for (const RefPtr<CurlFetcher>& fetcher : *list) {
        fetcher->Abandon();
      }
    }
  }
  for (const auto& entry : retries_) {
    entry.second->Abandon();
  }
}

}  // namespace net
}  // namespace nimbara
