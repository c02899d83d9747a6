// SPDX-License-Identifier: Apache-2.0
#include <QVarLengthArray>
#include <string_view>

#include "host/xml.h"

namespace nimbara {
namespace {

constexpr int kUsualPathLength = 128;
constexpr int kUsualComponents = 8;

QString EmptyString() {
  return QString(QLatin1String(""));
}

XmlNode* RootOf(XmlNode* node) {
  while (node->parent != nullptr) {
    node = node->parent;
  }
  return node;
}

// A path in UTF-8, taken apart at its slashes.
class PathComponents {
 public:
  explicit PathComponents(QStringView path) {
    for (const QChar c : path) {
      if (c.unicode() >= 0x80) {
        const QByteArray utf8 = path.toUtf8();
        bytes_.resize(utf8.size());
        std::copy(utf8.begin(), utf8.end(), bytes_.begin());
        break;
      }
      bytes_.append(static_cast<char>(c.unicode()));
    }
    std::string_view rest(bytes_.data(), static_cast<std::size_t>(bytes_.size()));
    for (std::size_t slash; (slash = rest.find('/')) != rest.npos; rest.remove_prefix(slash + 1)) {
      components_.append(rest.substr(0, slash));
    }
    components_.append(rest);
  }

  int count() const { return components_.size(); }
  bool Fits(int index, const XmlNode& node) const {
    return components_[index] ==
           std::string_view(node.name.data, static_cast<std::size_t>(node.name.size));
  }

 private:
  QVarLengthArray<char, kUsualPathLength> bytes_;
  QVarLengthArray<std::string_view, kUsualComponents> components_;
};

// The first match below `start`, which fits component 0 already. An element at some depth is only
// ever compared with the component of that depth, so the search is linear in the elements.
XmlNode* FindBelow(XmlNode* start, const PathComponents& path) {
  XmlNode* parent = start;
  XmlNode* node = start->first_child;
  int level = 1;
  for (;;) {
    while (node != nullptr && !path.Fits(level, *node)) {
      node = node->next_sibling;
    }
    if (node != nullptr && level + 1 == path.count()) {
      return node;
    }
    if (node != nullptr) {
      parent = node;
      node = node->first_child;
      ++level;
    } else if (--level == 0) {
      return nullptr;
    } else {
      node = parent->next_sibling;
      parent = parent->parent;
    }
  }
}

}  // namespace

QString XmlText::ToString() const {
  if (size == 0) {
    return EmptyString();
  }
  QString text = QString::fromUtf8(data, size);
  // The toolkit takes this character for a byte order mark and drops it; inside a document it is
  // text like any other.
  if (std::string_view(data, static_cast<std::size_t>(size)).substr(0, 3) == "\xEF\xBB\xBF") {
    text.prepend(QChar(0xFEFF));
  }
  return text;
}

XmlNode* XmlPathFinder::Find(XmlNode* start, const QString& path) const {
  if (start == nullptr) {
    return nullptr;
  }
  QStringView rest(path);
  if (path.startsWith(QLatin1Char('/'))) {
    start = RootOf(start);
    rest = rest.mid(1);
  }
  const PathComponents components(rest);
  if (!components.Fits(0, *start)) {
    return nullptr;
  }
  return components.count() == 1 ? start : FindBelow(start, components);
}

QString XmlTree::GetValue(const QString& path) const {
  const XmlNode* found = XmlPathFinder().Find(node_, path);
  return found == nullptr ? EmptyString() : found->text.ToString();
}

}  // namespace nimbara
