// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/field.h"

#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

FieldsSpecified Field::s_dummy_fields_specified;

Field::Field(Schema* schema, const char* name)
    : schema_(schema), name_(name), index_(schema->GetFieldCount()) {
  schema->fields_.push_back(this);
}

Field::~Field() = default;

}  // namespace loculus
}  // namespace nimbara
