// SPDX-License-Identifier: Apache-2.0
// Plain documents have a reader of their own; these hold it against the strict parser.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "host/xml.h"
#include "tests/support/answer_builder.h"
#include "tests/support/xml_twin.h"

namespace nimbara {
namespace {

using test_support::ListAnswer;
using test_support::PanoramaElement;
using test_support::ReadsAlikeWithAComment;

QByteArray Answer() {
  return ListAnswer({PanoramaElement("a")
                         .At(45.5, -122.25)
                         .Text("text", QString::fromUtf8("Rua <da> Alegria & \"Söhne\""))
                         .Link("b", 90.0)
                         .Level("l0", "a", 0, "Ground", "G"),
                     PanoramaElement("b").Text("copyright", QString::fromUtf8("© 2026 𝄞"))});
}

QString TextOfRoot(const QByteArray& document) {
  const XmlReader reader(document);
  return reader.GetErrorsOccurred() ? QString("faulty") : reader.GetRoot()->text.ToString();
}

TEST(PlainXml, ReadsTheTextsOfReferences) {
  EXPECT_EQ(TextOfRoot("<a>1&lt;2&gt;3&amp;4&quot;5&apos;6&#65;7&#x1D11E;8</a>"),
            QString::fromUtf8("1<2>3&4\"5'6A7𝄞8"));
  EXPECT_EQ(TextOfRoot("<a>&#233;&#x20AC;&#x7f;</a>"), QString::fromUtf8("é€\x7f"));
}

TEST(PlainXml, JoinsTextAroundChildren) {
  EXPECT_EQ(TextOfRoot("<a>one<b>no</b>two<c/>&amp;three</a>"), "onetwo&three");
}

TEST(PlainXml, KeepsBracketsInText) {
  EXPECT_EQ(TextOfRoot("<a>] ]] ]>] ]]</a>"), "] ]] ]>] ]]");
}

TEST(PlainXml, ReadsLikeTheStrictParserAtTheEdges) {
  const QByteArray many_attributes = [] {
    QByteArray xml = "<a";
    for (int i = 0; i < 40; ++i) {
      xml += " b" + QByteArray::number(i % 39) + "=''";
    }
    return xml + "/>";
  }();
  for (const QByteArray& document :
       {QByteArray(""),
        QByteArray(" "),
        QByteArray("<a/>"),
        QByteArray(" \n<a/>\r\n\t"),
        QByteArray("<a/>x"),
        QByteArray("x<a/>"),
        QByteArray("<a/><b/>"),
        QByteArray("<a></b>"),
        QByteArray("<a></a"),
        QByteArray("<a></a >"),
        QByteArray("<a></ a>"),
        QByteArray("<a>< /a>"),
        QByteArray("<a / >"),
        QByteArray("< a/>"),
        QByteArray("<a b='1'/>"),
        QByteArray("<a b=\"1'2\" c='1\"2'/>"),
        QByteArray("<a b='1'c='2'/>"),
        QByteArray("<a b='1' b='2'/>"),
        QByteArray("<a\nb\t=\r'1'/>"),
        QByteArray("<a b/>"),
        QByteArray("<a b=1/>"),
        QByteArray("<a b='<'/>"),
        QByteArray("<a b='>'/>"),
        QByteArray("<a b=']]>'/>"),
        QByteArray("<a b='&'/>"),
        QByteArray("<a b='&lt;&#10;&#x20;'/>"),
        QByteArray("<a b='1\t2\n3\r\n4'/>"),
        QByteArray("<a>]]></a>"),
        QByteArray("<a>]]&gt;</a>"),
        QByteArray("<a>1\r2\r\n3</a>"),
        QByteArray("<a>&unknown;</a>"),
        QByteArray("<a>&#0;</a>"),
        QByteArray("<a>&#;</a>"),
        QByteArray("<a>&#x;</a>"),
        QByteArray("<a>&#-1;</a>"),
        QByteArray("<a>&#+1;</a>"),
        QByteArray("<a>&#X41;</a>"),
        QByteArray("<a>&#xD800;</a>"),
        QByteArray("<a>&#xFFFE;</a>"),
        QByteArray("<a>&#x110000;</a>"),
        QByteArray("<a>&#00000000000000065;</a>"),
        QByteArray("<a>&;</a>"),
        QByteArray("<a>& amp;</a>"),
        QByteArray("<a>&amp</a>"),
        QByteArray("<a>\x01</a>"),
        QByteArray("<a>\x7f</a>"),
        QByteArray("<a>\xc3\xa9</a>"),
        QByteArray("<a>\xc3</a>"),
        QByteArray("<a>\xc0\xaf</a>"),
        QByteArray("<a>\xe0\x80\xaf</a>"),
        QByteArray("<a>\xed\xa0\x80</a>"),
        QByteArray("<a>\xef\xbf\xbe</a>"),
        QByteArray("<a>\xef\xbf\xbd</a>"),
        QByteArray("<a>\xf4\x90\x80\x80</a>"),
        QByteArray("<a>\xf0\x9d\x84\x9e</a>"),
        QByteArray("<a:b/>"),
        QByteArray("<-a/>"),
        QByteArray("<a.b-c_d9/>"),
        QByteArray("<9a/>"),
        QByteArray("<\xc3\xa9/>"),
        QByteArray("<?xml version=\"1.0\"?><a/>"),
        QByteArray("<?xml version=\"1.0' encoding=\"UTF-8\"?><a/>"),
        QByteArray(" <?xml version=\"1.0\"?><a/>"),
        QByteArray("<?xml version=\"1.0\"?><?xml version=\"1.0\"?><a/>"),
        QByteArray("<?xml version=\"1.1\"?><a/>"),
        QByteArray("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9</a>"),
        QByteArray("<?xml version='1.0' encoding='utf-8'?><a>\xc3\xa9</a>"),
        QByteArray("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"),
        QByteArray("<a><!-- c --><?p i?><![CDATA[<&]]></a>"),
        many_attributes,
        QByteArray(many_attributes).replace("b38=''", "c=''"),
        QByteArray("<a>").repeated(256) + QByteArray("</a>").repeated(256),
        QByteArray("<a>").repeated(257) + QByteArray("</a>").repeated(257)}) {
    EXPECT_TRUE(ReadsAlikeWithAComment(document)) << document.left(100).constData();
  }
  EXPECT_TRUE(ReadsAlikeWithAComment(QByteArray("<a>\0</a>", 8)));
}

TEST(PlainXml, ReadsEveryPrefixLikeTheStrictParser) {
  const QByteArray whole = Answer();
  EXPECT_FALSE(XmlReader(whole).GetErrorsOccurred());
  for (int size = 0; size <= whole.size(); ++size) {
    // An exactly sized block without a zero behind it, so that a sanitizer sees a read past the
    // end.
    const std::unique_ptr<char[]> exact(new char[static_cast<std::size_t>(size)]);
    std::copy(whole.constData(), whole.constData() + size, exact.get());
    ASSERT_TRUE(ReadsAlikeWithAComment(QByteArray::fromRawData(exact.get(), size))) << size;
  }
}

TEST(PlainXml, ReadsFlippedBytesLikeTheStrictParser) {
  constexpr unsigned kSeed = 79;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray whole = Answer();
  for (int i = 0; i < 20000; ++i) {
    QByteArray damaged = whole;
    damaged[static_cast<int>(random() % static_cast<unsigned>(whole.size()))] =
        static_cast<char>(random() % 255 + 1);
    ASSERT_TRUE(ReadsAlikeWithAComment(damaged)) << damaged.constData();
  }
}

TEST(PlainXml, ReadsRandomPiecesLikeTheStrictParser) {
  constexpr unsigned kSeed = 80;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const char* const pieces[] = {"<a>",  "</a>",   "<b>",    "</b>",        "<a/>",        "<a",
                                ">",    "/>",     " b='1'", " c=\"&lt;\"", " b='\n'",     "x",
                                " ",    "\n",     "\r",     "]",           "]]>",         "&amp;",
                                "&#9;", "&#xe9;", "&",      ";",           "\xc3\xa9",    "\xc3",
                                "<",    "=",      "'",      "<!---->",     "\xef\xbb\xbf"};
  int sound = 0;
  for (int i = 0; i < 100000; ++i) {
    QByteArray document = "<a>";
    for (unsigned long count = random() % 7; count > 0; --count) {
      document += pieces[random() % (sizeof(pieces) / sizeof(pieces[0]))];
    }
    document += "</a>";
    sound += XmlReader(document).GetErrorsOccurred() ? 0 : 1;
    ASSERT_TRUE(ReadsAlikeWithAComment(document)) << document.constData();
  }
  EXPECT_GT(sound, 10000);
}

}  // namespace
}  // namespace nimbara
