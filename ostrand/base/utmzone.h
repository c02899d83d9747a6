// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>
#include <string>

#include "base/export.h"
#include "ostrand/base/map_projection.h"
#include "ostrand/base/matrix2x2.h"
#include "ostrand/base/point2.h"

namespace ostrand {

/// One zone of the Universal Transverse Mercator system on the WGS84 ellipsoid: degrees to metres
/// east and north, and back, with the derivatives of the forward map on request.
///
///     const ostrand::UTMZone zone(42.0, 12.5);            // 33T
///     double x, y;
///     zone.LatLngToLocal(42.0, 12.5, &x, &y);             // 292949 m east, 4652800 m north
///
/// The series are those of the USGS transverse Mercator formulas (Snyder, "Map Projections: A
/// Working Manual", 1987, pages 61 to 64) for a squared eccentricity of 0.00669438 and no more
/// terms, whatever longer series could add: docs/utm.md has their error by distance from the middle
/// of the zone. Forward and inverse are cut at different terms, so a round trip is off by up to
/// 0.8 mm near the middle and 5 cm at 6 degrees from it.
///
/// Which hemisphere a northing counts from is told by the band letter alone: below 'N' (as signed
/// characters) 10,000,000 m are added. So a southern point in a zone with a northern letter has a
/// negative northing. Letters 'A' to 'Z' are all taken, 'I' and 'O' included.
///
/// Local coordinates are easting and northing less those of `utm_origin`, which is (0, 0) unless a
/// reference was set together with the origin.
///
/// Failed checks make a fatal entry and go on with the values as they are, here with zone 0, whose
/// middle would be 183 degrees west. No input is undefined: angles and coordinates that are not
/// finite give not-a-number. An object is used by one thread at a time; output pointers must not be
/// null except where stated.
class PELORIN_EXPORT UTMZone : public MapProjection {
 public:
  /// Zone 0 with letter 'I', not valid, without a reference.
  UTMZone() = default;

  /// Zone `longitude_zone`, 1 to 60, and band `latitude_zone`, 'A' to 'Z'; a fatal entry for either
  /// out of range, which is kept all the same. No reference.
  UTMZone(unsigned char longitude_zone, char latitude_zone);

  /// From text such as "32T": a decimal number, of which the low 8 bits count ("289T" is zone 33),
  /// the letter at once behind it, and nothing else. Any other text makes a fatal entry and goes on
  /// with what was read ahead of the fault: zone 0 for no number, letter 'I' for no letter, and for
  /// "32 T" a blank as the letter. The ranges are then checked as above. No reference.
  explicit UTMZone(const std::string& zone);

  /// The zone of a point: `Set(lat, lng)`.
  UTMZone(double lat, double lng);

  /// `Set(lat, lng, set_origin)`.
  UTMZone(double lat, double lng, bool set_origin);

  /// `Set(lat, lng, false)`.
  void Set(double lat, double lng);

  /// Chooses the zone of the point at `lat` and `lng` degrees, with the exceptions of Norway and
  /// Svalbard, and makes the point the reference, its angles as given. With `set_origin` it also
  /// becomes local (0, 0); otherwise the origin becomes (0, 0).
  ///
  /// Longitudes from -180 on are turned into range (180 becomes -180, zone 1). Below -180 they are
  /// not: the formula goes on, below -186 with zone 0 and then 255, 254 and so on. A longitude that
  /// is not finite, or so far below the range that its zone is no `int`, gives zone 0.
  void Set(double lat, double lng, bool set_origin);

  /// `Set(lat, lng, true)`: the zone follows the new reference.
  void SetReference(double lat, double lng) override;
  void GetReference(double* lat, double* lng) const override;
  /// True after `Set`, `SetReference`, a constructor that takes a point, or `set_utm_origin` with
  /// an origin other than (0, 0).
  bool IsReferenceSet() const override { return reference_set_; }

  /// Counts local coordinates from `origin`, an easting and northing in metres. Unless it is
  /// (0, 0), of either sign, the geographic point there becomes the reference. A fatal entry if
  /// this is not valid.
  void set_utm_origin(const Point2<double>& origin);
  const Point2<double>& utm_origin() const { return utm_origin_; }

  /// Whether there is a zone: its number is not 0.
  bool IsValid() const { return longitude_zone_ != 0; }
  /// The number of the zone, 1 to 60; 0 means not valid.
  unsigned char longitude_zone() const { return longitude_zone_; }
  /// The letter of the band.
  char latitude_zone() const { return latitude_zone_; }

  /// The number and the letter, such as "32T".
  std::string StringRepresentation() const;

  /// The letter of the band of a latitude in degrees: 'C' to 'X' without 'I' and 'O' from -80 to
  /// 84, both ends included; 'A' below and 'Z' above; 'Z' and a fatal entry for not-a-number. A
  /// band of 8 degrees holds its south edge and not its north edge.
  static char ComputeUTMZoneLetter(double latitude);

  /// The forward projection, in degrees and metres, for any longitude within a turn of the zone's
  /// middle. Fatal entry for zone 0.
  void LatLngToLocal(double lat, double lng, double* x, double* y) const override;

  /// The same with the derivatives in metres per degree, if `partials` is not null: x by latitude,
  /// x by longitude, y by latitude, y by longitude. They do not depend on the origin. Of y by
  /// latitude the meridian's part is the exact slope, not that of the cut series; the two differ by
  /// up to 4e-5.
  ///
  /// The direction of true north and the scale follow from them: with (a, b, c, d) in this order
  /// the meridian convergence is atan2(-a, c), positive where grid north lies east of true north.
  void LatLngToLocalWithPartials(double lat, double lng, double* x, double* y,
                                 Matrix2x2<double>* partials) const;

  /// The inverse projection. The longitude is not turned into range, so it may lie outside -180 to
  /// 180. Fatal entry for zone 0.
  void LocalToLatLng(double x, double y, double* lat, double* lng) const override;

  UTMZone* Clone() const override;

 private:
  void CheckRanges() const;
  double CentralMeridian() const;
  double FalseNorthing() const;

  bool reference_set_ = false;
  double reference_lat_ = std::numeric_limits<double>::quiet_NaN();
  double reference_lng_ = std::numeric_limits<double>::quiet_NaN();
  unsigned char longitude_zone_ = 0;
  char latitude_zone_ = 'I';
  Point2<double> utm_origin_;
};

}  // namespace ostrand
