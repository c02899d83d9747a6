// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace spatial {
namespace solarsystemdata {

// The names first: one file fills its tables in their order, and the records take theirs from here.
const QString orbit_names_[kOrbitCount] = {"sun",     "mercury", "venus",  "earth",   "mars",
                                           "jupiter", "saturn",  "uranus", "neptune", "moon"};

QString GetOrbitName(OrbitName name) {
  return orbit_names_[name];
}

// A row: name, parent; radius, periods of spin and orbit, yaw, phase and roll; then a line each for
// node, inclination, perihelion, axis, eccentricity and anomaly, each with its rate. The formatter
// would put every number on a line of its own.
// clang-format off
const OrbitalParameters orbital_parameters[kOrbitCount] = {
    {GetOrbitName(kOrbitSun), QString(),
     109.046723110693, 25.379995, 0.0, 0.0, 0.0, 1.5707963267948966,
     0.0, 0.0,
     0.0, 0.0,
     4.938241566909764, 8.219366312879495e-07,
     1e-20, 0.0,
     0.016709, -1.151e-09,
     6.21419244184825, 0.01720196961933223},
    {GetOrbitName(kOrbitMercury), GetOrbitName(kOrbitSun),
     0.38256506741925, 58.6462, 87.96, 0.0, 0.0, 1.5709708597200955,
     0.8435403167691354, 5.665111859170834e-07,
     0.12225507811444679, 8.726646259971648e-10,
     0.5083114366800805, 1.7705318063931276e-07,
     0.387098, 0.0,
     0.205635, 5.59e-10,
     2.943605993902061, 0.0714247100149078},
    {GetOrbitName(kOrbitVenus), GetOrbitName(kOrbitSun),
     0.94873000940734, 243.0187, 224.68, 0.0, 0.0, 4.667010419832836,
     1.3383167251, 4.303807402492817e-07,
     0.059246946788199514, 4.799655442984407e-10,
     0.9580286797122074, 2.4150818991546335e-07,
     0.72333, 0.0,
     0.006773, -1.302e-09,
     0.837848798078382, 0.027962447461495593},
    {GetOrbitName(kOrbitEarth), GetOrbitName(kOrbitSun),
     1.0, 0.99726968, 365.26, 0.0, 3.3, 1.9799015034623666,
     0.0, 0.0,
     0.0, 0.0,
     1.796648913319971, 8.219366312879495e-07,
     1.0, 0.0,
     0.016709, -1.151e-09,
     6.21419244184825, 0.01720196961933223},
    {GetOrbitName(kOrbitMars), GetOrbitName(kOrbitSun),
     0.53261210410787, 1.02595675, 686.98, 0.0, 0.0, 2.0104447653722666,
     0.8649397987278379, 3.6840584384021503e-07,
     0.03228335517413911, -3.1066860685499064e-10,
     5.000396232231785, 5.113134029935108e-07,
     1.523688, 0.0,
     0.093405, 2.516e-09,
     0.32466789278523717, 0.009145887900527656},
    {GetOrbitName(kOrbitJupiter), GetOrbitName(kOrbitSun),
     11.2091564753841, 0.41007, 4332.714, 0.0, 0.0, 1.6254251323823186,
     1.7532565374568878, 4.832013847316381e-07,
     0.02274164015348611, -2.717477645355171e-09,
     4.780067612789273, 2.871153885993272e-07,
     5.20256, 0.0,
     0.048498, 4.469e-09,
     0.34723325468427185, 0.0014501120467525737},
    {GetOrbitName(kOrbitSaturn), GetOrbitName(kOrbitSun),
     9.44935716525557, 0.426, 10759.0986, 0.0, 0.0, 2.0373228358529767,
     1.9838005690113227, 4.1709878464160494e-07,
     0.04343426376513088, -1.88670092140587e-09,
     5.923541016184383, 5.195164504778842e-07,
     9.55475, 0.0,
     0.055546, -9.499e-09,
     5.532117770168866, 0.0005837118978783367},
    {GetOrbitName(kOrbitUranus), GetOrbitName(kOrbitSun),
     4.00736908121668, 0.71833, 30707.4082, 0.0, 0.0, 3.2772047364697565,
     1.291552373122064, 2.439621228437674e-07,
     0.01349663110567215, 3.316125578789226e-10,
     1.687056198928743, 5.334598858720669e-07,
     19.18171, -1.55e-08,
     0.047318, 7.45e-09,
     2.488673707064974, 0.0002046539221501062},
    {GetOrbitName(kOrbitNeptune), GetOrbitName(kOrbitSun),
     3.88272185638131, 0.67125, 60198.5006, 0.0, 0.0, 2.0650735709596866,
     2.3000053602536394, 5.266181952042491e-07,
     0.03089232776029963, -4.4505895925855404e-09,
     4.7620627962257, -1.0519099401769825e-07,
     30.05826, 3.313e-08,
     0.008606, 2.15e-09,
     4.542168763766934, 0.00010463505429106049},
    {GetOrbitName(kOrbitMoon), GetOrbitName(kOrbitEarth),
     0.27249921605519, 27.321661, 27.321582, 0.0, 1.5707963267948966, 1.6875239471682766,
     2.183804829314361, -0.0009242183063049011,
     0.08980417133211624, 0.0,
     5.551253560087733, 0.0028685764238964994,
     0.0025666041, 0.0,
     0.0549, 0.0,
     2.0135060728802663, 0.22802714374305488},
};
// clang-format on

}  // namespace solarsystemdata
}  // namespace spatial
}  // namespace nimbara
