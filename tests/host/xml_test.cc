// SPDX-License-Identifier: Apache-2.0
#include "host/xml.h"

#include <gtest/gtest.h>

#include <QFile>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/memory.h"
#include "host/reference/heap_statistics.h"
#include "host/reference/xml_limits.h"
#include "tests/support/answer_builder.h"

namespace nimbara {
namespace {

using test_support::ListAnswer;
using test_support::PanoramaElement;

std::string Str(const XmlText& text) {
  return std::string(text.data, static_cast<std::size_t>(text.size));
}

bool IsFaulty(const QByteArray& xml) {
  const XmlReader reader(xml);
  EXPECT_EQ(reader.GetErrorsOccurred(), reader.GetRoot() == nullptr);
  EXPECT_EQ(reader.GetErrorsOccurred(), !reader.GetErrorText().isEmpty());
  return reader.GetErrorsOccurred();
}

// The text of the root element, or a mark that no document can hold.
std::string RootText(const QByteArray& xml) {
  const XmlReader reader(xml);
  return reader.GetErrorsOccurred() ? "\x01" + reader.GetErrorText().toStdString()
                                    : Str(reader.GetRoot()->text);
}

// Every number of elements and attributes, and that all pointers agree with each other.
struct TreeSize {
  std::size_t nodes = 0;
  std::size_t attributes = 0;
};

TreeSize Measure(const XmlNode* root) {
  TreeSize size;
  std::vector<const XmlNode*> open{root};
  while (!open.empty()) {
    const XmlNode* node = open.back();
    open.pop_back();
    ++size.nodes;
    for (const XmlAttribute* a = node->first_attribute; a != nullptr; a = a->next) {
      ++size.attributes;
    }
    for (const XmlNode* child = node->first_child; child != nullptr; child = child->next_sibling) {
      EXPECT_EQ(child->parent, node);
      open.push_back(child);
    }
  }
  return size;
}

QByteArray RealAnswer() {
  return ListAnswer({PanoramaElement("aaaaaaaaaaaaaaaaaaaaaa")
                         .At(53.5, 9.9)
                         .Text("text", "Große Elbstraße & Co")
                         .Text("street_range", "10-12")
                         .Angles("1", "2", "3")
                         .Link("bbbbbbbbbbbbbbbbbbbbbb", 90.0)
                         .Level("l1", "cccccccccccccccccccccc", 1, "Upper", "U"),
                     PanoramaElement("bbbbbbbbbbbbbbbbbbbbbb").At(53.5, 9.9)});
}

TEST(XmlReader, BuildsElementsAttributesAndTextInDocumentOrder) {
  const XmlReader reader("<a x='1' y=\"2\">t<b/><c z='3'>u</c><b>v</b></a>");
  ASSERT_FALSE(reader.GetErrorsOccurred());
  const XmlNode& a = *reader.GetRoot();
  EXPECT_EQ(Str(a.name), "a");
  EXPECT_EQ(Str(a.first_attribute->name), "x");
  EXPECT_EQ(Str(a.first_attribute->value), "1");
  EXPECT_EQ(Str(a.first_attribute->next->name), "y");
  EXPECT_EQ(a.first_attribute->next->next, nullptr);
  const XmlNode& first = *a.first_child;
  EXPECT_EQ(Str(first.name), "b");
  EXPECT_EQ(Str(first.next_sibling->name), "c");
  EXPECT_EQ(Str(first.next_sibling->text), "u");
  EXPECT_EQ(Str(first.next_sibling->next_sibling->text), "v");
  EXPECT_EQ(first.next_sibling->next_sibling->next_sibling, nullptr);
  EXPECT_EQ(first.parent, &a);
  EXPECT_EQ(a.parent, nullptr);
  EXPECT_EQ(a.next_sibling, nullptr);
}

TEST(XmlReader, JoinsTheTextOfMixedContentUntrimmed) {
  EXPECT_EQ(RootText("<a> one <b>inner</b>two<c/>\r\n three</a>"), " one two\n three");
}

TEST(XmlReader, JoinsTextAcrossCommentsInstructionsAndCdata) {
  EXPECT_EQ(RootText("<a>1<!-- no -->2<?no no?>3<![CDATA[<4&>]]>5</a>"), "123<4&>5");
}

TEST(XmlReader, ReplacesReferences) {
  EXPECT_EQ(RootText("<a>&lt;&amp;&#65;&#x20AC;&gt;</a>"), "<&A\xE2\x82\xAC>");
}

TEST(XmlReader, KeepsBracketsThatEndNoCdata) {
  EXPECT_EQ(RootText("<a>] ]] ]>] ]]</a>"), "] ]] ]>] ]]");
}

TEST(XmlReader, TellsNamesApartThatAreAlikeInLengthAndInSomeLetters) {
  const XmlReader reader("<abcde abcde='1' aXcXe='2'><aXcXe/><abcde/></abcde>");
  ASSERT_FALSE(reader.GetErrorsOccurred());
  const XmlNode& root = *reader.GetRoot();
  EXPECT_EQ(Str(root.name), "abcde");
  EXPECT_EQ(Str(root.first_attribute->name), "abcde");
  EXPECT_EQ(Str(root.first_attribute->next->name), "aXcXe");
  EXPECT_EQ(Str(root.first_child->name), "aXcXe");
  EXPECT_EQ(Str(root.first_child->next_sibling->name), "abcde");
}

TEST(XmlReader, ReplacesEntitiesThatTheDocumentDeclares) {
  EXPECT_EQ(RootText("<!DOCTYPE a [<!ENTITY who 'world'>]><a>hello &who;</a>"), "hello world");
}

TEST(XmlReader, NormalisesWhiteSpaceInAttributes) {
  const XmlReader reader("<a x=' p\n\tq '/>");
  EXPECT_EQ(Str(reader.GetRoot()->first_attribute->value), " p  q ");
}

TEST(XmlReader, GivesDefaultAttributesOfTheDocumentType) {
  const XmlReader reader("<!DOCTYPE a [<!ATTLIST a x CDATA 'd'>]><a/>");
  ASSERT_FALSE(reader.GetErrorsOccurred());
  EXPECT_EQ(Str(reader.GetRoot()->first_attribute->value), "d");
}

TEST(XmlReader, KeepsPrefixesInNames) {
  const XmlReader reader("<gx:Track gx:id='1'/>");
  EXPECT_EQ(Str(reader.GetRoot()->name), "gx:Track");
  EXPECT_EQ(Str(reader.GetRoot()->first_attribute->name), "gx:id");
}

TEST(XmlReader, SlicesPlainTextOutOfTheDocumentItself) {
  const QByteArray xml("<a>0123456789</a>");
  const XmlReader reader(xml);
  EXPECT_EQ(reader.GetRoot()->text.data, xml.constData() + 3);
}

TEST(XmlReader, KeepsTheBytesOfADocumentThatItsCallerForgets) {
  auto xml = std::make_unique<QByteArray>("<a>0123456789</a>");
  const XmlReader reader(*xml);
  xml.reset();
  EXPECT_EQ(Str(reader.GetRoot()->text), "0123456789");
}

TEST(XmlReader, GivesEmptyTextAsAnEmptyStringThatIsNotNull) {
  const XmlReader reader("<a x=''/>");
  EXPECT_FALSE(reader.GetRoot()->text.ToString().isNull());
  EXPECT_FALSE(reader.GetRoot()->first_attribute->value.ToString().isNull());
  EXPECT_TRUE(reader.GetRoot()->text.ToString().isEmpty());
}

TEST(XmlText, ComparesWithAsciiByAllItsBytes) {
  const XmlReader reader("<abc/>");
  EXPECT_TRUE(reader.GetRoot()->name == QLatin1String("abc"));
  EXPECT_FALSE(reader.GetRoot()->name == QLatin1String("ab"));
  EXPECT_FALSE(reader.GetRoot()->name == QLatin1String("abd"));
}

struct Fault {
  const char* name;
  QByteArray xml;
};

class XmlReaderFault : public testing::TestWithParam<Fault> {};

TEST_P(XmlReaderFault, SpoilsTheWholeDocument) {
  EXPECT_TRUE(IsFaulty(GetParam().xml));
}

INSTANTIATE_TEST_SUITE_P(
    Each, XmlReaderFault,
    testing::Values(
        Fault{"NoBytes", ""}, Fault{"OnlyWhiteSpace", " \n"}, Fault{"OnlyAComment", "<!-- -->"},
        Fault{"UnclosedRoot", "<a><b/>"}, Fault{"CrossedTags", "<a><b></a></b>"},
        Fault{"SecondRoot", "<a/><b/>"}, Fault{"TextBehindTheRoot", "<a/>x"},
        Fault{"TextBeforeTheRoot", "x<a/>"}, Fault{"RepeatedAttribute", "<a x='1' x='2'/>"},
        Fault{"AttributeWithoutQuotes", "<a x=1/>"}, Fault{"AttributeWithoutValue", "<a x/>"},
        Fault{"BareAmpersand", "<a>fish & chips</a>"},
        Fault{"BareAmpersandInAnAttribute", "<a x='fish & chips'/>"},
        Fault{"LessThanInAnAttribute", "<a x='<'/>"}, Fault{"UndefinedEntity", "<a>&nbsp;</a>"},
        Fault{"UndefinedEntityInAnAttribute", "<a x='&nbsp;'/>"},
        Fault{"EntityOfAnUnreadSubset", "<!DOCTYPE a SYSTEM 'x.dtd'><a>&nbsp;</a>"},
        Fault{"ExternalEntity",
              "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/hostname'>]><a>&e;</a>"},
        Fault{"ReferenceToNul", "<a>&#0;</a>"}, Fault{"NulByte", QByteArray("<a>\0</a>", 8)},
        Fault{"NulBehindTheRoot", QByteArray("<a/>\0", 5)},
        Fault{"ControlCharacter", "<a>\x02</a>"}, Fault{"BadUtf8", "<a>\xC3(</a>"},
        Fault{"OverlongUtf8", "<a>\xC0\xAF</a>"}, Fault{"SurrogateInUtf8", "<a>\xED\xA0\x80</a>"},
        Fault{"CdataEndInText", "<a>]]></a>"},
        Fault{"DoubleHyphenInAComment", "<a><!-- -- --></a>"},
        Fault{"LateDeclaration", " <?xml version='1.0'?><a/>"},
        Fault{"UnknownEncoding", "<?xml version='1.0' encoding='EBCDIC-X'?><a/>"},
        Fault{"DeclaredUtf16InEightBits", "<?xml version='1.0' encoding='UTF-16'?><a/>"},
        Fault{"RecursiveEntity", "<!DOCTYPE a [<!ENTITY x '&y;'><!ENTITY y '&x;'>]><a>&x;</a>"},
        Fault{"BadName", "<1a/>"}),
    [](const auto& fault) { return std::string(fault.param.name); });

TEST(XmlReader, SaysWhatIsWrongAndWhere) {
  const XmlReader reader("<a>\n <b x='1' x='2'/>\n</a>");
  EXPECT_EQ(reader.GetErrorText(), QStringLiteral("line 2, column 11: duplicate attribute"));
}

TEST(XmlReader, HasNoErrorTextForASoundDocument) {
  EXPECT_TRUE(XmlReader("<a/>").GetErrorText().isEmpty());
}

QByteArray Utf16(const QString& text, bool big_endian) {
  QByteArray bytes;
  for (const QChar c : QChar(QChar::ByteOrderMark) + text) {
    const char high = static_cast<char>(c.unicode() >> 8);
    const char low = static_cast<char>(c.unicode() & 0xFF);
    bytes.append(big_endian ? high : low).append(big_endian ? low : high);
  }
  return bytes;
}

TEST(XmlReader, ReadsUtf16OfEitherByteOrder) {
  const QString xml = QString::fromUtf8("<a>Stra\xC3\x9F"
                                        "e \xF0\x9F\x98\x80</a>");
  EXPECT_EQ(RootText(Utf16(xml, false)), "Stra\xC3\x9F"
                                         "e \xF0\x9F\x98\x80");
  EXPECT_EQ(RootText(Utf16(xml, true)), RootText(Utf16(xml, false)));
}

TEST(XmlReader, ReadsLatin1WhereItIsDeclared) {
  EXPECT_EQ(RootText("<?xml version='1.0' encoding='ISO-8859-1'?><a>Stra\xDF"
                     "e</a>"),
            "Stra\xC3\x9F"
            "e");
}

TEST(XmlReader, TakesAnUtf8ByteOrderMark) {
  EXPECT_EQ(RootText("\xEF\xBB\xBF<a>x</a>"), "x");
}

TEST(XmlReader, ReadsALongLatin1TextThatGrowsToTwiceItsSize) {
  QByteArray xml("<?xml version='1.0' encoding='ISO-8859-1'?><a>");
  xml.append(QByteArray(3'000'000, '\xE9')).append("</a>");
  EXPECT_EQ(RootText(xml).size(), 6'000'000u);
}

TEST(XmlReader, RefusesEveryPrefixOfARealAnswer) {
  const QByteArray answer = RealAnswer();
  ASSERT_FALSE(IsFaulty(answer));
  const int sound_size = answer.lastIndexOf('>') + 1;
  for (int size = 0; size < sound_size; ++size) {
    // An allocation of exactly the size, so that the sanitizers see any byte read behind it.
    const std::vector<char> exact(answer.begin(), answer.begin() + size);
    ASSERT_TRUE(IsFaulty(QByteArray::fromRawData(exact.data(), size))) << size;
  }
}

TEST(XmlReader, SurvivesRandomlyFlippedBytes) {
  constexpr unsigned kSeed = 20261;
  SCOPED_TRACE(kSeed);
  std::minstd_rand random(kSeed);
  const QByteArray answer = RealAnswer();
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetTransientHeap());
  int sound = 0;
  constexpr int kRounds = 3000;
  for (int round = 0; round < kRounds; ++round) {
    QByteArray damaged = answer;
    for (auto flips = 1 + random() % 4; flips > 0; --flips) {
      damaged[static_cast<int>(random() % static_cast<std::size_t>(damaged.size()))] =
          static_cast<char>(random() & 0xFF);
    }
    const XmlReader reader(damaged);
    if (!reader.GetErrorsOccurred()) {
      ++sound;
      ASSERT_GE(Measure(reader.GetRoot()).nodes, 1u);
    }
  }
  EXPECT_GT(sound, 0);
  EXPECT_LT(sound, kRounds);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), before);
}

TEST(XmlReader, LeavesNothingOnTheHeapForSoundAndFaultyDocuments) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetTransientHeap());
  {
    const XmlReader sound(RealAnswer());
    EXPECT_GT(GetHeapStatistics(HeapManager::GetTransientHeap()).bytes, before.bytes);
    const HeapStatistics with_sound = GetHeapStatistics(HeapManager::GetTransientHeap());
    const XmlReader faulty(RealAnswer() + "x");
    EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), with_sound);
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), before);
}

QByteArray Nested(int depth) {
  return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
}

TEST(XmlReader, ReadsElementsNestedUpToTheLimit) {
  EXPECT_FALSE(IsFaulty(Nested(kXmlMaxDepth)));
  EXPECT_TRUE(IsFaulty(Nested(kXmlMaxDepth + 1)));
}

TEST(XmlReader, RefusesAMillionNestedElements) {
  EXPECT_TRUE(IsFaulty(Nested(1'000'000)));
}

TEST(XmlReader, RefusesTheBillionLaughs) {
  QByteArray xml("<!DOCTYPE a [<!ENTITY l0 'lol'>");
  for (int i = 1; i < 10; ++i) {
    const QByteArray inner = "&l" + QByteArray::number(i - 1) + ";";
    xml += "<!ENTITY l" + QByteArray::number(i) + " '" + inner.repeated(10) + "'>";
  }
  EXPECT_TRUE(IsFaulty(xml + "]><a>&l9;</a>"));
  EXPECT_TRUE(IsFaulty(xml + "]><a x='&l9;'/>"));
}

TEST(XmlReader, RefusesOneLongEntityUsedOftenEnoughToMatter) {
  const QByteArray xml = "<!DOCTYPE a [<!ENTITY l '" + QByteArray(100'000, 'x') + "'>]><a>" +
                         QByteArray("&l;").repeated(1000) + "</a>";
  EXPECT_TRUE(IsFaulty(xml));
}

TEST(XmlReader, RefusesDefaultAttributesThatBlowTheDocumentUp) {
  const QByteArray xml = "<!DOCTYPE a [<!ATTLIST b x CDATA '" + QByteArray(10'000, 'x') +
                         "'>]><a>" + QByteArray("<b/>").repeated(10'000) + "</a>";
  EXPECT_TRUE(IsFaulty(xml));
}

TEST(XmlReader, RefusesMoreEntitiesThanItsStackIsMeantFor) {
  QByteArray xml("<!DOCTYPE a [<!ENTITY e0 'x'>");
  for (int i = 1; i < 100'000; ++i) {
    xml += "<!ENTITY e" + QByteArray::number(i) + " '&e" + QByteArray::number(i - 1) + ";'>";
  }
  EXPECT_TRUE(IsFaulty(xml + "]><a>&e99999;</a>"));
}

TEST(XmlReader, ReadsAMillionAttributesOfOneElement) {
  QByteArray xml("<a");
  for (int i = 0; i < 1'000'000; ++i) {
    xml += " a" + QByteArray::number(i) + "='" + QByteArray::number(i) + "'";
  }
  const XmlReader reader(xml + "/>");
  ASSERT_FALSE(reader.GetErrorsOccurred()) << reader.GetErrorText().toStdString();
  EXPECT_EQ(Measure(reader.GetRoot()).attributes, 1'000'000u);
}

TEST(XmlReader, ReadsAMillionElementsWithAnAttributeEach) {
  const XmlReader reader("<a>" + QByteArray("<b x='1'/>").repeated(1'000'000) + "</a>");
  ASSERT_FALSE(reader.GetErrorsOccurred());
  const TreeSize size = Measure(reader.GetRoot());
  EXPECT_EQ(size.nodes, 1'000'001u);
  EXPECT_EQ(size.attributes, 1'000'000u);
}

TEST(XmlReader, RefusesMoreElementsThanTheLimit) {
  EXPECT_TRUE(IsFaulty("<a>" + QByteArray("<b/>").repeated(kXmlMaxNodes) + "</a>"));
}

TEST(XmlReader, RefusesMoreAttributesThanTheLimit) {
  QByteArray many("<b");
  constexpr int kEach = 1000;
  for (int i = 0; i < kEach; ++i) {
    many += " a" + QByteArray::number(i) + "=''";
  }
  many += "/>";
  EXPECT_TRUE(IsFaulty("<a>" + many.repeated(kXmlMaxAttributes / kEach + 1) + "</a>"));
}

TEST(XmlReader, RefusesMoreBytesThanTheLimit) {
  const QByteArray filler(static_cast<int>(kXmlMaxDocumentBytes) - 7, 'x');
  EXPECT_FALSE(IsFaulty("<a>" + filler + "</a>"));
  EXPECT_TRUE(IsFaulty("<a>" + filler + "x</a>"));
}

class RealXmlFile : public testing::Test {
 protected:
  // Skips the test where the real data is not at hand.
  QByteArray Read(const char* name) {
    QFile file(QStringLiteral(PELORIN_SHARED_DATA "/xml/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
};

TEST_F(RealXmlFile, ThatIsSoundIsReadWhole) {
  const QByteArray xml = Read("iso_639-3.xml");
  if (xml.isEmpty()) {
    GTEST_SKIP() << "no real data at " PELORIN_SHARED_DATA;
  }
  const XmlReader reader(xml);
  ASSERT_FALSE(reader.GetErrorsOccurred()) << reader.GetErrorText().toStdString();
  EXPECT_EQ(Measure(reader.GetRoot()).nodes,
            static_cast<std::size_t>(xml.count("<iso_639_3_entry\n")) + 1);
}

TEST_F(RealXmlFile, ThatIsFaultyGivesNothing) {
  const QByteArray xml = Read("iso_3166-2.xml");
  if (xml.isEmpty()) {
    GTEST_SKIP() << "no real data at " PELORIN_SHARED_DATA;
  }
  EXPECT_TRUE(IsFaulty(xml));
}

class XmlPathFinderTest : public testing::Test {
 protected:
  XmlNode* Find(XmlNode* start, const char* path) const {
    return XmlPathFinder().Find(start, QString::fromUtf8(path));
  }
  std::string FoundText(const char* path) const {
    const XmlNode* found = Find(root(), path);
    return found == nullptr ? "none" : Str(found->text);
  }
  XmlNode* root() const { return reader_.GetRoot(); }

  XmlReader reader_{"<a><b><x>1</x></b><b><c>2</c><c>3</c></b><d><e/></d>"
                    "<\xC3\xA9t\xC3\xA9>4</\xC3\xA9t\xC3\xA9></a>"};
};

TEST_F(XmlPathFinderTest, NamesTheStartByItsFirstComponent) {
  EXPECT_EQ(Find(root(), "a"), root());
  EXPECT_EQ(FoundText("a/b/x"), "1");
}

TEST_F(XmlPathFinderTest, GivesNullIfTheFirstComponentDoesNotNameTheStart) {
  EXPECT_EQ(Find(root(), "b"), nullptr);
  EXPECT_EQ(Find(root(), "b/c"), nullptr);
}

TEST_F(XmlPathFinderTest, GivesNullForANullStart) {
  EXPECT_EQ(Find(nullptr, "a"), nullptr);
  EXPECT_EQ(Find(nullptr, "/a"), nullptr);
}

TEST_F(XmlPathFinderTest, GoesOnToTheNextElementOfANameWhereTheFirstIsADeadEnd) {
  EXPECT_EQ(FoundText("a/b/c"), "2");
}

TEST_F(XmlPathFinderTest, StaysInsideItsStart) {
  XmlNode* first_b = root()->first_child;
  EXPECT_EQ(Find(first_b, "b/c"), nullptr);
  EXPECT_NE(Find(first_b->next_sibling, "b/c"), nullptr);
}

TEST_F(XmlPathFinderTest, TakesALeadingSlashFromTheRootWhateverTheStart) {
  XmlNode* inner = Find(root(), "a/b/c");
  EXPECT_EQ(Find(inner, "/a"), root());
  EXPECT_EQ(Find(inner, "/a/b/c"), inner);
  EXPECT_EQ(Find(inner, "/c"), nullptr);
}

TEST_F(XmlPathFinderTest, MatchesNothingWithAnEmptyComponent) {
  for (const char* path : {"", "/", "//a", "a/", "a//b", "/a/"}) {
    EXPECT_EQ(Find(root(), path), nullptr) << path;
  }
}

TEST_F(XmlPathFinderTest, GivesNullForAPathDeeperThanTheTree) {
  EXPECT_EQ(Find(root(), "a/d/e/f/g/h/i/j/k/l"), nullptr);
}

TEST_F(XmlPathFinderTest, ComparesNamesInUnicode) {
  EXPECT_EQ(FoundText("a/\xC3\xA9t\xC3\xA9"), "4");
}

TEST_F(XmlPathFinderTest, ComparesWholeNamesAndCase) {
  EXPECT_EQ(FoundText("A"), "none");
  EXPECT_EQ(FoundText("a/bb"), "none");
}

// All elements from `node` on that fit the components from `index` on, the plain way.
XmlNode* NaiveFind(XmlNode* node, const QStringList& path, int index) {
  if (node->name.ToString() != path[index]) {
    return nullptr;
  }
  if (index + 1 == path.size()) {
    return node;
  }
  for (XmlNode* child = node->first_child; child != nullptr; child = child->next_sibling) {
    if (XmlNode* found = NaiveFind(child, path, index + 1)) {
      return found;
    }
  }
  return nullptr;
}

QByteArray RandomElement(std::minstd_rand& random, int depth) {
  const QByteArray name(1, static_cast<char>('a' + random() % 2));
  QByteArray xml = "<" + name + ">";
  for (auto children = depth == 0 ? 0 : random() % 4; children > 0; --children) {
    xml += RandomElement(random, depth - 1);
  }
  return xml + "</" + name + ">";
}

TEST(XmlPathFinder, AgreesWithAPlainRecursiveSearch) {
  constexpr unsigned kSeed = 7;
  SCOPED_TRACE(kSeed);
  std::minstd_rand random(kSeed);
  int found_count = 0;
  for (int round = 0; round < 500; ++round) {
    const XmlReader reader(RandomElement(random, 5));
    QStringList path;
    for (auto size = 1 + random() % 6; size > 0; --size) {
      path.append(random() % 2 == 0 ? "a" : "b");
    }
    XmlNode* const expected = NaiveFind(reader.GetRoot(), path, 0);
    ASSERT_EQ(XmlPathFinder().Find(reader.GetRoot(), path.join('/')), expected);
    found_count += expected != nullptr ? 1 : 0;
  }
  EXPECT_GT(found_count, 50);
}

TEST(XmlTree, GivesTheTextAtAPath) {
  const XmlReader reader("<a><b>text</b></a>");
  EXPECT_EQ(XmlTree(reader.GetRoot()).GetValue("a/b"), QStringLiteral("text"));
}

TEST(XmlTree, GivesAnEmptyStringThatIsNotNullForAnAbsentElement) {
  const XmlReader reader("<a/>");
  const QString value = XmlTree(reader.GetRoot()).GetValue("a/b");
  EXPECT_TRUE(value.isEmpty());
  EXPECT_FALSE(value.isNull());
}

TEST(XmlTree, OfNoElementHasNoValues) {
  EXPECT_TRUE(XmlTree(nullptr).GetValue("a").isEmpty());
}

}  // namespace
}  // namespace nimbara
