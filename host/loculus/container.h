// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/schema.h"
#include "host/memory.h"

namespace nimbara {
namespace loculus {

/// Fields of every container: those of a feature.
struct PELORIN_HOST_EXPORT ContainerSchema : AbstractFeatureSchema {
  ContainerSchema();

 protected:
  ContainerSchema(const char* class_name, const Schema* base, Factory factory);
};

/// A feature that holds others, in order.
class PELORIN_HOST_EXPORT Container : public AbstractFeature {
 public:
  static const ContainerSchema& GetSchema();

  int GetFeatureCount() const { return static_cast<int>(features_.size()); }
  /// Null outside 0 to `GetFeatureCount()` - 1.
  AbstractFeature* GetFeature(int index) const;
  /// Appends `feature`, which gets this among its owners. False, and nothing done, for null and for
  /// a feature that holds this container itself.
  bool AddFeature(AbstractFeature* feature);

 protected:
  Container(const Schema& schema, const KmlId& id, const QString& source_url);
  void CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const override;

 private:
  mmvector<RefPtr<AbstractFeature>> features_;
};

}  // namespace loculus
}  // namespace nimbara
