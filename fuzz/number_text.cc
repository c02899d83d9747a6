// SPDX-License-Identifier: Apache-2.0
// Text that claims to be a number: the first byte chooses the base, the rest is the text. Whatever
// it is, each type must read what an integer too wide to overflow reads, leave its value alone
// otherwise, and never look behind the text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "strings/numbers.h"
#include "tests/strings/number_twin.h"

namespace {

template <typename Number>
void Compare(bool (*parse)(StringPiece, Number*, int), StringPiece text, int base) {
  constexpr Number kBefore = 77;
  Number value = kBefore;
  const bool parsed = parse(text, &value, base);
  const auto expected =
      test_support::NumberTwin<Number>(std::string(text.begin(), text.end()), base);
  if (parsed != expected.has_value() || value != expected.value_or(kBefore)) {
    std::abort();
  }
}

// The C forms agree with the others on what fits and has no oddities of theirs: a minus before an
// unsigned number.
void CompareWithCText(const std::string& text, int base) {
  int number = 0;
  int c_number = 0;
  const bool whole = text.find('\0') == std::string::npos;
  const bool parsed = safe_strto32_base(text, &number, base);
  const bool c_parsed = safe_strto32_base(text.c_str(), &c_number, base);
  if (whole && (parsed != c_parsed || number != c_number)) {
    std::abort();
  }
  ParseLeadingDec32Value(text.c_str(), 0);
  ParseLeadingInt32Value(text.c_str(), 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const int base = data[0] % 40 - 1;
  const StringPiece text(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size - 1));
  Compare<int>(&safe_strto32_base, text, base);
  Compare<long long>(&safe_strto64_base, text, base);
  Compare<unsigned>(&safe_strtou32_base, text, base);
  Compare<unsigned long long>(&safe_strtou64_base, text, base);
  CompareWithCText(std::string(text.begin(), text.end()), base);
  return 0;
}
