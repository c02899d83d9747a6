// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_network.h"

#include <atomic>
#include <future>
#include <memory>
#include <utility>

namespace nimbara {
namespace test_support {
namespace {

std::atomic<FakeNetwork*> current_network{nullptr};

}  // namespace

class FakeRequest : public net::Fetcher {
 public:
  FakeRequest(const FetchParams& params, bool tells_cancelled)
      : params_(params), tells_cancelled_(tells_cancelled) {}

  int status() const override {
    const std::lock_guard<std::mutex> hold(mutex_);
    return answer_.status;
  }
  QByteArray body() const override {
    const std::lock_guard<std::mutex> hold(mutex_);
    return answer_.body;
  }
  void* user_data() const override { return params_.user_data; }

  void cancel() override {
    std::unique_lock<std::mutex> hold(mutex_);
    if (state_ == State::kOpen) {
      cancelled_ = true;
      if (tells_cancelled_) {
        return;
      }
      state_ = State::kEnded;
      answer_.status = kCancelled;
    }
    const bool inside = completing_thread_ == std::this_thread::get_id();
    ended_.wait(hold, [&] { return inside || state_ == State::kEnded; });
  }

  void Complete(const FakeAnswer& answer) {
    {
      const std::lock_guard<std::mutex> hold(mutex_);
      if (state_ != State::kOpen) {
        return;
      }
      state_ = State::kCompleting;
      completing_thread_ = std::this_thread::get_id();
      answer_ = answer;
    }
    if (params_.completion != nullptr) {
      params_.completion(*this);
    }
    {
      const std::lock_guard<std::mutex> hold(mutex_);
      state_ = State::kEnded;
      completing_thread_ = std::thread::id();
    }
    ended_.notify_all();
  }

  const FetchParams& params() const { return params_; }
  bool cancelled() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return cancelled_;
  }

 private:
  enum class State { kOpen, kCompleting, kEnded };

  const FetchParams params_;
  const bool tells_cancelled_;
  mutable std::mutex mutex_;  // Guards what follows. The completion runs without it.
  std::condition_variable ended_;
  State state_ = State::kOpen;
  std::thread::id completing_thread_;
  FakeAnswer answer_{net::Fetcher::kRunning, {}};
  bool cancelled_ = false;
};

FakeNetwork::FakeNetwork() : thread_([this] { Loop(); }) {
  current_network = this;
}

FakeNetwork::~FakeNetwork() {
  current_network = nullptr;
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void FakeNetwork::Hold() {
  const std::lock_guard<std::mutex> hold(mutex_);
  mode_ = Mode::kHold;
}

void FakeNetwork::AnswerAtOnce(const FakeAnswer& answer) {
  AnswerAtOnce([answer](const QString&) { return answer; });
}

void FakeNetwork::AnswerAtOnce(std::function<FakeAnswer(const QString& url)> answer) {
  const std::lock_guard<std::mutex> hold(mutex_);
  mode_ = Mode::kAtOnce;
  answer_ = std::move(answer);
}

void FakeNetwork::AnswerBeforeReturning(const FakeAnswer& answer) {
  const std::lock_guard<std::mutex> hold(mutex_);
  mode_ = Mode::kBeforeReturning;
  answer_ = [answer](const QString&) { return answer; };
}

void FakeNetwork::RefuseStarts() {
  const std::lock_guard<std::mutex> hold(mutex_);
  mode_ = Mode::kRefuse;
}

void FakeNetwork::TellCancelledOnes() {
  const std::lock_guard<std::mutex> hold(mutex_);
  tells_cancelled_ = true;
}

void FakeNetwork::Complete(std::size_t number, const FakeAnswer& answer) {
  const RefPtr<FakeRequest> request = At(number);
  std::promise<void> done;
  Post([&] {
    request->Complete(answer);
    done.set_value();
  });
  done.get_future().wait();
}

void FakeNetwork::CompleteHere(std::size_t number, const FakeAnswer& answer) {
  At(number)->Complete(answer);
}

void FakeNetwork::CompleteLater(std::size_t number, const FakeAnswer& answer) {
  Post([request = At(number), answer] { request->Complete(answer); });
}

std::size_t FakeNetwork::Count() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return requests_.size();
}

std::size_t FakeNetwork::RefusedStarts() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return refused_starts_;
}

net::Fetcher::FetchParams FakeNetwork::Params(std::size_t number) const {
  return At(number)->params();
}

std::vector<QString> FakeNetwork::Urls() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  std::vector<QString> urls;
  for (const RefPtr<FakeRequest>& request : requests_) {
    urls.push_back(request->params().url);
  }
  return urls;
}

bool FakeNetwork::WasCancelled(std::size_t number) const {
  return At(number)->cancelled();
}

RefPtr<net::Fetcher> FakeNetwork::Request(std::size_t number) const {
  return At(number);
}

RefPtr<net::Fetcher> FakeNetwork::Start(const net::Fetcher::FetchParams& params) {
  RefPtr<FakeRequest> request;
  Mode mode;
  std::function<FakeAnswer(const QString& url)> answer;
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    if (mode_ == Mode::kRefuse) {
      ++refused_starts_;
      return nullptr;
    }
    request = new FakeRequest(params, tells_cancelled_);
    requests_.push_back(request);
    mode = mode_;
    answer = answer_;
  }
  if (mode == Mode::kHold) {
    return request;
  }
  auto done = std::make_shared<std::promise<void>>();
  Post([request, done, ending = answer(params.url)] {
    request->Complete(ending);
    done->set_value();
  });
  if (mode == Mode::kBeforeReturning) {
    done->get_future().wait();
  }
  return request;
}

void FakeNetwork::Post(Task task) {
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    tasks_.push_back(std::move(task));
  }
  changed_.notify_all();
}

void FakeNetwork::Loop() {
  for (;;) {
    Task task;
    {
      std::unique_lock<std::mutex> hold(mutex_);
      changed_.wait(hold, [this] { return stopping_ || !tasks_.empty(); });
      if (tasks_.empty()) {
        return;
      }
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

RefPtr<FakeRequest> FakeNetwork::At(std::size_t number) const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return requests_.at(number);
}

}  // namespace test_support

namespace net {

// Interposes the host's: the library calls it through the dynamic symbol table, where the
// program's own definition comes first.
RefPtr<Fetcher> Fetcher::fetch(const FetchParams& params, MemoryManager*) {
  test_support::FakeNetwork* network = test_support::current_network.load();
  return network == nullptr ? nullptr : network->Start(params);
}

}  // namespace net
}  // namespace nimbara
