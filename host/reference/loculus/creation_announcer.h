// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace loculus {

class SchemaObject;

/// What objects tell about themselves: `NoteCreation` at the start of their lives, when they are
/// not whole yet, and `NoteDestruction` at the end. Safe from any thread; cheap while no thread
/// holds back announcements.
void NoteCreation(SchemaObject* object);
void NoteDestruction(SchemaObject* object);

}  // namespace loculus
}  // namespace nimbara
