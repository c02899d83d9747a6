// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/tour/tour_streets.h"
#include "host/loculus/document.h"

namespace pelorin {
namespace command {

/// Appends the streets of a walk to a document, folder by folder: `roads`, `labels`, `corridors`,
/// `fillets` and `overlays` with as many features each as there are, and `camera` with two lines,
/// where the camera was pushed to and where it was held. Empty folders are left out.
///
/// Roads, labels and overlays are the library's own objects and become part of the document.
void AddStreetFolders(const TourStreets& streets, nimbara::loculus::Document* document);

}  // namespace command
}  // namespace pelorin
