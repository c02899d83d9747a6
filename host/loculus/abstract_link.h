// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// When what a link refers to is loaded again.
enum class RefreshMode : std::int32_t {
  kOnChange = 0,    ///< When the link itself changes.
  kOnInterval = 1,  ///< Regularly.
  kOnExpire = 2,    ///< When the server's answer says that it has run out.
};

/// Fields of every link.
struct PELORIN_HOST_EXPORT AbstractLinkSchema : Schema {
  AbstractLinkSchema();
  TypedField<QString> href;
  TypedField<RefreshMode> refresh_mode;

 protected:
  AbstractLinkSchema(const char* class_name, const Schema* base, Factory factory);
};

/// Refers to something by URL.
class PELORIN_HOST_EXPORT AbstractLink : public SchemaObject {
 public:
  static const AbstractLinkSchema& GetSchema();

  /// May hold the markers $[level], $[x] and $[y] of an image pyramid.
  const QString& href() const { return href_; }
  void SetHref(const QString& href);
  RefreshMode refresh_mode() const { return refresh_mode_; }
  void SetRefreshMode(RefreshMode refresh_mode);

 protected:
  AbstractLink(const Schema& schema, const KmlId& id, const QString& source_url);

 private:
  friend struct AbstractLinkSchema;
  QString href_;
  RefreshMode refresh_mode_ = RefreshMode::kOnChange;
};

}  // namespace loculus
}  // namespace nimbara
