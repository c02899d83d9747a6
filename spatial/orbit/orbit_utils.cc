// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit_utils.h"

#include <cmath>

#include "host/units.h"

// Every expression here keeps the order in which it is written; sums and products are not
// regrouped, and the build forbids fused ones.

namespace nimbara {
namespace spatial {
namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kNoonOf2000 = 2451545.0;
constexpr double kDayOfNoonOf2000 = 1.5;
constexpr int kNewtonSteps = 7;

struct SineCosine {
  double sine;
  double cosine;
};

inline SineCosine SineCosineOf(double angle) {
  SineCosine result;
#ifdef __GLIBC__
  ::sincos(angle, &result.sine, &result.cosine);  // One reduction for both; the same bits.
#else
  result.sine = std::sin(angle);
  result.cosine = std::cos(angle);
#endif
  return result;
}

double DayNumber(const DateTime& date) {
  return (date.GetJulianDate() - kNoonOf2000) + kDayOfNoonOf2000;
}

// As many whole turns as `part`, which is not negative, rounded up. More than an int holds, and
// what is not finite, cannot be counted and counts as none.
double WholeTurns(double part) {
  const double turns = std::ceil(part);
  return turns <= 2147483647.0 ? turns : 0.0;
}

// Into the closed range from 0 to two pi. Rounding can leave a large angle outside by a hair.
double WrapAngle(double angle) {
  if (angle >= 0.0 && angle <= kTwoPi) {
    return angle;
  }
  if (angle < 0.0) {
    return angle + WholeTurns((0.0 - angle) / kTwoPi) * kTwoPi;
  }
  return angle - WholeTurns((angle - kTwoPi) / kTwoPi) * kTwoPi;
}

double EccentricAnomaly(double mean_anomaly, double eccentricity) {
  const SineCosine mean = SineCosineOf(mean_anomaly);
  double anomaly = (eccentricity * mean.sine) * (1.0 + eccentricity * mean.cosine) + mean_anomaly;
  for (int step = 0; step < kNewtonSteps; ++step) {
    const SineCosine now = SineCosineOf(anomaly);
    const double next = anomaly - (anomaly - eccentricity * now.sine - mean_anomaly) /
                                      (1.0 - eccentricity * now.cosine);
    // The same as a plain assignment: all steps are made, and equal numbers are equal here. But
    // once the steps have settled, the processor foresees this branch and takes up the next one
    // without waiting for the division of this one, which is a quarter of all the time.
    if (next != anomaly) {
      anomaly = next;
    }
  }
  return anomaly;
}

double ToSceneUnit(double astronomical_units) {
  return Units::ConvertLength(astronomical_units, Units::kAstronomicalUnit, Units::kSceneUnit);
}

Mat4 RotationZ(double angle) {
  const SineCosine t = SineCosineOf(angle);
  return Mat4{{t.cosine, -t.sine, 0, 0, t.sine, t.cosine, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
}

Mat4 RotationY(double angle) {
  const SineCosine t = SineCosineOf(angle);
  return Mat4{{t.cosine, 0, t.sine, 0, 0, 1, 0, 0, -t.sine, 0, t.cosine, 0, 0, 0, 0, 1}};
}

Mat4 RotationX(double angle) {
  const SineCosine t = SineCosineOf(angle);
  return Mat4{{1, 0, 0, 0, 0, t.cosine, -t.sine, 0, 0, t.sine, t.cosine, 0, 0, 0, 0, 1}};
}

Vec3<double> Normalized(const Vec3<double>& vector) {
  constexpr double kNegligible = 2.842170943040401e-14;  // Two to the power -45.
  const double square = vector.x * vector.x + vector.y * vector.y + vector.z * vector.z;
  if (square <= 0.0 && square > -kNegligible) {
    return vector;
  }
  const double length = std::sqrt(square);
  if (length > 0.0) {
    return {vector.x / length, vector.y / length, vector.z / length};
  }
  return vector;
}

}  // namespace

Vec3<double> OrbitUtils::CalcRelativePosition(const DateTime& date,
                                              const OrbitalParameters& parameters) {
  const double day = DayNumber(date);
  const double node = parameters.ascending_node_rate * day + parameters.ascending_node;
  const double inclination = parameters.inclination_rate * day + parameters.inclination;
  const double perihelion =
      parameters.perihelion_argument_rate * day + parameters.perihelion_argument;
  const double axis = parameters.semi_major_axis_rate * day + parameters.semi_major_axis;
  const double eccentricity = parameters.eccentricity_rate * day + parameters.eccentricity;
  const double mean_anomaly =
      WrapAngle(parameters.mean_anomaly_rate * day + parameters.mean_anomaly);

  // These wait for nothing, so they run beside the steps below.
  const SineCosine i = SineCosineOf(inclination);
  const SineCosine n = SineCosineOf(node);

  // In the plane of the orbit, x towards the perihelion.
  const SineCosine eccentric = SineCosineOf(EccentricAnomaly(mean_anomaly, eccentricity));
  const double plane_x = axis * (eccentric.cosine - eccentricity);
  const double plane_y = axis * std::sqrt(1.0 - eccentricity * eccentricity) * eccentric.sine;
  const double true_anomaly = WrapAngle(std::atan2(plane_y, plane_x));
  const double distance = std::sqrt(plane_x * plane_x + plane_y * plane_y);

  const SineCosine u = SineCosineOf(perihelion + true_anomaly);
  const double x = distance * (n.cosine * u.cosine - n.sine * u.sine * i.cosine);
  const double y = distance * (n.sine * u.cosine + n.cosine * u.sine * i.cosine);
  const double z = distance * u.sine * i.sine;
  return {ToSceneUnit(x), ToSceneUnit(y), ToSceneUnit(z)};
}

Vec3<double> OrbitUtils::CalcYawPitchRoll(const DateTime& date,
                                          const OrbitalParameters& parameters) {
  const double spin =
      DayNumber(date) / parameters.rotation_period * kTwoPi + parameters.rotation_phase;
  return {parameters.yaw, WrapAngle(spin), parameters.roll};
}

Mat4 OrbitUtils::ComputeOrbitToSolarRotation(const Vec3<double>& yaw_pitch_roll) {
  return RotationZ(-yaw_pitch_roll.x) * RotationY(-yaw_pitch_roll.y) * RotationX(-yaw_pitch_roll.z);
}

Mat4 OrbitUtils::ComputeSolarToOrbitRotation(const Vec3<double>& yaw_pitch_roll) {
  return ComputeOrbitToSolarRotation(yaw_pitch_roll).Transposed();
}

Mat4 OrbitUtils::ComputeOrbitToSolarTransform(double scale, const Vec3<double>& yaw_pitch_roll,
                                              const Vec3<double>& position) {
  Mat4 translation = Mat4::Identity();
  translation.m[12] = -position.x;
  translation.m[13] = -position.y;
  translation.m[14] = -position.z;
  Mat4 transform = ComputeOrbitToSolarRotation(yaw_pitch_roll) * translation;
  for (int i = 0; i < 12; ++i) {
    transform.m[i] *= scale;
  }
  return transform;
}

Vec3<double> OrbitUtils::CalcDirectionToBody(const Vec3<double>& position,
                                             const Vec3<double>& yaw_pitch_roll) {
  const Mat4 rotation = ComputeOrbitToSolarRotation(yaw_pitch_roll);
  const auto component = [&rotation, &position](int row) {
    const double* const r = rotation.m + 4 * row;
    return -(r[0] * position.x + r[1] * position.y + r[2] * position.z);
  };
  return Normalized({component(0), component(1), component(2)});
}

}  // namespace spatial
}  // namespace nimbara
