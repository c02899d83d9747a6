// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "host/export.h"
#include "host/loculus/abstract_feature.h"

namespace nimbara {

/// `feature`, with everything in it, as a KML 2.2 document in UTF-8.
///
/// ```
/// RefPtr<loculus::Document> document(new loculus::Document(loculus::KmlId(), QStringNull()));
/// document->AddFeature(placemark);
/// file.write(WriteKml(*document));
/// ```
///
/// Longitude and latitude are in degrees, altitudes in metres. Numbers have as many digits as it
/// takes to read the same number back, and no exponent; elements stand in the order of the schema.
/// Values that a reader assumes by itself are left out, but for altitude modes, which are always
/// there, and all parts of a camera.
///
/// What KML cannot say is left out: numbers and positions that are not finite, a camera's latitude
/// beyond a pole and its tilt beyond 0 to 180 degrees, fields of view wider than the sphere, a
/// point without its position, a line of fewer than two, a `Planet`, the edges of a line, and
/// characters that XML does not allow. Other angles are brought by whole turns to where KML has
/// them. Ids are written as they are, though a validating reader wants them to start with a letter.
PELORIN_HOST_EXPORT QByteArray WriteKml(const loculus::AbstractFeature& feature);

}  // namespace nimbara
