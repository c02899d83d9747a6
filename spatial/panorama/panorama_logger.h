// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QUrl>

#include "base/export.h"
#include "host/network.h"
#include "host/threads.h"
#include "spatial/panorama/scene_stats.h"

namespace nimbara {
namespace spatial {

/// Tells the panorama service now and then how much its panoramas are used: how many distinct
/// views, changes of the field of view and panoramas there were. Nothing about where the user was
/// or looked.
///
/// ```
/// PanoramaLogger logger(&clock);
/// logger.NewPanoramaEvent(true);                      // Reports by itself when it is due.
/// logger.NewViewEvent(heading, tilt, fov, true);
/// logger.ForceSendData();                             // What is left, before the end.
/// ```
///
/// The viewer owns it, as it owns the clock, which must outlive it. All of it runs on one thread
/// and without a lock. A report is fire and forget: no answer is read, and one that fails is lost
/// with its counts. The request knows this object only as its user data, which nobody uses.
///
/// What the flag of an event means is the viewer's; true and false are counted and reported apart.
class PELORIN_EXPORT PanoramaLogger {
 public:
  /// The first counted event is due at once. `clock` is not null.
  explicit PanoramaLogger(ITimingSource* clock);
  PanoramaLogger(const PanoramaLogger&) = delete;
  PanoramaLogger& operator=(const PanoramaLogger&) = delete;
  /// Cancels the last report if it is still under way. Counts not yet sent are lost.
  virtual ~PanoramaLogger();

  /// Reports the counts, if there are any, and starts anew. A report that cannot be started counts
  /// as sent.
  virtual void SendData();

  /// Counts, and reports if that is due.
  void NewPanoramaEvent(bool flag);
  /// Angles in radians, as `SceneStats` takes them.
  void NewViewEvent(double heading, double tilt, double fov, bool flag);

  /// True with more than 20 counted events, or more than 30 seconds after the last report. The
  /// clock is asked only where the count does not decide.
  bool ShouldSendData();

  /// `SendData`.
  void ForceSendData();

  /// The address of a report of the present counts; different at each call. It goes to the
  /// service's own server: no setting leads it elsewhere.
  QUrl CreateUrl() const;

  SceneStats stats_68;           ///< Events with true.
  SceneStats stats_67;           ///< Events with false.
  ITimingSource* timing;         ///< Not owned.
  double last_send_time;         ///< Seconds, on that clock.
  RefPtr<net::Fetcher> fetcher;  ///< The last report; null before the first or if none started.

 private:
  int CountedEvents() const;
  SceneStats& StatsOf(bool flag) { return flag ? stats_68 : stats_67; }
  void SendIfDue();
};

}  // namespace spatial
}  // namespace nimbara
