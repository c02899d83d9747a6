// SPDX-License-Identifier: Apache-2.0
#include "apps/service/fault_plan.h"

#include <algorithm>
#include <utility>

#include "apps/service/number_text.h"

namespace pelorin {
namespace {

// SplitMix64: every start value gives a sound sequence, also 0 and neighbouring ones.
class Noise {
 public:
  explicit Noise(std::uint64_t state) : state_(state) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // 0 up to, not including, 1: the 53 bits that a double holds.
  double NextFraction() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
  // `min` to `max`, both included.
  int NextBetween(int min, int max) {
    const std::uint64_t span = static_cast<std::uint64_t>(max - min) + 1;
    return min + static_cast<int>(Next() % span);
  }

 private:
  std::uint64_t state_;
};

std::uint64_t Fnv1a(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325u;
  for (const char c : text)
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  return hash;
}

bool Refuse(std::string_view text, const char* what, std::string* error) {
  if (error != nullptr)
    *error = "\"" + std::string(text) + "\" is no " + what;
  return false;
}

bool ParseProbability(std::string_view text, double* probability, std::string* error) {
  if (ParseNumber(text, 0.0, 1.0, probability))
    return true;
  return Refuse(text, "probability: give a number from 0 to 1, such as 0.1", error);
}

}  // namespace

bool FaultPlan::SetLatency(std::string_view text, std::string* error) {
  const std::size_t dash = text.find('-');
  const std::string_view first = text.substr(0, dash);
  const std::string_view last = dash == std::string_view::npos ? first : text.substr(dash + 1);
  int min = 0;
  int max = 0;
  if (!ParseNumber(first, 0, kMaxLatencyMs, &min) || !ParseNumber(last, min, kMaxLatencyMs, &max)) {
    return Refuse(text, "latency: give milliseconds from 0 to 60000, such as 50 or 20-80", error);
  }
  min_latency_ms_ = min;
  max_latency_ms_ = max;
  return true;
}

bool FaultPlan::ParseFailure(std::string_view text, Failure* failure) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos)
    return false;
  const std::string_view rest = text.substr(colon + 1);
  const std::size_t second = rest.find(':');
  failure->retry_after_s = -1;
  if (second != std::string_view::npos &&
      !ParseNumber(rest.substr(second + 1), 0, kMaxRetryAfterS, &failure->retry_after_s)) {
    return false;
  }
  return ParseNumber(text.substr(0, colon), 400, 599, &failure->status) &&
         ParseNumber(rest.substr(0, second), 0.0, 1.0, &failure->probability);
}

bool FaultPlan::AddFailures(std::string_view text, std::string* error) {
  std::vector<Failure> failures = failures_;
  std::string_view rest = text;
  for (bool more = true; more;) {
    const std::size_t comma = rest.find(',');
    Failure failure{};
    if (!ParseFailure(rest.substr(0, comma), &failure)) {
      return Refuse(text,
                    "failure: give CODE:PROBABILITY or CODE:PROBABILITY:RETRY_SECONDS with a code "
                    "from 400 to 599, such as 503:0.1 or 429:0.1:2",
                    error);
    }
    failures.push_back(failure);
    more = comma != std::string_view::npos;
    if (more)
      rest.remove_prefix(comma + 1);
  }
  double sum = 0.0;
  for (const Failure& failure : failures)
    sum += failure.probability;
  // Ten times 0.1 is a little off 1 in binary.
  if (sum > 1.0 + 1e-9) {
    return Refuse(text, "failure to add: all probabilities together pass 1", error);
  }
  failures_ = std::move(failures);
  return true;
}

bool FaultPlan::SetTruncate(std::string_view text, std::string* error) {
  return ParseProbability(text, &truncate_, error);
}

bool FaultPlan::SetStall(std::string_view text, std::string* error) {
  return ParseProbability(text, &stall_, error);
}

bool FaultPlan::SetCorrupt(std::string_view text, std::string* error) {
  return ParseProbability(text, &corrupt_, error);
}

bool FaultPlan::active() const {
  bool fails = false;
  for (const Failure& failure : failures_)
    fails = fails || failure.probability > 0.0;
  return fails || max_latency_ms_ > 0 || truncate_ > 0.0 || stall_ > 0.0 || corrupt_ > 0.0 ||
         reorder_;
}

std::string FaultPlan::Describe() const {
  if (!active())
    return {};
  std::string line;
  if (max_latency_ms_ > 0) {
    line += "latency=" + std::to_string(min_latency_ms_);
    if (max_latency_ms_ > min_latency_ms_)
      line += "-" + std::to_string(max_latency_ms_);
    line += " ";
  }
  for (const Failure& failure : failures_) {
    line += "fail=" + std::to_string(failure.status) + ":" + ShortestText(failure.probability);
    if (failure.retry_after_s >= 0)
      line += ":" + std::to_string(failure.retry_after_s);
    line += " ";
  }
  if (truncate_ > 0.0)
    line += "truncate=" + ShortestText(truncate_) + " ";
  if (stall_ > 0.0)
    line += "stall=" + ShortestText(stall_) + " ";
  if (corrupt_ > 0.0)
    line += "corrupt=" + ShortestText(corrupt_) + " ";
  if (reorder_)
    line += "reorder ";
  return line + "seed=" + std::to_string(seed_);
}

FaultDecision FaultPlan::Decide(std::string_view what, std::uint64_t repeat) const {
  FaultDecision decision;
  if (!active())
    return decision;
  Noise noise(Noise(seed_).Next() ^ Noise(Fnv1a(what) + repeat).Next());

  // Every draw is made whatever came before, so that one flag does not shift the others' luck.
  const int latency_ms = noise.NextBetween(min_latency_ms_, max_latency_ms_);
  const double hold = noise.NextFraction();
  const int hold_ms = noise.NextBetween(kMinHoldMs, kMaxHoldMs);
  double fail = noise.NextFraction();
  const double truncate = noise.NextFraction();
  const double stall = noise.NextFraction();
  const double corrupt = noise.NextFraction();
  decision.noise = noise.Next();

  decision.late = latency_ms > 0;
  decision.reordered = reorder_ && hold < 0.5;
  decision.delay = std::chrono::milliseconds(latency_ms + (decision.reordered ? hold_ms : 0));
  for (const Failure& failure : failures_) {
    if (fail < failure.probability) {
      decision.fail_status = failure.status;
      decision.retry_after_s = failure.retry_after_s;
      return decision;
    }
    fail -= failure.probability;
  }
  if (truncate < truncate_) {
    decision.damage = FaultDecision::Damage::kTruncate;
  } else if (stall < stall_) {
    decision.damage = FaultDecision::Damage::kStall;
  } else if (corrupt < corrupt_) {
    decision.damage = FaultDecision::Damage::kCorrupt;
  }
  return decision;
}

void CorruptBytes(std::uint64_t noise, std::string* body) {
  Noise source(noise);
  // One byte in each block of 64, so that no byte is changed twice and so back.
  for (std::size_t start = 0; start < body->size(); start += 64) {
    const std::size_t size = std::min<std::size_t>(64, body->size() - start);
    char& byte = (*body)[start + source.Next() % size];
    byte = static_cast<char>(byte ^ source.NextBetween(1, 255));
  }
}

}  // namespace pelorin
