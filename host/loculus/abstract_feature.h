// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_view.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"
#include "host/loculus/style.h"

namespace nimbara {
namespace loculus {

/// Fields of every feature.
struct PELORIN_HOST_EXPORT AbstractFeatureSchema : Schema {
  AbstractFeatureSchema();
  TypedField<QString> name;
  TypedField<bool> visibility;
  TypedField<QString> description;
  ObjectField<AbstractView> view;
  ObjectField<Style> style;

 protected:
  AbstractFeatureSchema(const char* class_name, const Schema* base, Factory factory);
};

/// Something with a name that a scene can show.
class PELORIN_HOST_EXPORT AbstractFeature : public SchemaObject {
 public:
  static const AbstractFeatureSchema& GetSchema();

  const QString& name() const { return name_; }
  void SetName(const QString& name);
  bool visibility() const { return visibility_; }
  void SetVisibility(bool visibility);
  /// Text for the balloon of the feature; can hold HTML.
  const QString& description() const { return description_; }
  void SetDescription(const QString& description);
  /// From where the feature is looked at; null until it is set.
  AbstractView* view() const { return view_.get(); }
  void SetView(AbstractView* view);

  /// The style of the feature alone, made at the first call. Owned by the feature.
  Style* InlineStyle();
  /// The same if it has been made, else null.
  const Style* style() const { return style_.get(); }

 protected:
  AbstractFeature(const Schema& schema, const KmlId& id, const QString& source_url);

 private:
  friend struct AbstractFeatureSchema;
  QString name_;
  bool visibility_ = true;
  QString description_;
  RefPtr<AbstractView> view_;
  RefPtr<Style> style_;
};

}  // namespace loculus
}  // namespace nimbara
