// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// Fields of every view: none of their own.
struct PELORIN_HOST_EXPORT AbstractViewSchema : Schema {
  AbstractViewSchema();

 protected:
  AbstractViewSchema(const char* class_name, const Schema* base, Factory factory);
};

/// A place from which, or to which, a scene is looked at.
class PELORIN_HOST_EXPORT AbstractView : public SchemaObject {
 public:
  static const AbstractViewSchema& GetSchema();

 protected:
  AbstractView(const Schema& schema, const KmlId& id, const QString& source_url);
};

}  // namespace loculus
}  // namespace nimbara
