// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/street_panoramas_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace pelorin {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
// Linked points this near to each other are one: no heading can be taken between them.
constexpr double kSamePlaceMetres = 0.01;
// A loop below this has no room for the three panoramas that make it walkable.
constexpr double kSmallestLoopMetres = 3.0;
// Storeys within this distance belong to one building.
constexpr double kBuildingMetres = 75.0;
constexpr std::size_t kPiecesPerReport = 1000;

// Cells of a grid over the planet that are, at every latitude, at least as wide and high as a
// building reaches.
constexpr double kCellDeg = kBuildingMetres / kMetresPerDegree;

std::int64_t GridRow(const LatLng& place) {
  return static_cast<std::int64_t>(std::floor(place.lat_deg / kCellDeg));
}

std::int64_t GridColumn(std::int64_t row, const LatLng& place) {
  const double widest_deg = std::min(90.0, (std::fabs(static_cast<double>(row)) + 1.0) * kCellDeg);
  const double narrowing = std::max(1e-6, std::cos(widest_deg * kPi / 180.0));
  return static_cast<std::int64_t>(std::floor(place.lng_deg * narrowing / kCellDeg));
}

// The root of `node` in a forest of merged entries; shortens the way on the fly.
std::uint32_t RootOf(std::vector<std::uint32_t>* forest, std::uint32_t node) {
  while ((*forest)[node] != node) {
    (*forest)[node] = (*forest)[(*forest)[node]];
    node = (*forest)[node];
  }
  return node;
}

// The lower index stays the root, so that the result does not depend on the order of merging.
void Merge(std::vector<std::uint32_t>* forest, std::uint32_t a, std::uint32_t b) {
  const std::uint32_t root_a = RootOf(forest, a);
  const std::uint32_t root_b = RootOf(forest, b);
  (*forest)[std::max(root_a, root_b)] = std::min(root_a, root_b);
}

// A thousandth of a degree is finer than any use of a heading and the same on every machine.
float StoredYaw(double yaw_deg) {
  return static_cast<float>(NormalizedDegrees(std::round(NormalizedDegrees(yaw_deg) * 1e3) / 1e3));
}

// A millimetre, for the same reason.
LatLng StoredPlace(const LatLng& place) {
  return {std::round(place.lat_deg * 1e8) / 1e8, std::round(place.lng_deg * 1e8) / 1e8};
}

double MeanYaw(double a, double b) {
  return a + std::remainder(b - a, 360.0) / 2.0;
}

std::string SeedOf(const NodeKey& key) {
  return std::to_string(key.space) + "/" + std::to_string(key.value);
}

void StoreId(const std::string& seed, std::array<char, kPanoIdLength>* id) {
  const std::string text = PanoIdFromSeed(seed);
  std::copy(text.begin(), text.end(), id->begin());
}

}  // namespace

StreetPanoramasBuilder::StreetPanoramasBuilder(StreetPanoramas* target) : target_(target) {}

StreetPanoramas::Outcome StreetPanoramasBuilder::Run() {
  CollectSteps();
  IndexSteps();
  StreetPanoramas::Outcome outcome = StreetPanoramas::Outcome::kBuilt;
  if (!WalkPieces(&outcome)) {
    return outcome;
  }
  SortLinks();
  NumberScenes();
  FindLevels();
  return outcome;
}

void StreetPanoramasBuilder::CollectSteps() {
  std::unordered_map<NodeKey, std::uint32_t, NodeKeyHash> node_of_key;
  std::vector<std::vector<std::uint32_t>> street_nodes(target_->streets_.size());
  for (std::size_t i = 0; i < target_->streets_.size(); ++i) {
    for (const StreetPoint& point : target_->streets_[i].points) {
      if (!IsValidLatLng(point.place)) {
        ++target_->statistics_.invalid_points;
        continue;
      }
      const auto [entry, is_new] =
          node_of_key.try_emplace(point.key, static_cast<std::uint32_t>(nodes_.size()));
      if (is_new) {
        nodes_.push_back({point.place, point.key});
      }
      street_nodes[i].push_back(entry->second);
    }
    target_->streets_[i].points = {};
  }
  std::vector<std::uint32_t> merged(nodes_.size());
  std::iota(merged.begin(), merged.end(), 0u);
  for (std::size_t i = 0; i < street_nodes.size(); ++i) {
    AddStreetSteps(static_cast<std::uint32_t>(i), street_nodes[i], &merged);
  }
  FinishSteps(&merged);
}

void StreetPanoramasBuilder::AddStreetSteps(std::uint32_t street,
                                            const std::vector<std::uint32_t>& nodes,
                                            std::vector<std::uint32_t>* merged) {
  double offset_m = 0.0;
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    const std::uint32_t a = nodes[i - 1];
    const std::uint32_t b = nodes[i];
    const double metres = DistanceMetres(nodes_[a].place, nodes_[b].place);
    if (metres > target_->options_.longest_step_m) {
      ++target_->statistics_.gaps;
      continue;
    }
    if (metres < kSamePlaceMetres) {
      Merge(merged, a, b);
      continue;
    }
    steps_.push_back({a, b, street, static_cast<float>(offset_m), metres});
    offset_m += metres;
  }
}

// Brings the steps to the nodes that are left, and keeps each pair of nodes once.
void StreetPanoramasBuilder::FinishSteps(std::vector<std::uint32_t>* merged) {
  std::unordered_set<std::uint64_t> seen;
  std::unordered_set<std::uint32_t> streets;
  std::vector<Step> kept;
  for (Step step : steps_) {
    step.a = RootOf(merged, step.a);
    step.b = RootOf(merged, step.b);
    if (step.a == step.b) {
      continue;
    }
    step.metres = DistanceMetres(nodes_[step.a].place, nodes_[step.b].place);
    const std::uint64_t pair =
        (std::uint64_t{std::min(step.a, step.b)} << 32) | std::max(step.a, step.b);
    // Merging can bring two points of different merged groups onto one place.
    if (step.metres == 0.0 || !seen.insert(pair).second) {
      ++target_->statistics_.repeated_steps;
      continue;
    }
    streets.insert(step.street);
    target_->statistics_.metres += step.metres;
    kept.push_back(step);
  }
  steps_ = std::move(kept);
  target_->statistics_.streets_used = streets.size();
}

void StreetPanoramasBuilder::IndexSteps() {
  first_at_.assign(nodes_.size() + 1, 0);
  for (const Step& step : steps_) {
    ++first_at_[step.a + 1];
    ++first_at_[step.b + 1];
  }
  std::partial_sum(first_at_.begin(), first_at_.end(), first_at_.begin());
  steps_at_.resize(2 * steps_.size());
  std::vector<std::uint32_t> next(first_at_.begin(), first_at_.end() - 1);
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    steps_at_[next[steps_[i].a]++] = static_cast<std::uint32_t>(i);
    steps_at_[next[steps_[i].b]++] = static_cast<std::uint32_t>(i);
  }
  used_.assign(steps_.size(), false);
  spot_of_node_.assign(nodes_.size(), kNone);
}

std::uint32_t StreetPanoramasBuilder::Degree(std::uint32_t node) const {
  return first_at_[node + 1] - first_at_[node];
}

bool StreetPanoramasBuilder::IsStop(std::uint32_t node) const {
  if (Degree(node) != 2) {
    return Degree(node) != 0;
  }
  const Step& one = steps_[steps_at_[first_at_[node]]];
  const Step& other = steps_[steps_at_[first_at_[node] + 1]];
  return target_->streets_[one.street].level.id != target_->streets_[other.street].level.id;
}

// False, with `outcome`, if the walk was stopped.
bool StreetPanoramasBuilder::WalkPieces(StreetPanoramas::Outcome* outcome) {
  std::uint64_t pieces = 0;
  // What is left after the stops are closed rings, which begin at their first node.
  for (const bool only_stops : {true, false}) {
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
      if (IsStop(node) != only_stops) {
        continue;
      }
      for (std::uint32_t i = first_at_[node]; i < first_at_[node + 1]; ++i) {
        if (used_[steps_at_[i]]) {
          continue;
        }
        Piece piece;
        Walk(node, steps_at_[i], &piece);
        walked_steps_ += piece.steps.size();
        PlacePiece(piece);
        if (target_->spots_.size() > target_->options_.max_panoramas) {
          *outcome = StreetPanoramas::Outcome::kTooMany;
          return false;
        }
        if (++pieces % kPiecesPerReport == 0 && !Report()) {
          *outcome = StreetPanoramas::Outcome::kCancelled;
          return false;
        }
      }
    }
  }
  if (!Report()) {
    *outcome = StreetPanoramas::Outcome::kCancelled;
    return false;
  }
  return true;
}

bool StreetPanoramasBuilder::Report() const {
  const StreetPanoramas::Options& options = target_->options_;
  return !options.on_progress || options.on_progress(walked_steps_, steps_.size());
}

std::uint32_t StreetPanoramasBuilder::OtherEnd(std::uint32_t step, std::uint32_t node) const {
  return steps_[step].a == node ? steps_[step].b : steps_[step].a;
}

void StreetPanoramasBuilder::Walk(std::uint32_t start, std::uint32_t first_step, Piece* piece) {
  std::uint32_t node = start;
  std::uint32_t step = first_step;
  piece->nodes.push_back(node);
  for (;;) {
    used_[step] = true;
    node = OtherEnd(step, node);
    piece->steps.push_back(step);
    piece->nodes.push_back(node);
    piece->metres += steps_[step].metres;
    if (node == start || IsStop(node)) {
      return;
    }
    const std::uint32_t one = steps_at_[first_at_[node]];
    step = one == step ? steps_at_[first_at_[node] + 1] : one;
  }
}

void StreetPanoramasBuilder::PlacePiece(const Piece& piece) {
  const bool loop = piece.nodes.front() == piece.nodes.back();
  if (loop && piece.metres < kSmallestLoopMetres) {
    ++target_->statistics_.tiny_loops;
    return;
  }
  const double wanted = std::round(piece.metres / target_->options_.spacing_m);
  const std::uint64_t parts = static_cast<std::uint64_t>(std::max(loop ? 3.0 : 1.0, wanted));
  std::uint32_t last = SpotOfStop(piece.nodes.front());
  double leave_yaw = YawAt(piece.nodes.front(), piece.steps.front());
  std::uint32_t leave_street = steps_[piece.steps.front()].street;
  std::size_t at = 0;
  double passed_m = 0.0;
  for (std::uint64_t part = 1; part < parts; ++part) {
    const double goal_m = piece.metres * static_cast<double>(part) / static_cast<double>(parts);
    // A goal a hair before a corner means the corner, with a heading on each side.
    while (at + 1 < piece.steps.size() &&
           passed_m + steps_[piece.steps[at]].metres < goal_m + kSamePlaceMetres) {
      passed_m += steps_[piece.steps[at]].metres;
      ++at;
    }
    const double step_m = std::max(0.0, goal_m - passed_m);
    const Passage passage = PassageAt(piece, at, step_m);
    const std::uint32_t spot = AddSpotAlong(piece, at, step_m, part, passage);
    LinkBoth({last, leave_yaw, leave_street}, {spot, passage.back_yaw, passage.street});
    last = spot;
    leave_yaw = passage.forward_yaw;
    leave_street = passage.street;
    if (target_->spots_.size() > target_->options_.max_panoramas) {
      return;
    }
  }
  const std::uint32_t end = SpotOfStop(piece.nodes.back());
  LinkBoth({last, leave_yaw, leave_street},
           {end, YawAt(piece.nodes.back(), piece.steps.back()), steps_[piece.steps.back()].street});
}

// The heading in which a step leaves one of its nodes.
double StreetPanoramasBuilder::YawAt(std::uint32_t node, std::uint32_t step) const {
  return BearingDegrees(nodes_[node].place, nodes_[OtherEnd(step, node)].place);
}

StreetPanoramasBuilder::Passage
StreetPanoramasBuilder::PassageAt(const Piece& piece, std::size_t at, double step_m) const {
  const LatLng& from = nodes_[piece.nodes[at]].place;
  const LatLng& to = nodes_[piece.nodes[at + 1]].place;
  Passage passage;
  passage.street = steps_[piece.steps[at]].street;
  if (step_m < kSamePlaceMetres && at > 0) {
    passage.place = from;
    passage.forward_yaw = BearingDegrees(from, to);
    passage.back_yaw = YawAt(piece.nodes[at], piece.steps[at - 1]);
    return passage;
  }
  passage.place = PlaceAlong(from, BearingDegrees(from, to), step_m);
  passage.forward_yaw = BearingDegrees(passage.place, to);
  passage.back_yaw = BearingDegrees(passage.place, from);
  return passage;
}

std::uint32_t StreetPanoramasBuilder::AddSpotAlong(const Piece& piece, std::size_t at,
                                                   double step_m, std::uint64_t part,
                                                   const Passage& passage) {
  const Step& step = steps_[piece.steps[at]];
  const bool with_street = step.a == piece.nodes[at];
  const double onward = MeanYaw(passage.forward_yaw, passage.back_yaw + 180.0);
  Spot spot;
  spot.place = StoredPlace(passage.place);
  spot.yaw_deg = StoredYaw(with_street ? onward : onward + 180.0);
  spot.offset_m = step.offset_m + static_cast<float>(with_street ? step_m : step.metres - step_m);
  spot.street = step.street;
  spot.level_street = step.street;
  spot.pieces = 2;
  StoreId("along " + SeedOf(nodes_[piece.nodes[0]].key) + " " + SeedOf(nodes_[piece.nodes[1]].key) +
              " " + std::to_string(part),
          &spot.id);
  target_->spots_.push_back(spot);
  return static_cast<std::uint32_t>(target_->spots_.size() - 1);
}

std::uint32_t StreetPanoramasBuilder::SpotOfStop(std::uint32_t node) {
  if (spot_of_node_[node] != kNone) {
    return spot_of_node_[node];
  }
  const std::uint32_t main = MainStepAt(node);
  const Step& step = steps_[main];
  Spot spot;
  spot.place = StoredPlace(nodes_[node].place);
  spot.yaw_deg = StoredYaw(YawAt(node, main) + (step.a == node ? 0.0 : 180.0));
  spot.offset_m = step.offset_m + static_cast<float>(step.a == node ? 0.0 : step.metres);
  spot.street = step.street;
  spot.level_street = LevelStreetAt(node);
  spot.pieces = Degree(node);
  StoreId("at " + SeedOf(nodes_[node].key), &spot.id);
  target_->statistics_.junctions += spot.pieces >= 3 ? 1 : 0;
  target_->spots_.push_back(spot);
  spot_of_node_[node] = static_cast<std::uint32_t>(target_->spots_.size() - 1);
  return spot_of_node_[node];
}

// The step of the most important street at a node, of several the first.
std::uint32_t StreetPanoramasBuilder::MainStepAt(std::uint32_t node) const {
  return *std::min_element(
      steps_at_.begin() + first_at_[node], steps_at_.begin() + first_at_[node + 1],
      [this](std::uint32_t a, std::uint32_t b) {
        return target_->streets_[steps_[a].street].rank < target_->streets_[steps_[b].street].rank;
      });
}

// A stair ends on the storey that goes on there: the one with most steps, and a storey before the
// open air.
std::uint32_t StreetPanoramasBuilder::LevelStreetAt(std::uint32_t node) const {
  std::map<std::string, std::uint32_t> steps_on_level;
  std::uint32_t best_street = 0;
  std::pair<std::uint32_t, std::string> best{0, ""};
  for (std::uint32_t i = first_at_[node]; i < first_at_[node + 1]; ++i) {
    const std::uint32_t street = steps_[steps_at_[i]].street;
    const std::string& id = target_->streets_[street].level.id;
    const std::pair<std::uint32_t, std::string> found{++steps_on_level[id], id};
    if (found > best) {
      best = found;
      best_street = street;
    }
  }
  return best_street;
}

void StreetPanoramasBuilder::LinkBoth(const Exit& one, const Exit& other) {
  if (one.spot == other.spot) {
    return;
  }
  target_->links_.push_back({one.spot, other.spot, StoredYaw(one.yaw_deg), one.street});
  target_->links_.push_back({other.spot, one.spot, StoredYaw(other.yaw_deg), other.street});
}

void StreetPanoramasBuilder::SortLinks() {
  std::vector<Link>& links = target_->links_;
  std::stable_sort(links.begin(), links.end(),
                   [](const Link& a, const Link& b) { return a.from < b.from; });
  // Two short pieces between one pair of stops are one link: there is one way to tell them apart.
  std::vector<Link> kept;
  kept.reserve(links.size());
  std::size_t first_of_spot = 0;
  for (const Link& link : links) {
    if (kept.empty() || kept.back().from != link.from) {
      first_of_spot = kept.size();
    }
    const bool known = std::any_of(
        kept.begin() + static_cast<std::ptrdiff_t>(first_of_spot), kept.end(),
        [&link](const Link& other) { return other.from == link.from && other.to == link.to; });
    if (!known) {
      kept.push_back(link);
    }
  }
  links = std::move(kept);
  std::uint32_t next = 0;
  for (std::size_t i = 0; i < target_->spots_.size(); ++i) {
    target_->spots_[i].first_link = next;
    while (next < links.size() && links[next].from == i) {
      ++next;
    }
  }
}

void StreetPanoramasBuilder::NumberScenes() {
  std::vector<Spot>& spots = target_->spots_;
  std::vector<std::uint32_t> pieces(spots.size());
  std::iota(pieces.begin(), pieces.end(), 0u);
  for (const Link& link : target_->links_) {
    Merge(&pieces, link.from, link.to);
  }
  std::map<std::uint32_t, std::uint32_t> sizes;
  for (std::uint32_t i = 0; i < spots.size(); ++i) {
    ++sizes[RootOf(&pieces, i)];
  }
  std::vector<std::pair<std::uint32_t, std::uint32_t>> order(sizes.begin(), sizes.end());
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::map<std::uint32_t, std::int32_t> scene_of;
  for (const auto& [root, size] : order) {
    scene_of.emplace(root, static_cast<std::int32_t>(scene_of.size()) + 1);
  }
  for (std::uint32_t i = 0; i < spots.size(); ++i) {
    spots[i].scene = scene_of[RootOf(&pieces, i)];
  }
}

// Storeys are rare, so the spots on them stand in a coarse grid.
void StreetPanoramasBuilder::FindLevels() {
  SpotGrid grid;
  for (std::uint32_t i = 0; i < target_->spots_.size(); ++i) {
    if (!LevelIdOf(i).empty()) {
      const LatLng& place = target_->spots_[i].place;
      grid[{GridRow(place), GridColumn(GridRow(place), place)}].push_back(i);
    }
  }
  for (std::uint32_t i = 0; i < target_->spots_.size(); ++i) {
    if (LevelIdOf(i).empty()) {
      continue;
    }
    for (const auto& [id, found] : NearestOnEachLevel(grid, i)) {
      target_->levels_.emplace_back(i, found.second);
    }
  }
}

const std::string& StreetPanoramasBuilder::LevelIdOf(std::uint32_t spot) const {
  return target_->streets_[target_->spots_[spot].level_street].level.id;
}

// Storey id to distance and spot. A panorama stands for its own storey, whoever else is there.
std::map<std::string, std::pair<double, std::uint32_t>>
StreetPanoramasBuilder::NearestOnEachLevel(const SpotGrid& grid, std::uint32_t spot) const {
  const Spot& from = target_->spots_[spot];
  std::map<std::string, std::pair<double, std::uint32_t>> nearest;
  for (std::int64_t row = GridRow(from.place) - 1; row <= GridRow(from.place) + 1; ++row) {
    const std::int64_t middle = GridColumn(row, from.place);
    for (std::int64_t column = middle - 1; column <= middle + 1; ++column) {
      const auto cell = grid.find({row, column});
      if (cell == grid.end()) {
        continue;
      }
      for (const std::uint32_t other : cell->second) {
        const double metres = DistanceMetres(from.place, target_->spots_[other].place);
        if (metres > kBuildingMetres || target_->spots_[other].scene != from.scene) {
          continue;
        }
        const std::pair<double, std::uint32_t> found{other == spot ? -1.0 : metres, other};
        const auto entry = nearest.emplace(LevelIdOf(other), found).first;
        entry->second = std::min(entry->second, found);
      }
    }
  }
  return nearest;
}

}  // namespace pelorin
