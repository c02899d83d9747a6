// SPDX-License-Identifier: Apache-2.0
#include "host/xml.h"

// Declares what bounds entities; the library is always built with it.
#define XML_DTD
#include <expat.h>

#include <QRandomGenerator>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "host/reference/xml_arena.h"
#include "host/reference/xml_limits.h"

namespace nimbara {
namespace {

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;

// For the parser's hash tables. Left to itself it asks the system for one at every document, which
// takes a sixth of the time of a small one; one for the process is as hard to guess.
unsigned long HashSalt() {
  static const unsigned long salt = QRandomGenerator::system()->generate() | 1u;  // 0 means none.
  return salt;
}

std::size_t ArenaBlockSize(std::size_t document_size) {
  return std::clamp<std::size_t>(document_size, std::size_t{4} << 10, std::size_t{1} << 20);
}

std::size_t FullSize(const QByteArray& bytes) {
  return static_cast<std::size_t>(bytes.size());
}

// Keeps one copy of a name that comes again and again. A fixed table in which a newcomer replaces
// what stood in its place: documents with a million names cost no more than others, whatever the
// names are.
class NameCache {
 public:
  // The place of `name`, which is not empty: holds its stored text, or another's. Three letters and
  // the length tell the names of one kind of document apart, at a tenth of the cost of them all.
  XmlText* Slot(std::string_view name) {
    const auto letter = [name](std::size_t i) {
      return std::size_t{static_cast<unsigned char>(name[i])};
    };
    const std::size_t size = name.size();
    return &slots_[(letter(0) * 5 + letter(size / 2) * 13 + letter(size - 1) * 31 + size * 3) %
                   kSlots];
  }

 private:
  static constexpr std::size_t kSlots = 256;
  XmlText slots_[kSlots];
};

// Makes the tree out of the parser's events.
class TreeBuilder {
 public:
  TreeBuilder(XML_Parser parser, const QByteArray& document, XmlArena* arena)
      : parser_(parser), document_(document), arena_(arena),
        bytes_left_(FullSize(document) * kXmlMaxAmplification + kXmlFreeExpansionBytes) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &OnStart, &OnEnd);
    XML_SetCharacterDataHandler(parser, &OnText);
    XML_SetEntityDeclHandler(parser, &OnEntityDeclaration);
    XML_SetExternalEntityRefHandler(parser, &OnExternalEntity);
    XML_SetSkippedEntityHandler(parser, &OnSkippedEntity);
  }

  XmlNode* root() const { return root_; }
  // Why this builder stopped the parser, or null.
  const char* refusal() const { return refusal_; }

 private:
  // An element whose end has not come. Its text is one slice of the document as long as its pieces
  // adjoin there, and otherwise `joined`.
  struct OpenElement {
    XmlNode* node = nullptr;
    XmlNode* last_child = nullptr;
    XmlText slice;
    std::string joined;
  };

  static void XMLCALL OnStart(void* self, const char* name, const char** attributes) {
    static_cast<TreeBuilder*>(self)->Guard(
        [name, attributes](TreeBuilder& builder) { builder.Start(name, attributes); });
  }
  static void XMLCALL OnEnd(void* self, const char*) {
    static_cast<TreeBuilder*>(self)->Guard([](TreeBuilder& builder) { builder.End(); });
  }
  static void XMLCALL OnText(void* self, const char* text, int size) {
    static_cast<TreeBuilder*>(self)->Guard(
        [text, size](TreeBuilder& builder) { builder.Text(text, size); });
  }
  static void XMLCALL OnEntityDeclaration(void* self, const char*, int, const char*, int,
                                          const char*, const char*, const char*, const char*) {
    static_cast<TreeBuilder*>(self)->EntityDeclaration();
  }
  static int XMLCALL OnExternalEntity(XML_Parser, const char*, const char*, const char*,
                                      const char*) {
    return XML_STATUS_ERROR;
  }
  static void XMLCALL OnSkippedEntity(void* self, const char*, int) {
    static_cast<TreeBuilder*>(self)->Refuse("undeclared entity");
  }

  // The parser is C: no exception may pass through it. And it can have events under way when it is
  // stopped, which come to nothing here.
  template <typename Step>
  void Guard(const Step& step) {
    if (refusal_ != nullptr) {
      return;
    }
    try {
      step(*this);
    } catch (const std::bad_alloc&) {
      Refuse("out of memory");
    }
  }

  void Start(const char* name, const char** attributes);
  void End();
  void Text(const char* text, int size);
  void EntityDeclaration();
  void Refuse(const char* reason);

  // True if `size` more bytes are within the limit; refuses the document otherwise.
  bool Spend(std::size_t size);
  XmlText Store(std::string_view text);
  XmlText StoreName(std::string_view name);
  const XmlAttribute* StoreAttributes(const char** attributes);
  OpenElement& Open(XmlNode* node);
  const char* FindInDocument(const char* text, int size) const;

  XML_Parser const parser_;
  const QByteArray& document_;
  XmlArena* const arena_;
  std::size_t bytes_left_;
  std::size_t nodes_ = 0;
  std::size_t attributes_ = 0;
  int entities_ = 0;
  std::size_t depth_ = 0;
  std::vector<OpenElement> open_;  // The first depth_ are open; the rest keep their storage.
  NameCache names_;
  XmlNode* root_ = nullptr;
  const char* refusal_ = nullptr;
};

void TreeBuilder::Start(const char* name, const char** attributes) {
  if (depth_ == static_cast<std::size_t>(kXmlMaxDepth)) {
    Refuse("elements nested too deep");
    return;
  }
  if (++nodes_ > kXmlMaxNodes) {
    Refuse("too many elements");
    return;
  }
  XmlNode* node = new (arena_->AllocateAligned(sizeof(XmlNode))) XmlNode();
  node->name = StoreName(name);
  node->first_attribute = StoreAttributes(attributes);
  if (depth_ == 0) {
    root_ = node;
  } else {
    OpenElement& parent = open_[depth_ - 1];
    node->parent = parent.node;
    (parent.last_child == nullptr ? parent.node->first_child : parent.last_child->next_sibling) =
        node;
    parent.last_child = node;
  }
  Open(node);
}

TreeBuilder::OpenElement& TreeBuilder::Open(XmlNode* node) {
  if (depth_ == open_.size()) {
    open_.emplace_back();
  }
  OpenElement& element = open_[depth_++];
  element.node = node;
  element.last_child = nullptr;
  element.slice = XmlText();
  element.joined.clear();
  return element;
}

void TreeBuilder::End() {
  const OpenElement& element = open_[--depth_];
  element.node->text = element.joined.empty() ? element.slice : Store(element.joined);
}

// The parser works on a copy and says where in the document it stands. What does not read the same
// there came out of a reference or another encoding.
const char* TreeBuilder::FindInDocument(const char* text, int size) const {
  const XML_Index index = XML_GetCurrentByteIndex(parser_);
  if (index < 0 || index > document_.size() - size) {
    return nullptr;
  }
  const char* there = document_.constData() + index;
  return std::memcmp(there, text, static_cast<std::size_t>(size)) == 0 ? there : nullptr;
}

void TreeBuilder::Text(const char* text, int size) {
  OpenElement& element = open_[depth_ - 1];
  if (element.joined.empty()) {
    const char* there = FindInDocument(text, size);
    if (there != nullptr && element.slice.size == 0) {
      element.slice = {there, size};
      return;
    }
    if (there != nullptr && element.slice.data + element.slice.size == there) {
      element.slice.size += size;
      return;
    }
    if (element.slice.size > 0) {
      element.joined.assign(element.slice.data, static_cast<std::size_t>(element.slice.size));
    }
  }
  // Charged here and once more when the joined text is stored, so that its growth is bounded.
  if (Spend(static_cast<std::size_t>(size))) {
    element.joined.append(text, static_cast<std::size_t>(size));
  }
}

void TreeBuilder::EntityDeclaration() {
  if (++entities_ > kXmlMaxEntityDeclarations) {
    Refuse("too many entities declared");
  }
}

void TreeBuilder::Refuse(const char* reason) {
  if (refusal_ == nullptr) {
    refusal_ = reason;
    XML_StopParser(parser_, XML_FALSE);
  }
}

bool TreeBuilder::Spend(std::size_t size) {
  if (size > bytes_left_) {
    Refuse("entities expand too far");
    return false;
  }
  bytes_left_ -= size;
  return true;
}

XmlText TreeBuilder::Store(std::string_view text) {
  if (text.empty() || !Spend(text.size())) {
    return XmlText();
  }
  char* copy = arena_->AllocateBytes(text.size());
  std::memcpy(copy, text.data(), text.size());
  return {copy, static_cast<std::int32_t>(text.size())};
}

XmlText TreeBuilder::StoreName(std::string_view name) {
  XmlText* slot = names_.Slot(name);
  if (std::string_view(slot->data, static_cast<std::size_t>(slot->size)) != name) {
    *slot = Store(name);
  }
  return *slot;
}

const XmlAttribute* TreeBuilder::StoreAttributes(const char** attributes) {
  std::size_t count = 0;
  while (attributes[2 * count] != nullptr) {
    ++count;
  }
  attributes_ += count;
  if (count == 0) {
    return nullptr;
  }
  if (attributes_ > kXmlMaxAttributes) {
    Refuse("too many attributes");
    return nullptr;
  }
  auto* list = static_cast<XmlAttribute*>(arena_->AllocateAligned(count * sizeof(XmlAttribute)));
  for (std::size_t i = 0; i < count; ++i) {
    XmlAttribute* attribute = new (list + i) XmlAttribute();
    attribute->name = StoreName(attributes[2 * i]);
    attribute->value = Store(attributes[2 * i + 1]);
    attribute->next = i + 1 < count ? list + i + 1 : nullptr;
  }
  return list;
}

}  // namespace

struct XmlReader::Impl {
  explicit Impl(const QByteArray& xml) : document(xml), arena(ArenaBlockSize(FullSize(xml))) {}

  void Parse();
  void Fail(const QString& reason);

  const QByteArray document;  // Slices of the tree point into it.
  XmlArena arena;
  XmlNode* root = nullptr;
  QString error;
};

void XmlReader::Impl::Fail(const QString& reason) {
  error = reason;
  root = nullptr;
  arena.Clear();
}

void XmlReader::Impl::Parse() {
  if (FullSize(document) > kXmlMaxDocumentBytes) {
    Fail(QStringLiteral("document of %1 bytes is too large").arg(document.size()));
    return;
  }
  const Parser parser(XML_ParserCreate(nullptr), &XML_ParserFree);
  if (parser == nullptr) {
    Fail(QStringLiteral("out of memory"));
    return;
  }
  XML_SetHashSalt(parser.get(), HashSalt());
  XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser.get(),
                                                           float{kXmlMaxAmplification});
  XML_SetBillionLaughsAttackProtectionActivationThreshold(parser.get(), kXmlFreeExpansionBytes);
  TreeBuilder builder(parser.get(), document, &arena);
  const XML_Status status =
      XML_Parse(parser.get(), document.constData(), document.size(), XML_TRUE);
  if (status == XML_STATUS_OK && builder.refusal() == nullptr) {
    root = builder.root();
    return;
  }
  const char* reason = builder.refusal() != nullptr
                           ? builder.refusal()
                           : XML_ErrorString(XML_GetErrorCode(parser.get()));
  Fail(QStringLiteral("line %1, column %2: %3")
           .arg(XML_GetCurrentLineNumber(parser.get()))
           .arg(XML_GetCurrentColumnNumber(parser.get()) + 1)
           .arg(QLatin1String(reason)));
}

XmlReader::XmlReader(const QByteArray& xml) : impl_(new Impl(xml)) {
  impl_->Parse();
}

XmlReader::~XmlReader() {
  delete impl_;
}

bool XmlReader::GetErrorsOccurred() const {
  return impl_->root == nullptr;
}

XmlNode* XmlReader::GetRoot() const {
  return impl_->root;
}

QString XmlReader::GetErrorText() const {
  return impl_->error;
}

}  // namespace nimbara
