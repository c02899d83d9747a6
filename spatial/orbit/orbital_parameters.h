// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace nimbara {
namespace spatial {

/// One body: its size, how it spins and the elements of its orbit. A plain value.
///
/// The six elements drift linearly: an element at day d is its base plus its rate times d, where
/// day 0 is the Julian date 2451543.5 (1999-12-31 00:00). `OrbitUtils` computes with the record. It
/// screens nothing, so a record that is not sound gives positions that are not finite.
struct OrbitalParameters {
  /// The body's name; the key under which the manager finds it.
  QString name;
  /// The name of the body that it orbits; empty for a root.
  QString parent_name;
  /// In radii of the Earth.
  double radius = 0.0;
  /// Days for one full spin. Positive in the default table, where a roll above half a turn stands
  /// for a spin against the orbit. Not 0, which leaves no angle to compute.
  double rotation_period = 0.0;
  /// Days for one orbit. Handed on only: positions come from `mean_anomaly_rate`.
  double orbital_period = 0.0;
  /// First of the three attitude angles, in radians; constant.
  double yaw = 0.0;
  /// Spin angle at day 0, in radians; the second attitude angle grows from it.
  double rotation_phase = 0.0;
  /// Third attitude angle, in radians; constant. The tilt of the axis plus a quarter turn.
  double roll = 0.0;
  /// Longitude of the ascending node, in radians and radians a day.
  double ascending_node = 0.0;
  double ascending_node_rate = 0.0;
  /// Inclination of the orbit, in radians and radians a day.
  double inclination = 0.0;
  double inclination_rate = 0.0;
  /// Argument of the perihelion, from the ascending node, in radians and radians a day.
  double perihelion_argument = 0.0;
  double perihelion_argument_rate = 0.0;
  /// Mean distance from the parent, in astronomical units and astronomical units a day.
  double semi_major_axis = 0.0;
  double semi_major_axis_rate = 0.0;
  /// Eccentricity, from 0 to below 1, and its change a day.
  double eccentricity = 0.0;
  double eccentricity_rate = 0.0;
  /// Mean anomaly, in radians and radians a day (the mean motion).
  double mean_anomaly = 0.0;
  double mean_anomaly_rate = 0.0;
};

}  // namespace spatial
}  // namespace nimbara
