// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/container.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Fields of a folder: those of a container.
struct PELORIN_HOST_EXPORT FolderSchema : ContainerSchema {
  FolderSchema();
};

/// A container inside others.
class PELORIN_HOST_EXPORT Folder final : public Container {
 public:
  static const FolderSchema& GetSchema();

  Folder(const KmlId& id, const QString& source_url);
};

}  // namespace loculus
}  // namespace nimbara
