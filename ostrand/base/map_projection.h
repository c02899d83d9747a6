// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"

namespace ostrand {

/// A map between geographic coordinates (latitude and longitude in degrees, WGS84, north and east
/// positive) and plane local ones (x to the east, y to the north, metres). It may hold a reference
/// point, from which local coordinates are then counted.
///
/// An object is used by one thread at a time. Output pointers must not be null.
class PELORIN_EXPORT MapProjection {
 public:
  virtual ~MapProjection();

  /// Geographic to local.
  virtual void LatLngToLocal(double lat, double lng, double* x, double* y) const = 0;

  /// Local to geographic.
  virtual void LocalToLatLng(double x, double y, double* lat, double* lng) const = 0;

  /// Makes this point the reference: it becomes local (0, 0).
  virtual void SetReference(double lat, double lng) = 0;

  /// The reference point. Without one a fatal entry is made, and both are not-a-number.
  virtual void GetReference(double* lat, double* lng) const = 0;

  /// Whether there is a reference point.
  virtual bool IsReferenceSet() const = 0;

  /// A copy with all fields, made with `new`; the caller owns it.
  virtual MapProjection* Clone() const = 0;

 protected:
  MapProjection() = default;
  MapProjection(const MapProjection&) = default;
  MapProjection& operator=(const MapProjection&) = default;
};

}  // namespace ostrand
