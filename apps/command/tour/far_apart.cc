// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/far_apart.h"

#include <algorithm>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace pelorin {
namespace command {
namespace {

/// The panoramas outside buildings and the links between them, by number, in the order of their
/// ids.
class Network {
 public:
  explicit Network(std::vector<PanoRecord> records) : records_(std::move(records)) {
    std::sort(records_.begin(), records_.end(),
              [](const PanoRecord& a, const PanoRecord& b) { return a.id < b.id; });
    std::unordered_map<std::string, int> numbers;
    for (std::size_t i = 0; i < records_.size(); ++i) {
      numbers.emplace(records_[i].id, static_cast<int>(i));
    }
    links_.resize(records_.size());
    for (std::size_t i = 0; i < records_.size(); ++i) {
      for (const PanoLink& link : records_[i].links) {
        const auto target = numbers.find(link.pano_id);
        if (target != numbers.end()) {
          links_[i].push_back(target->second);
          links_[static_cast<std::size_t>(target->second)].push_back(static_cast<int>(i));
        }
      }
    }
  }

  /// All that is reached from `start`, in breadth-first order, with the hops to each.
  std::vector<std::pair<int, int>> Reach(int start, std::vector<bool>* seen) const {
    std::vector<std::pair<int, int>> reach{{start, 0}};
    (*seen)[static_cast<std::size_t>(start)] = true;
    for (std::size_t i = 0; i < reach.size(); ++i) {
      const auto [at, hops] = reach[i];
      for (const int next : links_[static_cast<std::size_t>(at)]) {
        if (!(*seen)[static_cast<std::size_t>(next)]) {
          (*seen)[static_cast<std::size_t>(next)] = true;
          reach.emplace_back(next, hops + 1);
        }
      }
    }
    return reach;
  }

  /// A panorama of the largest piece.
  int InLargestPiece() const {
    std::vector<bool> seen(records_.size(), false);
    std::size_t largest = 0;
    int found = 0;
    for (std::size_t i = 0; i < records_.size(); ++i) {
      if (!seen[i]) {
        const std::size_t size = Reach(static_cast<int>(i), &seen).size();
        if (size > largest) {
          largest = size;
          found = static_cast<int>(i);
        }
      }
    }
    return found;
  }

  /// The last of those within `max_hops`: nothing in reach lies farther.
  int Farthest(int start, int max_hops) const {
    std::vector<bool> seen(records_.size(), false);
    int farthest = start;
    for (const auto& [at, hops] : Reach(start, &seen)) {
      farthest = hops <= max_hops ? at : farthest;
    }
    return farthest;
  }

  const LatLng& PlaceOf(int number) const {
    return records_[static_cast<std::size_t>(number)].place;
  }

 private:
  std::vector<PanoRecord> records_;
  std::vector<std::vector<int>> links_;
};

}  // namespace

Outcome ChooseFarApart(const Dataset& dataset, int max_hops, LatLng* from, LatLng* to) {
  std::vector<PanoRecord> records;
  std::string error;
  if (dataset.FindInBox(dataset.bounds(), std::numeric_limits<std::size_t>::max(), &records,
                        &error) == Answer::kFailed) {
    return Outcome::Fail(ExitCode::kDataError, error);
  }
  // On one level the nearest panorama to a place is not a matter of storeys.
  records.erase(std::remove_if(records.begin(), records.end(),
                               [](const PanoRecord& record) { return !record.level_id.empty(); }),
                records.end());
  if (records.empty()) {
    return Outcome::Fail(ExitCode::kNothingFound, "the dataset holds no panorama", dataset.path(),
                         "import streets into it");
  }
  const Network network(std::move(records));
  // From anywhere the farthest is an end of the network, and what is farthest from there another.
  const int first = network.Farthest(network.InLargestPiece(), std::numeric_limits<int>::max());
  const int second = network.Farthest(first, max_hops - 1);
  *from = network.PlaceOf(first);
  *to = network.PlaceOf(second);
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
