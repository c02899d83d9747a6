// SPDX-License-Identifier: Apache-2.0
// The part of a walk that follows a recorded track.
#include <cmath>

#include "apps/command/coordinates.h"
#include "apps/command/tour/camera_walk.h"
#include "apps/command/tour/tour_walk.h"
#include "host/reference/network_statistics.h"

namespace pelorin {
namespace command {
namespace {

// How often points are asked for again while requests fail.
constexpr int kRounds = 8;
// Two points of a track that are nearer to each other are asked for as one.
constexpr double kMetresOfOnePlace = 5.0;

}  // namespace

Outcome TourWalk::FollowTrack() {
  const std::uint64_t answered_before = nimbara::net::GetNetworkStatistics().succeeded;
  for (int round = 0; round < kRounds; ++round) {
    const std::uint64_t failed_before = nimbara::net::GetNetworkStatistics().failed;
    AskAlongTrack();
    along_ = PanoramasAlong(*graph_, plan_.track, plan_.radius_m);
    if (nimbara::net::GetNetworkStatistics().failed == failed_before) {
      break;
    }
  }
  TakePathAlongTrack();
  if (path_.empty()) {
    return nimbara::net::GetNetworkStatistics().succeeded == answered_before
               ? NothingAnswers()
               : Outcome::Fail(ExitCode::kNothingFound, "no panorama within its reach",
                               "track from " + LatLngText(plan_.track.front().place),
                               "choose a track on streets of the dataset");
  }
  GoAlong();
  FillGaps();
  // What came in passing can lie nearer.
  along_ = PanoramasAlong(*graph_, plan_.track, plan_.radius_m);
  TakePathAlongTrack();
  return Outcome::Done();
}

/// Every point is asked for that has no panorama yet; those that hardly differ, once.
void TourWalk::AskAlongTrack() {
  LatLng asked{HUGE_VAL, HUGE_VAL};
  for (std::size_t i = 0; i < plan_.track.size(); ++i) {
    const LatLng& place = plan_.track[i].place;
    if ((i < along_.size() && !along_[i].isEmpty()) ||
        DistanceMetres(asked, place) < kMetresOfOnePlace) {
      continue;
    }
    AskNear(place);
    asked = place;
    LetAnswersKeepUp();
  }
  WaitForAll();
}

void TourWalk::TakePathAlongTrack() {
  path_.clear();
  for (std::size_t i = 0; i < along_.size(); ++i) {
    if (!along_[i].isEmpty() && (i == 0 || along_[i] != along_[i - 1])) {
      path_.push_back(along_[i]);
    }
  }
}

}  // namespace command
}  // namespace pelorin
