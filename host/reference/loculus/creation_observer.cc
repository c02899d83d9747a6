// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/creation_observer.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

#include "host/reference/loculus/creation_announcer.h"

namespace nimbara {
namespace loculus {
namespace {

// The brackets of one thread.
struct Bracket {
  int depth = 0;
  std::deque<SchemaObject*> waiting;  // Not owned; those that die leave.
};

// How many threads have one open. Zero lets objects come and go without the lock.
std::atomic<int> g_open_brackets{0};
std::mutex g_lock;  // Guards the two below. Nothing is called with it held.
std::map<ThreadId, Bracket> g_brackets;
std::vector<CreationObserver*> g_observers;  // Not owned.

// The next object that waits on the calling thread, taken out, or null; and who is to hear of it.
SchemaObject* TakeWaiting(std::vector<CreationObserver*>* observers) {
  const std::lock_guard<std::mutex> hold(g_lock);
  const auto bracket = g_brackets.find(System::GetCurrentThread());
  if (bracket == g_brackets.end() || bracket->second.waiting.empty()) {
    return nullptr;
  }
  SchemaObject* object = bracket->second.waiting.front();
  bracket->second.waiting.pop_front();
  *observers = g_observers;
  return object;
}

}  // namespace

void NoteCreation(SchemaObject* object) {
  if (g_open_brackets.load() == 0) {
    return;
  }
  const std::lock_guard<std::mutex> hold(g_lock);
  const auto bracket = g_brackets.find(System::GetCurrentThread());
  if (bracket != g_brackets.end()) {
    bracket->second.waiting.push_back(object);
  }
}

void NoteDestruction(SchemaObject* object) {
  if (g_open_brackets.load() == 0) {
    return;
  }
  const std::lock_guard<std::mutex> hold(g_lock);
  for (auto& [thread, bracket] : g_brackets) {
    std::deque<SchemaObject*>& waiting = bracket.waiting;
    // From the back: most that die early are young.
    const auto found = std::find(waiting.rbegin(), waiting.rend(), object);
    if (found != waiting.rend()) {
      waiting.erase(std::next(found).base());
    }
  }
}

CreationObserver::NotificationDeferrer::NotificationDeferrer()
    : thread_(System::GetCurrentThread()) {
  const std::lock_guard<std::mutex> hold(g_lock);
  if (g_brackets[thread_].depth++ == 0) {
    ++g_open_brackets;
  }
}

CreationObserver::NotificationDeferrer::~NotificationDeferrer() {
  if (thread_ == System::GetCurrentThread()) {
    EndNotificationDeferrer();
  }
}

CreationObserver::~CreationObserver() = default;

void CreationObserver::AddObserver(CreationObserver* observer) {
  const std::lock_guard<std::mutex> hold(g_lock);
  if (observer != nullptr &&
      std::find(g_observers.begin(), g_observers.end(), observer) == g_observers.end()) {
    g_observers.push_back(observer);
  }
}

void CreationObserver::RemoveObserver(CreationObserver* observer) {
  const std::lock_guard<std::mutex> hold(g_lock);
  g_observers.erase(std::remove(g_observers.begin(), g_observers.end(), observer),
                    g_observers.end());
}

void CreationObserver::NotifyDeferred() {
  std::vector<CreationObserver*> observers;
  while (SchemaObject* object = TakeWaiting(&observers)) {
    for (CreationObserver* observer : observers) {
      observer->OnCreated(*object);
    }
  }
}

void CreationObserver::EndNotificationDeferrer() {
  const ThreadId self = System::GetCurrentThread();
  {
    const std::lock_guard<std::mutex> hold(g_lock);
    const auto bracket = g_brackets.find(self);
    if (bracket == g_brackets.end()) {
      return;
    }
    if (bracket->second.depth > 1) {
      --bracket->second.depth;
      return;
    }
  }
  // Still open, so that what observers make is announced too.
  NotifyDeferred();
  const std::lock_guard<std::mutex> hold(g_lock);
  g_brackets.erase(self);
  --g_open_brackets;
}

}  // namespace loculus
}  // namespace nimbara
