// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace pelorin {

/// An answer as it leaves, and what to count for it.
struct FinishedAnswer {
  std::string body;
  const char* content_type = "text/xml; charset=utf-8";
  std::size_t panoramas = 0;
  bool depth_map = false;
  bool pano_map = false;
};

/// Finished answers by what was asked for, the last ones used kept, up to a number of bytes. The
/// answers come from a dataset that does not change, so none ever goes stale.
///
/// Owned by its maker; safe from any thread.
class AnswerCache {
 public:
  /// `max_bytes` counts keys and bodies; with 0 nothing is kept.
  explicit AnswerCache(std::size_t max_bytes) : max_bytes_(max_bytes) {}
  AnswerCache(const AnswerCache&) = delete;
  AnswerCache& operator=(const AnswerCache&) = delete;

  /// The answer kept for `key`, or null.
  std::shared_ptr<const FinishedAnswer> Find(const std::string& key);
  /// Keeps `answer` for `key` and lets go of those unused for longest. One that is kept already
  /// stays; one that is larger than everything together is not kept.
  void Keep(const std::string& key, std::shared_ptr<const FinishedAnswer> answer);
  /// Bytes kept at this moment.
  std::size_t bytes() const;

 private:
  struct Entry {
    std::string key;
    std::shared_ptr<const FinishedAnswer> answer;
  };
  using Order = std::list<Entry>;  // The last used first.

  const std::size_t max_bytes_;
  mutable std::mutex mutex_;  // Guards everything below; a leaf.
  Order order_;
  std::unordered_map<std::string, Order::iterator> entries_;
  std::size_t bytes_ = 0;
};

}  // namespace pelorin
