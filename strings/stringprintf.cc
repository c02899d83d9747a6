// SPDX-License-Identifier: Apache-2.0
#include "strings/stringprintf.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <utility>

#include "base/logging.h"

namespace {

// A first or second attempt needs the arguments anew, since an attempt uses its list up.
int Format(char* buffer, std::size_t size, const char* format, std::va_list ap)
    __attribute__((format(printf, 3, 0)));

int Format(char* buffer, std::size_t size, const char* format, std::va_list ap) {
  std::va_list copy;
  va_copy(copy, ap);
  const int result = std::vsnprintf(buffer, size, format, copy);
  va_end(copy);
  return result;
}

template <std::size_t... Index>
std::string PrintAll(const char* format, const std::array<const char*, sizeof...(Index)>& texts,
                     std::index_sequence<Index...> /*all*/) {
  return StringPrintf(format, texts[Index]...);
}

}  // namespace

void StringAppendV(std::string* dst, const char* format, std::va_list ap) {
  char stack_buffer[1024];
  const int result = Format(stack_buffer, sizeof(stack_buffer), format, ap);
  if (result < 0) {
    return;
  }
  const auto length = static_cast<std::size_t>(result);
  if (length < sizeof(stack_buffer)) {
    dst->append(stack_buffer, length);
    return;
  }
  const std::unique_ptr<char[]> heap_buffer(new char[length + 1]);
  const int second = Format(heap_buffer.get(), length + 1, format, ap);
  if (second >= 0 && second <= result) {
    dst->append(heap_buffer.get(), static_cast<std::size_t>(second));
  }
}

std::string StringPrintf(const char* format, ...) {
  std::string text;
  std::va_list ap;
  va_start(ap, format);
  StringAppendV(&text, format, ap);
  va_end(ap);
  return text;
}

const std::string& SStringPrintf(std::string* dst, const char* format, ...) {
  std::string text;
  std::va_list ap;
  va_start(ap, format);
  StringAppendV(&text, format, ap);
  va_end(ap);
  dst->swap(text);
  return *dst;
}

void StringAppendF(std::string* dst, const char* format, ...) {
  std::va_list ap;
  va_start(ap, format);
  StringAppendV(dst, format, ap);
  va_end(ap);
}

std::string StringPrintfVector(const char* format, const std::vector<std::string>& v) {
  PELORIN_CHECK_LE(v.size(), kStringPrintfVectorMaxArgs)
      << "StringPrintfVector currently only supports up to " << kStringPrintfVectorMaxArgs
      << " arguments. "
      << "Feel free to add support for more if you need it.";
  std::array<const char*, kStringPrintfVectorMaxArgs> texts;
  texts.fill("");
  const std::size_t count = std::min(v.size(), texts.size());
  std::transform(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(count), texts.begin(),
                 [](const std::string& text) { return text.c_str(); });
  return PrintAll(format, texts, std::make_index_sequence<kStringPrintfVectorMaxArgs>());
}
