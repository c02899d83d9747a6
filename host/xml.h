// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>
#include <cstdint>
#include <string>

#include "host/export.h"

namespace nimbara {

/// UTF-8 text inside a parsed document; lives as long as its `XmlReader`. Not NUL-terminated. Text
/// that stands in the document as one run of UTF-8 is a slice of the document's own bytes.
struct PELORIN_HOST_EXPORT XmlText {
  const char* data = nullptr;
  std::int32_t size = 0;

  bool operator==(QLatin1String ascii) const {
    return size == ascii.size() &&
           (size == 0 || std::char_traits<char>::compare(data, ascii.data(),
                                                         static_cast<std::size_t>(size)) == 0);
  }
  /// Empty text gives an empty string that is not null.
  QString ToString() const;
  /// The same, wherever a string is asked for.
  operator QString() const { return ToString(); }
};

/// One attribute of an element: name and value, character and entity references replaced and white
/// space normalised as XML 1.0 demands.
class XmlAttribute {
 public:
  XmlText name;
  XmlText value;
  const XmlAttribute* next = nullptr;  ///< In document order; null at the end.
};

/// One element of a parsed document. Owned by its `XmlReader`, unchanging, readable from any
/// thread. Comments and processing instructions leave no trace.
class XmlNode {
 public:
  /// The name as it is spelled, prefix and colon included; namespaces are not resolved.
  XmlText name;
  /// All character data directly inside the element, joined in document order and not trimmed; the
  /// text of its child elements is not part of it.
  XmlText text;
  const XmlAttribute* first_attribute = nullptr;
  XmlNode* first_child = nullptr;   ///< First child element, or null.
  XmlNode* next_sibling = nullptr;  ///< Next element of the same parent, or null.
  XmlNode* parent = nullptr;        ///< Null for the root element.
};

/// Parses a whole document at construction and owns its tree.
///
/// The reader is strict: a document that is not well-formed XML 1.0, is empty, or passes a limit of
/// the host (size, depth, number of nodes, entity expansion) is faulty, wherever the fault lies,
/// and gives no tree at all. External entities are never read, and a reference to one, or to an
/// entity that only an external subset could declare, is a fault. UTF-8, UTF-16, ISO-8859-1 and
/// US-ASCII are understood as byte order mark or declaration name them; any other encoding is a
/// fault. No input makes it fail in another way.
///
/// The reader shares the bytes of `xml`. Bytes that `QByteArray::fromRawData` merely points to must
/// outlive the reader.
class PELORIN_HOST_EXPORT XmlReader {
 public:
  explicit XmlReader(const QByteArray& xml);
  ~XmlReader();
  XmlReader(const XmlReader&) = delete;
  XmlReader& operator=(const XmlReader&) = delete;

  /// True if the document is faulty.
  bool GetErrorsOccurred() const;
  /// The root element; null if the document is faulty.
  XmlNode* GetRoot() const;
  /// What was wrong and where (line and column from 1); empty for a sound document.
  QString GetErrorText() const;

 private:
  struct Impl;
  Impl* impl_;  // Owned.
};

/// Finds elements by path. A path is element names joined by "/"; its first component names the
/// element that the search starts from, so "panorama/model" found from a `panorama` element is its
/// first `model` child. A path that begins with "/" is taken from the document's root element,
/// whatever `start` is. Where several elements fit a component they are tried in document order,
/// and a dead end below one of them goes back to the next. An empty component matches nothing.
class PELORIN_HOST_EXPORT XmlPathFinder {
 public:
  /// The first element that matches, or null, also for a null `start`.
  XmlNode* Find(XmlNode* start, const QString& path) const;
};

/// Reads texts below one element by path, under the rule of `XmlPathFinder`.
class PELORIN_HOST_EXPORT XmlTree {
 public:
  /// `node` can be null and must outlive this object.
  explicit XmlTree(XmlNode* node) : node_(node) {}

  /// The text of the element at `path`. An absent element gives an empty string.
  QString GetValue(const QString& path) const;

 private:
  XmlNode* node_;
};

}  // namespace nimbara
