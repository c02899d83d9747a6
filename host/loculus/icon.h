// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_link.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Fields of an icon: those of a link.
struct PELORIN_HOST_EXPORT IconSchema : AbstractLinkSchema {
  IconSchema();
};

/// An image by its URL.
class PELORIN_HOST_EXPORT Icon final : public AbstractLink {
 public:
  static const IconSchema& GetSchema();

  Icon(const KmlId& id, const QString& source_url);

  /// An icon with this URL.
  static RefPtr<Icon> create(const QString& url);
  /// An icon without an image: it hides the one that a feature would have by default.
  static RefPtr<Icon> CreateEmptyIcon();
};

}  // namespace loculus
}  // namespace nimbara
