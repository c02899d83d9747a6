// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace nimbara {

/// What the reference host's `XmlReader` takes on. A document beyond any of these is faulty. They
/// lie far above every honest answer and bound what a hostile one can cost: under 500 MB of memory
/// in the worst case, and time in proportion to the bytes.

/// Bytes of the document. A full answer of 5,000 panoramas has about 9 MB, with depth maps less
/// than 60 MB.
constexpr std::size_t kXmlMaxDocumentBytes = std::size_t{64} << 20;

/// Elements within elements, the root being 1. An answer goes 4 deep, a KML document some 10.
constexpr int kXmlMaxDepth = 256;

/// Elements, of 64 bytes each.
constexpr std::size_t kXmlMaxNodes = 2'000'000;

/// Attributes of all elements, of 40 bytes each. Those that a document type declaration supplies by
/// default count too.
constexpr std::size_t kXmlMaxAttributes = 4'000'000;

/// Entities that a document may declare. An entity inside an entity is one level of the parser's
/// call stack, so their number bounds that depth.
constexpr int kXmlMaxEntityDeclarations = 64;

/// How far entities and default attributes may blow a document up: all names, values and texts
/// together may have this many bytes for each byte of the document, and the free bytes on top. The
/// step from UTF-16 or ISO-8859-1 to UTF-8 takes up to 2 of them.
constexpr int kXmlMaxAmplification = 4;
constexpr std::size_t kXmlFreeExpansionBytes = std::size_t{1} << 20;

}  // namespace nimbara
