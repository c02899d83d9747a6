// SPDX-License-Identifier: Apache-2.0
#include "base/logging.h"

#include <atomic>
#include <cstddef>
#include <locale>
#include <mutex>
#include <string_view>

namespace {

// Both are ready before any static initialiser runs, and neither is ever destroyed, so that checks
// may fail while the library is loaded and unloaded.
//
// Guards the calls into the sink, and with them the life of the sink: a replaced one is not in use.
std::mutex sink_lock;
std::atomic<LogSink*> installed_sink{nullptr};

// True on a thread that is inside a sink.
thread_local bool inside_sink = false;

// The path of `file` from the root of the sources, where it lies below the root. This file knows
// the root by its own name. A header is seen where its room publishes it, as
// "BUILD/rooms/ROOM/PATH" (cmake/PelorinRooms.cmake).
std::string_view FromSourceRoot(std::string_view file) {
  constexpr std::string_view kRooms = "rooms/";
  const std::size_t rooms = file.rfind(kRooms);
  if (rooms != std::string_view::npos && (rooms == 0 || file[rooms - 1] == '/')) {
    const std::size_t room_end = file.find('/', rooms + kRooms.size());
    if (room_end != std::string_view::npos) {
      return file.substr(room_end + 1);
    }
  }
  constexpr std::string_view kThisFile = "base/logging.cc";
  constexpr std::string_view kThisPath = __FILE__;
  static_assert(kThisPath.size() >= kThisFile.size());
  constexpr std::string_view kRoot = kThisPath.substr(0, kThisPath.size() - kThisFile.size());
  if (file.substr(0, kRoot.size()) == kRoot) {
    file.remove_prefix(kRoot.size());
  }
  return file;
}

void HandOver(const LogEntry& entry) {
  // Made with the lock held, so that the sink cannot be destroyed meanwhile. That is safe even
  // when the sink makes entries itself: these end at `inside_sink`, before the lock.
  const std::lock_guard<std::mutex> guard(sink_lock);
  LogSink* const sink = installed_sink.load(std::memory_order_relaxed);
  if (sink != nullptr) {
    inside_sink = true;
    sink->OnLogEntry(entry);
    inside_sink = false;
  }
}

}  // namespace

LogSink* SetLogSink(LogSink* sink) {
  if (inside_sink) {
    return nullptr;
  }
  const std::lock_guard<std::mutex> guard(sink_lock);
  return installed_sink.exchange(sink);
}

LogMessage::LogMessage(const char* file, int line, int severity)
    : file_(severity < kLogFatal ? "" : file), line_(severity < kLogFatal ? 0 : line),
      severity_(severity) {
  stream_.imbue(std::locale::classic());
}

LogMessage::~LogMessage() {
  if (installed_sink.load() == nullptr || inside_sink) {
    return;
  }
  HandOver({severity_, std::string(FromSourceRoot(file_)), line_, stream_.str()});
}

void LogMessage::Init(const char* /*file*/, int /*line*/, int /*severity*/) {}

void LogPrintf::operator()(const char* /*format*/, ...) {}

void LogPrintf::operator()(int /*severity*/, const char* /*format*/, ...) {}

void WriteLog(int /*severity*/, const char* /*text*/) {}

void InitLogFiles(const char* /*program_name*/) {}
