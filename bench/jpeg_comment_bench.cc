// SPDX-License-Identifier: Apache-2.0
// Comments of imagery tiles: finding the messages and writing a block, beside two programs that
// only find the separators: boost::split and a tokenizer over std::string_view.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vortan/common/internal/jpeg_comments_dates.h"

namespace {

constexpr char kBlock[] = "*#Q0#*0*AD*2017:12:31*#0Q#*";

// A body of any length.
class TextMessage : public vortan::JpegCommentMessage {
 public:
  JpegCommentMessage* CreateNewMessage() const override { return new TextMessage; }
  void AppendToString(std::string* output) const override { *output += body; }
  bool FromString(const std::string& text) override {
    body = text;
    return true;
  }
  std::string body;
};

void PrepareFactory() {
  static const bool once = [] {
    vortan::JpegCommentRegisterFamily(
        "AD", new vortan::JpegCommentMessageDominantTileAcquisitionDate(0.5f));
    vortan::JpegCommentRegisterFamily("T", new TextMessage);
    vortan::JpegCommentSetRegistrationClosed();
    return true;
  }();
  benchmark::DoNotOptimize(once);
}

// What stands in a comment, by number.
enum Kind { kForeignText, kForeignSeparators, kLongBody, kManyMessages };

// Different names of one length in no order.
std::string FamilyName(std::size_t number) {
  const std::string digits = std::to_string(100000 + number * 7919 % 100000);
  return "f" + digits.substr(1);
}

// A comment of at most `size` bytes with at least one block.
std::string CommentOf(Kind kind, std::size_t size) {
  const std::string block = kBlock;
  const std::size_t room = size > block.size() ? size - block.size() : 0;
  std::string filling;
  switch (kind) {
  case kForeignText:
    while (filling.size() < room) {
      filling += "Seen from above in the first week of spring, by hand. ";
    }
    return filling.substr(0, room) + block;
  case kForeignSeparators:
    while (filling.size() < room) {
      filling += "a line*of a table*";
    }
    return filling.substr(0, room) + block;
  case kLongBody:
    return "*#Q0#*0*AD*2017:12:31*T*" + std::string(room > 3 ? room - 3 : 0, 'x') + "*#0Q#*";
  case kManyMessages:
    break;
  }
  filling = "*#Q0#*0*AD*2017:12:31";
  for (std::size_t number = 0; filling.size() + 24 <= size; ++number) {
    filling += "*" + FamilyName(number) + "*2017:12:31";
  }
  return filling + "*#0Q#*";
}

std::string CommentFor(const benchmark::State& state) {
  return CommentOf(static_cast<Kind>(state.range(0)), static_cast<std::size_t>(state.range(1)));
}

// Many short ones or a few long ones, 1 MB at most.
std::size_t BatchOf(const std::string& text) {
  return std::clamp<std::size_t>((std::size_t{1} << 20) / text.size(), 16, 1024);
}

// Every program goes over fresh copies of the text, each an object on the heap, so that all find it
// in the same cache; a buffer can be searched only once. The copying is not timed.
template <typename Text, typename Search>
void OverCopies(benchmark::State& state, Search search) {
  const std::string text = CommentFor(state);
  const std::size_t batch = BatchOf(text);
  std::vector<std::unique_ptr<Text>> copies(batch);
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
    state.PauseTiming();
    for (auto& copy : copies) {
      copy = std::make_unique<Text>(text);
    }
    state.ResumeTiming();
    for (auto& copy : copies) {
      search(*copy);
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void FindMessages(benchmark::State& state) {
  PrepareFactory();
  OverCopies<vortan::JpegCommentInputBuffer>(state, [](vortan::JpegCommentInputBuffer& comment) {
    benchmark::DoNotOptimize(comment.FindMessages());
  });
}

void StringViewTokenizer(benchmark::State& state) {
  std::vector<std::string_view> tokens;  // Kept, so that only its first use allocates.
  OverCopies<std::string>(state, [&tokens](const std::string_view view) {
    tokens.clear();
    std::size_t from = 0;
    for (std::size_t at = 0; (at = view.find('*', from)) != std::string_view::npos; from = at + 1) {
      tokens.push_back(view.substr(from, at - from));
    }
    tokens.push_back(view.substr(from));
    benchmark::DoNotOptimize(tokens.data());
    benchmark::ClobberMemory();
  });
}

void BoostSplit(benchmark::State& state) {
  OverCopies<std::string>(state, [](const std::string& text) {
    std::vector<std::string> tokens;
    boost::split(tokens, text, [](char c) { return c == '*'; });
    benchmark::DoNotOptimize(tokens.data());
  });
}

void ReadDate(benchmark::State& state) {
  PrepareFactory();
  const std::string text = CommentFor(state);
  for (auto _ : state) {
    const std::unique_ptr<vortan::JpegCommentDate> date(
        vortan::JpegCommentAggregatedTileDateIn(text.c_str()));
    benchmark::DoNotOptimize(date->year());
  }
}

// A block with a body that fills `range(0)` bytes.
void WriteBlock(benchmark::State& state) {
  PrepareFactory();
  const std::unique_ptr<vortan::JpegCommentMessage> message(
      vortan::JpegCommentMessageFactory::CreateMessage("T"));
  static_cast<TextMessage&>(*message).body.assign(static_cast<std::size_t>(state.range(0)) - 16,
                                                  'x');
  for (auto _ : state) {
    vortan::JpegCommentOutputBuffer block;
    block.AppendMessage(*message);
    block.Finalize();
    benchmark::DoNotOptimize(block.buffer().data());
  }
}

void Comments(benchmark::internal::Benchmark* run) {
  run->Args({kForeignText, 30})->ArgNames({"kind", "bytes"});
  for (const Kind kind : {kForeignText, kForeignSeparators, kLongBody, kManyMessages}) {
    for (const int bytes : {300, 3000, 65532}) {
      run->Args({kind, bytes});
    }
  }
}

BENCHMARK(FindMessages)->Apply(Comments);
BENCHMARK(StringViewTokenizer)->Apply(Comments);
BENCHMARK(BoostSplit)->Apply(Comments);
BENCHMARK(ReadDate)->Args({kForeignText, 30})->Args({kLongBody, 65532});
BENCHMARK(WriteBlock)->Arg(30)->Arg(3000)->Arg(65532);

}  // namespace
