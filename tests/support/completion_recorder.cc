// SPDX-License-Identifier: Apache-2.0
#include "tests/support/completion_recorder.h"

#include <chrono>

namespace nimbara {
namespace testing_support {

net::Fetcher::FetchParams CompletionRecorder::Params(const std::string& url) {
  net::Fetcher::FetchParams params;
  params.url = QString::fromStdString(url);
  params.completion = &CompletionRecorder::Finished;
  params.user_data = this;
  return params;
}

RefPtr<net::Fetcher> CompletionRecorder::Fetch(const std::string& url) {
  return net::Fetcher::fetch(Params(url), nullptr);
}

bool CompletionRecorder::Await(std::size_t count) const {
  std::unique_lock<std::mutex> hold(mutex_);
  return changed_.wait_for(hold, std::chrono::seconds(20), [&] { return events_.size() >= count; });
}

CompletionRecorder::Event
CompletionRecorder::FetchAndAwait(const net::Fetcher::FetchParams& params) {
  const std::size_t before = events().size();
  const RefPtr<net::Fetcher> fetcher = net::Fetcher::fetch(params, nullptr);
  if (!fetcher || !Await(before + 1)) {
    return Event{nullptr, -1, QByteArray(), System::kInvalidThreadId};
  }
  return events()[before];
}

std::vector<CompletionRecorder::Event> CompletionRecorder::events() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return events_;
}

void CompletionRecorder::Finished(net::Fetcher& fetcher) {
  auto* self = static_cast<CompletionRecorder*>(fetcher.user_data());
  if (self->on_completion_) {
    self->on_completion_(fetcher);
  }
  // Notified under the lock: the main thread may end the recorder as soon as it has seen the event.
  std::lock_guard<std::mutex> hold(self->mutex_);
  self->events_.push_back(
      Event{&fetcher, fetcher.status(), fetcher.body(), System::GetCurrentThread()});
  self->changed_.notify_all();
}

}  // namespace testing_support
}  // namespace nimbara
