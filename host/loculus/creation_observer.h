// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/threads.h"

namespace nimbara {
namespace loculus {

class SchemaObject;

/// Hears of new KML objects, whole and linked up: an object is announced when the bracket ends in
/// which it was made, on the thread that made it.
///
/// ```
/// const CreationObserver::NotificationDeferrer deferrer;
/// RefPtr<Placemark> placemark(new Placemark(KmlId(), QStringNull()));
/// ...
/// ```
///
/// An object made outside any bracket is not announced, as nothing tells when it is whole; nor is
/// one that dies before its turn.
class PELORIN_HOST_EXPORT CreationObserver {
 public:
  /// Holds back the announcements of its thread while it lives. Brackets nest; the outermost
  /// counts. Made and destroyed on one thread; destroyed on another, it leaves the bracket open.
  class PELORIN_HOST_EXPORT NotificationDeferrer {
   public:
    NotificationDeferrer();
    /// Ends the bracket, through `EndNotificationDeferrer`, if this is the thread that opened it.
    ~NotificationDeferrer();
    NotificationDeferrer(const NotificationDeferrer&) = delete;
    NotificationDeferrer& operator=(const NotificationDeferrer&) = delete;

   private:
    const ThreadId thread_;
  };

  virtual ~CreationObserver();
  /// Runs once for each object, in order of creation, on its thread, with no lock held. May make
  /// and drop objects; those that it makes are announced in turn.
  virtual void OnCreated(SchemaObject& object) = 0;

  /// Observers are not owned and each is listed once. An observer is removed while no thread is
  /// announcing. Safe from any thread otherwise.
  static void AddObserver(CreationObserver* observer);
  static void RemoveObserver(CreationObserver* observer);

  /// Announces at once what the calling thread has held back so far; the bracket stays open.
  static void NotifyDeferred();
  /// Ends the innermost bracket of the calling thread. With the outermost what was held back is
  /// announced. Without an open bracket it does nothing. `NotificationDeferrer` calls this; nobody
  /// else has to.
  static void EndNotificationDeferrer();
};

}  // namespace loculus
}  // namespace nimbara
