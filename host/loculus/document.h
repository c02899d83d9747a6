// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/container.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Fields of a document: those of a container.
struct PELORIN_HOST_EXPORT DocumentSchema : ContainerSchema {
  DocumentSchema();
};

/// The container that a KML file usually holds.
class PELORIN_HOST_EXPORT Document final : public Container {
 public:
  static const DocumentSchema& GetSchema();

  Document(const KmlId& id, const QString& source_url);
};

}  // namespace loculus
}  // namespace nimbara
