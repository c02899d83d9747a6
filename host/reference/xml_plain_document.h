// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "host/reference/xml_arena.h"
#include "host/xml.h"

namespace nimbara {

/// Reads a document of the plain kind that services write: UTF-8, elements, attributes and text,
/// with character references and the five predefined entities. Gives its root, made in `arena`,
/// with slices of `document` for names and texts; both must outlive the tree.
///
/// Null for anything else, sound or not: comments, instructions, CDATA, document types, names
/// beyond ASCII, white space that attributes normalise, every fault and every limit passed. What it
/// made of such a document is then still in `arena`. It never judges: a document that it gives back
/// belongs to the strict parser, and one that it takes is one that the strict parser takes, with
/// the same tree. Throws `std::bad_alloc`.
XmlNode* ReadPlainDocument(const QByteArray& document, XmlArena* arena);

}  // namespace nimbara
