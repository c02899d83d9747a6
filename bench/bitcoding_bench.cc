// SPDX-License-Identifier: Apache-2.0
// Bit fields, unary-prefixed codes and varints: nanoseconds a field and bytes a second. Beside bit
// fields stand a writer and a reader that do nothing but shift a 64-bit word, without any bounds;
// beside varints protobuf's coded streams. Widths and values are seeded and the same for all.
#include <benchmark/benchmark.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "util/coding/bit_run.h"
#include "util/coding/bitcoding.h"
#include "util/coding/coder.h"

namespace {

constexpr int kFields = 1 << 16;
constexpr unsigned kSeed = 20261121;

struct Field {
  std::uint32_t value;
  int bits;
};

// `max_bits` above 0: widths from 1 to it at random. Below: always that width.
std::vector<Field> MakeFields(std::int64_t max_bits) {
  std::mt19937 random(kSeed);
  std::vector<Field> fields(kFields);
  for (Field& field : fields) {
    field.bits = max_bits > 0 ? static_cast<int>(random() % static_cast<unsigned>(max_bits)) + 1
                              : static_cast<int>(-max_bits);
    field.value = static_cast<std::uint32_t>(random()) &
                  static_cast<std::uint32_t>(BitEncoder::mask_[static_cast<unsigned>(field.bits)]);
  }
  return fields;
}

void CountFields(benchmark::State* state, std::size_t bytes) {
  state->SetItemsProcessed(state->iterations() * kFields);
  state->SetBytesProcessed(state->iterations() * static_cast<std::int64_t>(bytes));
}

class PlainWriter {
 public:
  explicit PlainWriter(char* out) : out_(out), start_(out) {}
  void Put(std::uint64_t v, int n) {
    word_ |= v << count_;
    count_ += n;
    std::memcpy(out_, &word_, sizeof(word_));
    out_ += count_ >> 3;
    word_ >>= count_ & ~7;
    count_ &= 7;
  }
  std::size_t size() const { return static_cast<std::size_t>(out_ - start_) + 1; }

 private:
  char* out_;
  char* start_;
  std::uint64_t word_ = 0;
  int count_ = 0;
};

// Shifts whole 64-bit words out, as the textbook has it.
class PlainWordWriter {
 public:
  explicit PlainWordWriter(char* out) : out_(out), start_(out) {}
  void Put(std::uint64_t v, int n) {
    word_ |= v << count_;
    count_ += n;
    if (count_ >= 64) {
      std::memcpy(out_, &word_, sizeof(word_));
      out_ += sizeof(word_);
      count_ -= 64;
      word_ = count_ == 0 ? 0 : v >> (n - count_);
    }
  }
  std::size_t size() const { return static_cast<std::size_t>(out_ - start_) + 8; }

 private:
  char* out_;
  char* start_;
  std::uint64_t word_ = 0;
  int count_ = 0;
};

class PlainReader {
 public:
  explicit PlainReader(const char* in) : in_(in) {}
  std::uint32_t Get(int n) {
    std::uint64_t word;
    std::memcpy(&word, in_ + (position_ >> 3), sizeof(word));
    word >>= position_ & 7;
    position_ += static_cast<std::size_t>(n);
    return static_cast<std::uint32_t>(word & ((std::uint64_t{1} << n) - 1));
  }

 private:
  const char* in_;
  std::size_t position_ = 0;
};

class PlainWordReader {
 public:
  explicit PlainWordReader(const char* in) : in_(in) {}
  std::uint32_t Get(int n) {
    std::uint64_t value = word_;
    if (n > count_) {
      std::memcpy(&word_, in_, sizeof(word_));
      in_ += sizeof(word_);
      value |= word_ << count_;
      const int fresh = n - count_;
      word_ >>= fresh;
      count_ = 64 - fresh;
    } else {
      word_ >>= n;
      count_ -= n;
    }
    return static_cast<std::uint32_t>(value & ((std::uint64_t{1} << n) - 1));
  }

 private:
  const char* in_;
  std::uint64_t word_ = 0;
  int count_ = 0;
};

template <typename Writer>
void PutPlain(benchmark::State& state) {
  const std::vector<Field> fields = MakeFields(state.range(0));
  std::vector<char> buffer(kFields * 4 + 16);
  std::size_t bytes = 0;
  for (auto _ : state) {
    Writer writer(buffer.data());
    for (const Field& field : fields) {
      writer.Put(field.value, field.bits);
    }
    bytes = writer.size();
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

void PutBits(benchmark::State& state) {
  const std::vector<Field> fields = MakeFields(state.range(0));
  std::vector<char> buffer(kFields * 4 + 16);
  std::size_t bytes = 0;
  for (auto _ : state) {
    BitEncoder encoder(buffer.data(), buffer.size());
    for (const Field& field : fields) {
      encoder.PutBits(field.value, field.bits);
    }
    encoder.Flush();
    bytes = encoder.encoder().length();
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

// As the coders of meshes put fields: room for a block of them at once.
void PutRun(benchmark::State& state) {
  constexpr std::size_t kBlock = 256;
  const std::vector<Field> fields = MakeFields(state.range(0));
  std::size_t bytes = 0;
  for (auto _ : state) {
    BitEncoder encoder;
    encoder.mutable_encoder()->Ensure(kFields * 4 + 64);
    {
      BitRunWriter run(&encoder);
      for (std::size_t first = 0; first < fields.size(); first += kBlock) {
        run.MakeRoom(kBlock * 32);
        for (std::size_t i = first; i < first + kBlock; ++i) {
          run.Put(fields[i].value, fields[i].bits);
        }
      }
    }
    encoder.Flush();
    bytes = encoder.encoder().length();
    benchmark::DoNotOptimize(encoder.encoder().base());
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

std::string Written(const std::vector<Field>& fields) {
  BitEncoder encoder;
  for (const Field& field : fields) {
    encoder.PutBits(field.value, field.bits);
  }
  encoder.Flush();
  return std::string(encoder.encoder().base(), encoder.encoder().length());
}

template <typename Reader>
void GetPlain(benchmark::State& state) {
  const std::vector<Field> fields = MakeFields(state.range(0));
  const std::string stream = Written(fields);
  // Room for the loads that reach behind the end.
  const std::string padded = stream + std::string(16, '\0');
  for (auto _ : state) {
    Reader reader(padded.data());
    std::uint32_t sum = 0;
    for (const Field& field : fields) {
      sum += reader.Get(field.bits);
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, stream.size());
}

void GetBits(benchmark::State& state) {
  const std::vector<Field> fields = MakeFields(state.range(0));
  const std::string stream = Written(fields);
  for (auto _ : state) {
    BitDecoder decoder(stream.data(), stream.size());
    std::uint32_t sum = 0;
    for (const Field& field : fields) {
      std::uint32_t v = 0;
      decoder.GetBits(field.bits, &v);
      sum += v;
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, stream.size());
}

void GetRun(benchmark::State& state) {
  const std::vector<Field> fields = MakeFields(state.range(0));
  const std::string stream = Written(fields);
  for (auto _ : state) {
    BitDecoder decoder(stream.data(), stream.size());
    std::uint32_t sum = 0;
    std::size_t i = 0;
    {
      BitRunReader run(&decoder);
      for (; i < fields.size() && run.has_bits(); ++i) {
        const std::uint64_t mask = (std::uint64_t{1} << fields[i].bits) - 1;
        sum += static_cast<std::uint32_t>(run.Peek() & mask);
        run.Consume(fields[i].bits);
      }
    }
    for (; i < fields.size(); ++i) {
      std::uint32_t v = 0;
      decoder.GetBits(fields[i].bits, &v);
      sum += v;
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, stream.size());
}

// Most numbers small, as counts and differences are; `bits` is the widest.
std::vector<std::uint64_t> MakeNumbers(std::int64_t bits) {
  std::mt19937_64 random(kSeed);
  std::vector<std::uint64_t> numbers(kFields);
  for (std::uint64_t& number : numbers) {
    number = random() >> (64 - 1 - random() % static_cast<std::uint64_t>(bits));
    number = number == 0 ? 1 : number;
  }
  return numbers;
}

void PutGamma(benchmark::State& state) {
  const std::vector<std::uint64_t> numbers = MakeNumbers(state.range(0));
  std::vector<char> buffer(kFields * 8 + 16);
  std::size_t bytes = 0;
  for (auto _ : state) {
    BitEncoder encoder(buffer.data(), buffer.size());
    for (const std::uint64_t number : numbers) {
      encoder.PutGamma(static_cast<std::uint32_t>(number));
    }
    encoder.Flush();
    bytes = encoder.encoder().length();
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

void GetGamma(benchmark::State& state) {
  BitEncoder encoder;
  for (const std::uint64_t number : MakeNumbers(state.range(0))) {
    encoder.PutGamma(static_cast<std::uint32_t>(number));
  }
  encoder.Flush();
  for (auto _ : state) {
    BitDecoder decoder(encoder.encoder().base(), encoder.encoder().length());
    std::uint32_t sum = 0;
    for (int i = 0; i < kFields; ++i) {
      std::uint32_t v = 0;
      decoder.GetGamma(&v);
      sum += v;
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, encoder.encoder().length());
}

void PutVarint(benchmark::State& state) {
  const std::vector<std::uint64_t> numbers = MakeNumbers(state.range(0));
  std::vector<char> buffer(kFields * 10);
  std::size_t bytes = 0;
  for (auto _ : state) {
    char* p = buffer.data();
    for (const std::uint64_t number : numbers) {
      p = state.range(0) <= 32 ? Varint::Encode32(p, static_cast<std::uint32_t>(number))
                               : Varint::Encode64(p, number);
    }
    bytes = static_cast<std::size_t>(p - buffer.data());
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

void PutVarintProtobuf(benchmark::State& state) {
  const std::vector<std::uint64_t> numbers = MakeNumbers(state.range(0));
  std::vector<char> buffer(kFields * 10);
  std::size_t bytes = 0;
  for (auto _ : state) {
    google::protobuf::io::ArrayOutputStream array(buffer.data(), static_cast<int>(buffer.size()));
    google::protobuf::io::CodedOutputStream out(&array);
    for (const std::uint64_t number : numbers) {
      if (state.range(0) <= 32) {
        out.WriteVarint32(static_cast<std::uint32_t>(number));
      } else {
        out.WriteVarint64(number);
      }
    }
    out.Trim();
    bytes = static_cast<std::size_t>(out.ByteCount());
    benchmark::ClobberMemory();
  }
  CountFields(&state, bytes);
}

std::string Varints(std::int64_t bits) {
  std::string stream;
  for (const std::uint64_t number : MakeNumbers(bits)) {
    Varint::Append64Slow(&stream, number);
  }
  return stream;
}

void GetVarint(benchmark::State& state) {
  const std::string stream = Varints(state.range(0));
  for (auto _ : state) {
    Decoder decoder(stream.data(), stream.size());
    std::uint64_t sum = 0;
    if (state.range(0) <= 32) {
      for (std::uint32_t v = 0; decoder.get_varint32(&v);) {
        sum += v;
      }
    } else {
      for (std::uint64_t v = 0; decoder.get_varint64(&v);) {
        sum += v;
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, stream.size());
}

void GetVarintProtobuf(benchmark::State& state) {
  const std::string stream = Varints(state.range(0));
  for (auto _ : state) {
    google::protobuf::io::CodedInputStream in(reinterpret_cast<const std::uint8_t*>(stream.data()),
                                              static_cast<int>(stream.size()));
    std::uint64_t sum = 0;
    if (state.range(0) <= 32) {
      for (std::uint32_t v = 0; in.ReadVarint32(&v);) {
        sum += v;
      }
    } else {
      for (std::uint64_t v = 0; in.ReadVarint64(&v);) {
        sum += v;
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, stream.size());
}

template <int (*Log2)(std::uint32_t)>
void Logarithm(benchmark::State& state) {
  const std::vector<std::uint64_t> numbers = MakeNumbers(32);
  for (auto _ : state) {
    int sum = 0;
    for (const std::uint64_t number : numbers) {
      sum += Log2(static_cast<std::uint32_t>(number));
    }
    benchmark::DoNotOptimize(sum);
  }
  CountFields(&state, 0);
}

int Log2ByTable(std::uint32_t v) {
  int log = 0;
  for (; v > 255; v >>= 8) {
    log += 8;
  }
  return log + BitEncoder::log2_table_[v];
}

// 12 and 32: widths from 1 to that at random; -10: always ten bits.
#define BIT_WIDTHS ->Arg(12)->Arg(32)->Arg(-10)
BENCHMARK(PutBits) BIT_WIDTHS;
BENCHMARK(PutRun) BIT_WIDTHS;
BENCHMARK_TEMPLATE(PutPlain, PlainWriter) BIT_WIDTHS;
BENCHMARK_TEMPLATE(PutPlain, PlainWordWriter) BIT_WIDTHS;
BENCHMARK(GetBits) BIT_WIDTHS;
BENCHMARK(GetRun) BIT_WIDTHS;
BENCHMARK_TEMPLATE(GetPlain, PlainReader) BIT_WIDTHS;
BENCHMARK_TEMPLATE(GetPlain, PlainWordReader) BIT_WIDTHS;
BENCHMARK(PutGamma)->Arg(8)->Arg(24);
BENCHMARK(GetGamma)->Arg(8)->Arg(24);
// Numbers of up to so many bits.
BENCHMARK(PutVarint)->Arg(7)->Arg(14)->Arg(32)->Arg(64);
BENCHMARK(PutVarintProtobuf)->Arg(7)->Arg(14)->Arg(32)->Arg(64);
BENCHMARK(GetVarint)->Arg(7)->Arg(14)->Arg(32)->Arg(64);
BENCHMARK(GetVarintProtobuf)->Arg(7)->Arg(14)->Arg(32)->Arg(64);
BENCHMARK_TEMPLATE(Logarithm, Log2ByTable);
BENCHMARK_TEMPLATE(Logarithm, Bits::Log2Floor_Portable);
BENCHMARK_TEMPLATE(Logarithm, Bits::Log2FloorNonZero);

}  // namespace
