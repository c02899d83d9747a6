// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "host/export.h"
#include "host/referent.h"

namespace nimbara {

/// Identity of a thread, to compare with. Ids of ended threads can come again.
using ThreadId = std::uintptr_t;

class PELORIN_HOST_EXPORT System {
 public:
  /// The id of no thread.
  static constexpr ThreadId kInvalidThreadId = 0;

  static ThreadId GetCurrentThread();

  /// A random number from `low` to `high`, both included. Arguments in the wrong order are
  /// exchanged. Safe from any thread; not for secrets.
  static int Random(int low, int high);
};

namespace port {

/// A plain mutex, not recursive.
class PELORIN_HOST_EXPORT MutexPosix {
 public:
  MutexPosix();
  ~MutexPosix();
  MutexPosix(const MutexPosix&) = delete;
  MutexPosix& operator=(const MutexPosix&) = delete;

  void lock();
  void unlock();

 private:
  pthread_mutex_t mutex_;
};

}  // namespace port

/// A lock that one thread may take again while it holds it; it is free after as many `unlock` calls
/// as there were `lock` calls. Meets the standard's BasicLockable, so `std::lock_guard` holds it.
/// `unlock` is for the holding thread only.
class PELORIN_HOST_EXPORT SpinLock {
 public:
  SpinLock() = default;
  SpinLock(const SpinLock&) = delete;
  SpinLock& operator=(const SpinLock&) = delete;

  void lock();
  void unlock();

 private:
  port::MutexPosix mutex_;
  // Atomic, since `lock` compares it before it holds the mutex. Only the holder writes its own id,
  // so a thread that reads its own id there does hold the lock.
  std::atomic<ThreadId> owner_{System::kInvalidThreadId};
  int depth_ = 0;  // Guarded by `mutex_`.
};

/// One thread that runs queued jobs one after the other, in the order of queueing.
///
/// Deleting the object ends the thread: the job that is running ends, jobs still queued do not run,
/// and the destructor returns when the thread has gone. It must not run on the worker's own thread.
/// Creating and deleting are for the owner; queueing is safe from any thread, up to the call of the
/// destructor.
class PELORIN_HOST_EXPORT WorkerThread {
 public:
  /// One piece of work, counted atomically. Whoever queues a job first adds one reference for the
  /// queue. A job that runs gives that reference up itself, as the last step of `Run`, and may so
  /// end its own life there: the worker does not touch it afterwards. Of a job that never runs the
  /// worker gives the reference up as the worker dies, on the thread of its destructor.
  class PELORIN_HOST_EXPORT Job : public AtomicReferent {
   public:
    /// `name` is for diagnostics and must outlive the job; a literal, normally.
    Job(const char* name, WorkerThread* thread) : name_(name), thread_(thread) {}

    /// Does the work, on the worker's thread, exactly once. Must not throw.
    virtual void Run() = 0;

    /// Puts the job behind all others of `thread`, taking over one reference that the caller added.
    /// Without a thread the job does not run, and that reference is given up here.
    void AddToQueue(WorkerThread* thread);

    const char* name() const { return name_; }
    WorkerThread* thread() const { return thread_; }

   private:
    const char* name_;
    WorkerThread* thread_;
  };

  /// Starts the thread under `name` (its first 15 characters, as the system shows them; none for
  /// null).
  /// `thread_count` is the number of threads that a pool-minded host would make; one is made.
  WorkerThread(const char* name, int thread_count);
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

 private:
  struct Impl;
  Impl* impl_;  // Owned.
};

/// The viewer's clock, as usage reporting reads it.
class PELORIN_HOST_EXPORT ITimingSource {
 public:
  virtual ~ITimingSource() = default;
  /// The present time in seconds, never falling. Called on the reporting thread.
  virtual double GetTime() const = 0;
};

}  // namespace nimbara
