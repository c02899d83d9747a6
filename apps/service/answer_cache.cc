// SPDX-License-Identifier: Apache-2.0
#include "apps/service/answer_cache.h"

#include <utility>

namespace pelorin {

std::shared_ptr<const FinishedAnswer> AnswerCache::Find(const std::string& key) {
  const std::lock_guard<std::mutex> hold(mutex_);
  const auto found = entries_.find(key);
  if (found == entries_.end())
    return nullptr;
  order_.splice(order_.begin(), order_, found->second);
  return found->second->answer;
}

void AnswerCache::Keep(const std::string& key, std::shared_ptr<const FinishedAnswer> answer) {
  const std::size_t size = key.size() + answer->body.size();
  if (size > max_bytes_)
    return;
  const std::lock_guard<std::mutex> hold(mutex_);
  if (entries_.count(key) > 0)
    return;
  while (bytes_ + size > max_bytes_) {
    const Entry& oldest = order_.back();
    bytes_ -= oldest.key.size() + oldest.answer->body.size();
    entries_.erase(oldest.key);
    order_.pop_back();
  }
  order_.push_front({key, std::move(answer)});
  entries_.emplace(key, order_.begin());
  bytes_ += size;
}

std::size_t AnswerCache::bytes() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return bytes_;
}

}  // namespace pelorin
