// SPDX-License-Identifier: Apache-2.0
// The service's answer of 5,000 full records: to finished PanoramaData records with this library,
// and the same records filled by hand from the trees of the two in-place parsers. Beside them what
// reading alone costs: the in-place trees, expat's walk without a tree, and our reader.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <pugixml.hpp>
#include <random>
#include <rapidxml/rapidxml.hpp>
#include <vector>

#include "bench/record_by_hand.h"
#include "host/xml.h"
#include "spatial/panorama/panorama_xml_parser.h"
#include "tests/support/answer_builder.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kRecordCount = 5000;
constexpr unsigned kSeed = 20261121;

using Records = mmvector<RefPtr<PanoramaData>>;

QString Id(unsigned long number) {
  return QStringLiteral("pano-%1").arg(number, 17, 10, QLatin1Char('0'));
}

QByteArray MakeAnswer() {
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<test_support::PanoramaElement> panoramas;
  for (unsigned i = 0; i < kRecordCount; ++i) {
    test_support::PanoramaElement panorama(Id(i));
    panorama.At(50.0 + unit(random), 8.0 + unit(random))
        .Attribute("info_level", QString::number(random() % 128))
        .Attribute("info_value", QString::number(random() % 3000))
        .Attribute("image_width", "13312")
        .Attribute("image_height", "6656")
        .Attribute("tile_width", "512")
        .Attribute("tile_height", "512")
        .Attribute("image_date", QStringLiteral("2026-%1").arg(random() % 12 + 1))
        .Scene(static_cast<int>(random() % 10))
        .OnLevel("ground")
        .Text("text", QString::fromUtf8("Straße der Ingenieure %1").arg(random() % 100))
        .Text("street_range", QStringLiteral("%1-%2").arg(random() % 90).arg(random() % 90 + 90))
        .Text("copyright", QString::fromUtf8("© 2026 Harbour Town"))
        .Angles(QString::number(360.0 * unit(random)), QString::number(360.0 * unit(random)),
                QString::number(5.0 * unit(random)));
    for (unsigned link = 0; link < 3; ++link) {
      panorama.Link(Id(random() % kRecordCount), 360.0 * unit(random),
                    QString::number(random(), 16));
    }
    panorama.Level("ground", Id(i), 0, "Ground floor", "G")
        .Level("first", Id(random() % kRecordCount), 1, "First floor", "1");
    panoramas.push_back(panorama);
  }
  return test_support::ListAnswer(panoramas);
}

const QByteArray& Answer() {
  static const QByteArray answer = MakeAnswer();
  return answer;
}

struct Rapid {
  using Node = const rapidxml::xml_node<>*;
  static Node Child(Node node, const char* name) {
    return node == nullptr ? nullptr : node->first_node(name);
  }
  static Node Next(Node node) { return node->next_sibling(); }
  static bool IsNull(Node node) { return node == nullptr; }
  static Text Attribute(Node node, const char* name) {
    const rapidxml::xml_attribute<>* attribute = node->first_attribute(name);
    return attribute == nullptr
               ? Text{}
               : Text{attribute->value(), static_cast<int>(attribute->value_size())};
  }
  static Text Value(Node node, const char* name) {
    const Node child = node->first_node(name);
    return child == nullptr ? Text{} : Text{child->value(), static_cast<int>(child->value_size())};
  }
};

template <typename Dom>
void RecordsByHand(const typename Dom::Node& root, Records* records) {
  for (auto node = Dom::Child(root, "panorama"); !Dom::IsNull(node); node = Dom::Next(node)) {
    records->push_back(RecordByHand<Dom>(node));
  }
}

void RecordsByPelorin(QByteArray* answer, Records* records) {
  PanoramaXMLParser::Parse(*answer, records);
}
void RecordsByPugixml(QByteArray* answer, Records* records) {
  pugi::xml_document document;
  document.load_buffer_inplace(answer->data(), static_cast<std::size_t>(answer->size()));
  RecordsByHand<Pugi>(document.child("panoramas"), records);
}
void RecordsByRapidxml(QByteArray* answer, Records* records) {
  rapidxml::xml_document<> document;
  document.parse<0>(answer->data());
  RecordsByHand<Rapid>(document.first_node("panoramas"), records);
}

bool Same(const PanoramaData& a, const PanoramaData& b) {
  return a.pano_id == b.pano_id && a.position == b.position && a.address == b.address &&
         a.copyright == b.copyright && a.image_date == b.image_date && a.scene == b.scene &&
         a.info_level == b.info_level && a.info_value == b.info_value &&
         a.pano_yaw_deg == b.pano_yaw_deg && a.tilt_pitch_deg == b.tilt_pitch_deg &&
         a.links.size() == 3 && b.links.size() == 3 && a.links[2].pano_id == b.links[2].pano_id &&
         a.links[2].yaw_deg == b.links[2].yaw_deg &&
         a.links[2].road_color == b.links[2].road_color && a.levels.size() == 2 &&
         b.levels.size() == 2 && a.levels[1].text == b.levels[1].text &&
         a.levels[1].ordinal == b.levels[1].ordinal;
}

void Report(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * Answer().size());
  state.SetItemsProcessed(state.iterations() * kRecordCount);
}

// Neither the copy that an in-place parser works in nor the end of the records is timed.
void AnswerToRecords(benchmark::State& state, void (*read)(QByteArray*, Records*)) {
  Records expected(HeapManager::GetTransientHeap());
  PanoramaXMLParser::Parse(Answer(), &expected);
  for (auto _ : state) {
    state.PauseTiming();
    QByteArray answer(Answer().constData(), Answer().size());
    {
      Records records(HeapManager::GetTransientHeap());
      state.ResumeTiming();
      read(&answer, &records);
      state.PauseTiming();
      if (records.size() != kRecordCount || !Same(*records.back(), *expected.back())) {
        state.SkipWithError("other records");
      }
    }
    state.ResumeTiming();
  }
  Report(state);
}
BENCHMARK_CAPTURE(AnswerToRecords, pelorin, &RecordsByPelorin)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnswerToRecords, pugixml, &RecordsByPugixml)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnswerToRecords, rapidxml, &RecordsByRapidxml)->Unit(benchmark::kMillisecond);

void ReadByPelorin(QByteArray* answer) {
  const XmlReader reader(*answer);
  benchmark::DoNotOptimize(reader.GetRoot());
}
void ReadByPugixml(QByteArray* answer) {
  pugi::xml_document document;
  document.load_buffer_inplace(answer->data(), static_cast<std::size_t>(answer->size()));
  benchmark::DoNotOptimize(document.first_child().internal_object());
}
void ReadByRapidxml(QByteArray* answer) {
  rapidxml::xml_document<> document;
  document.parse<0>(answer->data());
  benchmark::DoNotOptimize(document.first_node());
}
void ReadByExpat(QByteArray* answer) {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  int elements = 0;
  XML_SetUserData(parser, &elements);
  XML_SetElementHandler(
      parser, [](void* count, const char*, const char**) { ++*static_cast<int*>(count); },
      [](void*, const char*) {});
  XML_SetCharacterDataHandler(parser, [](void*, const char*, int) {});
  XML_Parse(parser, answer->constData(), answer->size(), XML_TRUE);
  XML_ParserFree(parser);
  benchmark::DoNotOptimize(elements);
}

void AnswerRead(benchmark::State& state, void (*read)(QByteArray*)) {
  for (auto _ : state) {
    state.PauseTiming();
    QByteArray answer(Answer().constData(), Answer().size());
    state.ResumeTiming();
    read(&answer);
  }
  Report(state);
}
BENCHMARK_CAPTURE(AnswerRead, pelorin, &ReadByPelorin)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnswerRead, pugixml, &ReadByPugixml)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnswerRead, rapidxml, &ReadByRapidxml)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnswerRead, expat_walk, &ReadByExpat)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace spatial
}  // namespace nimbara
