// SPDX-License-Identifier: Apache-2.0
// A depth map from its Base64 text to planes and cells, beside zlib's inflate of the same stream
// alone, into a buffer that is there already.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "host/text.h"
#include "spatial/panorama/depth_map_xml_parser.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr unsigned kSeed = 20261121;

// A street canyon as a camera sees it: ground below, facades to both sides in runs of one plane,
// sky above, with ragged outlines.
QByteArray StreetText(int width, int height) {
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  constexpr int kPlanes = 120;
  std::vector<std::array<float, 4>> planes;
  for (int i = 0; i < kPlanes; ++i) {
    const float angle = 6.2831853f * unit(random);
    planes.push_back({std::cos(angle), std::sin(angle), 0.1f * unit(random), 30.0f * unit(random)});
  }
  std::vector<std::uint8_t> cells(static_cast<std::size_t>(width * height));
  std::vector<int> roof(static_cast<std::size_t>(width));
  std::vector<std::uint8_t> facade(static_cast<std::size_t>(width));
  int run_end = 0;
  for (int x = 0; x < width; ++x) {
    const std::size_t column = static_cast<std::size_t>(x);
    const bool is_new = x >= run_end;
    run_end = is_new ? x + 3 + static_cast<int>(random() % 30) : run_end;
    facade[column] = is_new || x == 0 ? static_cast<std::uint8_t>(2 + random() % (kPlanes - 2))
                                      : facade[column - 1];
    roof[column] = static_cast<int>(static_cast<float>(height) * (0.3f + 0.1f * unit(random)));
  }
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::size_t column = static_cast<std::size_t>(x);
      const std::size_t cell = static_cast<std::size_t>(y * width + x);
      cells[cell] = y < roof[column] ? 0 : y > height * 6 / 10 ? 1 : facade[column];
    }
  }
  return test_support::DepthPayload(static_cast<std::uint16_t>(width),
                                    static_cast<std::uint16_t>(height), cells, planes)
      .ToText();
}

void Report(benchmark::State& state, const QByteArray& text) {
  state.SetItemsProcessed(state.iterations());
  state.counters["text_bytes"] = text.size();
}

void DepthMapDecode(benchmark::State& state) {
  const QByteArray text =
      StreetText(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    const std::unique_ptr<DepthMap> map(DepthMapXMLParser::ReadCompressedDepthMapData(text));
    if (!map) {
      state.SkipWithError("no map");
    }
    benchmark::DoNotOptimize(map.get());
  }
  Report(state, text);
}

void InflateAlone(benchmark::State& state) {
  const QByteArray text =
      StreetText(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  const QByteArray stream = QByteArray::fromBase64(text);
  std::vector<Bytef> buffer(DepthMapXMLParser::kInflatedSize);
  for (auto _ : state) {
    uLongf size = buffer.size();
    if (uncompress(buffer.data(), &size, reinterpret_cast<const Bytef*>(stream.constData()),
                   static_cast<uLong>(stream.size())) != Z_OK) {
      state.SkipWithError("no stream");
    }
    benchmark::ClobberMemory();
  }
  Report(state, text);
}

void Base64Alone(benchmark::State& state, QByteArray (*decode)(const QByteArray&)) {
  const QByteArray text = StreetText(512, 256);
  for (auto _ : state) {
    benchmark::DoNotOptimize(decode(text).constData());
  }
  Report(state, text);
  state.SetBytesProcessed(state.iterations() * text.size());
}

QByteArray ByHost(const QByteArray& text) {
  return Base64Decode(text.constData());
}
QByteArray ByQt(const QByteArray& text) {
  return QByteArray::fromBase64(text);
}

BENCHMARK(DepthMapDecode)
    ->Args({256, 128})
    ->Args({512, 256})
    ->Args({1024, 512})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(InflateAlone)
    ->Args({256, 128})
    ->Args({512, 256})
    ->Args({1024, 512})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Base64Alone, host, &ByHost)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Base64Alone, qt, &ByQt)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace spatial
}  // namespace nimbara
