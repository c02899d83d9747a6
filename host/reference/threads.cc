// SPDX-License-Identifier: Apache-2.0
#include "host/threads.h"

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

namespace nimbara {

ThreadId System::GetCurrentThread() {
  return static_cast<ThreadId>(pthread_self());
}

int System::Random(int low, int high) {
  if (low > high) {
    std::swap(low, high);
  }
  thread_local std::minstd_rand generator{std::random_device{}()};
  return std::uniform_int_distribution<int>(low, high)(generator);
}

namespace port {

MutexPosix::MutexPosix() {
  pthread_mutex_init(&mutex_, nullptr);
}
MutexPosix::~MutexPosix() {
  pthread_mutex_destroy(&mutex_);
}
void MutexPosix::lock() {
  pthread_mutex_lock(&mutex_);
}
void MutexPosix::unlock() {
  pthread_mutex_unlock(&mutex_);
}

}  // namespace port

void SpinLock::lock() {
  const ThreadId self = System::GetCurrentThread();
  if (owner_.load(std::memory_order_relaxed) != self) {
    mutex_.lock();
    owner_.store(self, std::memory_order_relaxed);
  }
  ++depth_;
}

void SpinLock::unlock() {
  if (--depth_ == 0) {
    owner_.store(System::kInvalidThreadId, std::memory_order_relaxed);
    mutex_.unlock();
  }
}

struct WorkerThread::Impl {
  std::mutex mutex;  // Guards `queue` and `stopping`.
  std::condition_variable changed;
  std::deque<Job*> queue;  // Each entry holds one reference.
  bool stopping = false;
  std::thread thread;

  void Loop() {
    for (;;) {
      Job* job;
      {
        std::unique_lock<std::mutex> hold(mutex);
        changed.wait(hold, [this] { return stopping || !queue.empty(); });
        if (stopping) {
          return;
        }
        job = queue.front();
        queue.pop_front();
      }
      job->Run();  // May end the job: not to be touched from here.
    }
  }
};

WorkerThread::WorkerThread(const char* name, int) : impl_(new Impl) {
  impl_->thread = std::thread([this] { impl_->Loop(); });
  constexpr std::size_t kSystemLimit = 15;
  char short_name[kSystemLimit + 1] = {};
  std::strncpy(short_name, name == nullptr ? "" : name, kSystemLimit);
  pthread_setname_np(impl_->thread.native_handle(), short_name);
}

WorkerThread::~WorkerThread() {
  {
    std::lock_guard<std::mutex> hold(impl_->mutex);
    impl_->stopping = true;
  }
  impl_->changed.notify_one();
  impl_->thread.join();
  for (Job* job : impl_->queue) {
    job->unref();
  }
  delete impl_;
}

// Notifies under the lock: without it, the job could run and its owner end the worker before this
// function has done with it.
void WorkerThread::Job::AddToQueue(WorkerThread* thread) {
  if (thread == nullptr) {
    unref();
    return;
  }
  std::lock_guard<std::mutex> hold(thread->impl_->mutex);
  thread->impl_->queue.push_back(this);
  thread->impl_->changed.notify_one();
}

}  // namespace nimbara
