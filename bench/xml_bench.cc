// SPDX-License-Identifier: Apache-2.0
// Readers of XML on a real document of many small elements (where it is at hand) and on an answer
// of the service: our reader, which makes a tree; expat's and Qt's walks, which make none; and
// pugixml's tree in place, which accepts faulty documents and so shows only what is possible.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <QFile>
#include <QXmlStreamReader>
#include <pugixml.hpp>

#include "host/xml.h"
#include "tests/support/answer_builder.h"

namespace nimbara {
namespace {

constexpr int kRecordCount = 5000;

QByteArray RealDocument() {
  QFile file(QStringLiteral(PELORIN_SHARED_DATA "/xml/iso_639-3.xml"));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray ServiceAnswer() {
  std::vector<test_support::PanoramaElement> panoramas;
  for (int i = 0; i < kRecordCount; ++i) {
    test_support::PanoramaElement panorama(QStringLiteral("%1").arg(i, 22, 36, QLatin1Char('0')));
    panorama.At(53.5 + i * 1.37e-6, 9.9 + i * 1.73e-6).Text("text", "Lange Zeile");
    for (const char* name : {"image_width", "image_height", "tile_width", "tile_height"}) {
      panorama.Attribute(name, QString::number(512 + i));
    }
    panorama.Scene(1).OnLevel("ground").Angles("12.25", "99.5", "1.75");
    for (int link = 1; link <= 3; ++link) {
      panorama.Link(QStringLiteral("%1").arg(i + link, 22, 36, QLatin1Char('0')), 30.5 * link);
    }
    panoramas.push_back(panorama);
  }
  return test_support::ListAnswer(panoramas);
}

bool ReadByPelorin(QByteArray* xml) {
  return !XmlReader(*xml).GetErrorsOccurred();
}

bool ReadByExpat(QByteArray* xml) {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetElementHandler(
      parser, [](void*, const char*, const char**) {}, [](void*, const char*) {});
  XML_SetCharacterDataHandler(parser, [](void*, const char*, int) {});
  const bool sound = XML_Parse(parser, xml->constData(), xml->size(), XML_TRUE) == XML_STATUS_OK;
  XML_ParserFree(parser);
  return sound;
}

bool ReadByPugixml(QByteArray* xml) {
  pugi::xml_document document;
  return !!document.load_buffer_inplace(xml->data(), static_cast<std::size_t>(xml->size()));
}

bool ReadByQt(QByteArray* xml) {
  QXmlStreamReader reader(*xml);
  int attributes = 0;
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement) {
      attributes += reader.attributes().size();
    }
  }
  benchmark::DoNotOptimize(attributes);
  return !reader.hasError();
}

// The copy that an in-place parser works in is not timed.
void Read(benchmark::State& state, bool (*read)(QByteArray*), QByteArray (*make)()) {
  const QByteArray document = make();
  if (document.isEmpty()) {
    state.SkipWithError("no real document at hand");
  }
  for (auto _ : state) {
    state.PauseTiming();
    QByteArray copy(document.constData(), document.size());
    state.ResumeTiming();
    if (!read(&copy)) {
      state.SkipWithError("refused");
    }
  }
  state.SetBytesProcessed(state.iterations() * document.size());
}
#define PELORIN_READERS(name, document)                                                            \
  BENCHMARK_CAPTURE(Read, name##_pelorin, &ReadByPelorin, &document)                               \
      ->Unit(benchmark::kMillisecond);                                                             \
  BENCHMARK_CAPTURE(Read, name##_expat_walk, &ReadByExpat, &document)                              \
      ->Unit(benchmark::kMillisecond);                                                             \
  BENCHMARK_CAPTURE(Read, name##_pugixml, &ReadByPugixml, &document)                               \
      ->Unit(benchmark::kMillisecond);                                                             \
  BENCHMARK_CAPTURE(Read, name##_qt_walk, &ReadByQt, &document)->Unit(benchmark::kMillisecond)
PELORIN_READERS(answer, ServiceAnswer);
PELORIN_READERS(real, RealDocument);

}  // namespace
}  // namespace nimbara
