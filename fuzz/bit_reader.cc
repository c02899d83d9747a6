// SPDX-License-Identifier: Apache-2.0
// A bit stream and the requests made of it, both from the input: each request is one byte, the rest
// is the stream. The reader must answer as its bit-by-bit twin, also beyond the end.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/util/coding/bit_twins.h"
#include "util/coding/bitcoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::size_t requests = std::min<std::size_t>(size / 2, 64);
  const char* const stream = reinterpret_cast<const char*>(data) + requests;
  BitDecoder decoder(stream, size - requests);
  test_support::BitReaderTwin twin(std::string(stream, size - requests));
  for (std::size_t i = 0; i < requests; ++i) {
    std::uint32_t v = 77;
    std::uint32_t expected = 77;
    bool good = false;
    bool expected_good = false;
    if (data[i] >= 0xE0) {
      good = decoder.GetUnary(&v);
      expected_good = twin.GetUnary(&expected);
    } else if (data[i] >= 0xC0) {
      good = decoder.GetGamma(&v);
      expected_good = twin.GetGamma(&expected);
    } else {
      good = decoder.GetBits(data[i], &v);
      expected_good = twin.GetBits(data[i], &expected);
    }
    if (good != expected_good || v != expected || decoder.bytes_loaded() != twin.bytes_loaded() ||
        static_cast<std::size_t>(decoder.bits_in_hand()) != twin.bits_in_hand() ||
        decoder.at_end() != twin.at_end()) {
      std::abort();
    }
  }
  return 0;
}
