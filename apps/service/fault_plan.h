// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pelorin {

/// What happens to one answer of a misbehaving service.
struct FaultDecision {
  enum class Damage {
    kNone,
    kTruncate,  ///< The announced length is larger than what is sent; then the connection is
                ///< closed.
    kStall,     ///< Half of the body, then nothing until the peer gives up or the service stops.
    kCorrupt,   ///< Bytes of the body are changed; its length stays.
  };

  std::chrono::milliseconds delay{
      0};                         ///< To wait before the answer: `latency` and `hold` together.
  bool late = false;              ///< A latency is part of the delay.
  bool reordered = false;         ///< A hold, by which other answers overtake this one, is.
  int fail_status = 0;            ///< 400 to 599: this status instead of the answer; 0: none.
  int retry_after_s = -1;         ///< Seconds for the header Retry-After; below 0: no header.
  Damage damage = Damage::kNone;  ///< Always none if `fail_status` is set.
  std::uint64_t noise = 0;        ///< Seeds the choice of the bytes that are changed.
};

/// How a service misbehaves on request. A new plan does nothing.
///
/// Decisions are a pure function of the seed, of what is asked for and of how often it was asked
/// for before, so that a run can be repeated whatever the order in which its threads come to ask.
///
/// A plain value: built by one thread, then read by any number. The parsers take the text of one
/// flag; on failure they return false, leave the plan as it was and write one line into `error`
/// (can be null) that says what is wrong and what is right. Numbers use the decimal point in every
/// locale; not-a-number and signs are refused.
///
/// ```
/// FaultPlan plan;
/// if (!plan.AddFailures("503:0.1", &error)) return Usage(error);
/// ```
class FaultPlan {
 public:
  /// A longer delay could not be told from a service that hangs.
  static constexpr int kMaxLatencyMs = 60000;
  static constexpr int kMaxRetryAfterS = 3600;
  /// By how much `reorder` holds an answer back.
  static constexpr int kMinHoldMs = 10;
  static constexpr int kMaxHoldMs = 60;

  /// "MS" or "MIN-MAX": milliseconds of delay for every answer, whole numbers 0 to 60000, drawn
  /// evenly from the range with both ends. Replaces an earlier latency.
  bool SetLatency(std::string_view text, std::string* error);
  /// "CODE:P" or "CODE:P:SECONDS", several joined by commas: with probability P (0 to 1) an answer
  /// is the status CODE (400 to 599) instead, with a header Retry-After of SECONDS (0 to 3600) if
  /// given. Adds to earlier ones; the probabilities of all together stay within 1.
  bool AddFailures(std::string_view text, std::string* error);
  /// A probability, 0 to 1. Of the three damages at most one meets an answer; they are drawn in
  /// this order, each among the answers that the ones before have spared, and none meets a failed
  /// one.
  bool SetTruncate(std::string_view text, std::string* error);
  bool SetStall(std::string_view text, std::string* error);
  bool SetCorrupt(std::string_view text, std::string* error);
  /// Holds every second answer, by chance, back for 10 to 60 ms, so that others overtake it.
  void set_reorder(bool reorder) { reorder_ = reorder; }
  /// 0 until set.
  void set_seed(std::uint64_t seed) { seed_ = seed; }

  /// False if no answer can come out other than right and at once.
  bool active() const;
  /// The plan as one line of printable ASCII, such as "latency=20-80 fail=503:0.1 reorder seed=7",
  /// to be announced wherever it is in force; empty if not active.
  std::string Describe() const;

  /// What happens to the answer to the `repeat`-th request (from 0) for `what`. Any text will do.
  FaultDecision Decide(std::string_view what, std::uint64_t repeat) const;

 private:
  struct Failure {
    int status;
    double probability;
    int retry_after_s;
  };

  static bool ParseFailure(std::string_view text, Failure* failure);

  int min_latency_ms_ = 0;
  int max_latency_ms_ = 0;
  std::vector<Failure> failures_;
  double truncate_ = 0.0;
  double stall_ = 0.0;
  double corrupt_ = 0.0;
  bool reorder_ = false;
  std::uint64_t seed_ = 0;
};

/// Changes about every 64th byte of `body`, at least one if it has any, each into another value, at
/// places that `noise` decides.
void CorruptBytes(std::uint64_t noise, std::string* body);

}  // namespace pelorin
