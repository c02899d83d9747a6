// SPDX-License-Identifier: Apache-2.0
#include "host/text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace nimbara {
namespace {

constexpr std::int8_t kNoDigit = -1;

// The value of every character in either alphabet, or kNoDigit.
constexpr std::array<std::int8_t, 256> MakeBase64Digits() {
  std::array<std::int8_t, 256> digits{};
  for (std::size_t i = 0; i < digits.size(); ++i) {
    digits[i] = kNoDigit;
  }
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < 64; ++i) {
    digits[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
  }
  digits[static_cast<unsigned char>('-')] = 62;
  digits[static_cast<unsigned char>('_')] = 63;
  return digits;
}

constexpr std::array<std::int8_t, 256> kBase64Digits = MakeBase64Digits();

int Base64Digit(char c) {
  return kBase64Digits[static_cast<unsigned char>(c)];
}

// Decodes whole groups of four digits, up to the first that has anything else among them.
void DecodeGroups(const char** text, const char* end, char** out) {
  while (end - *text >= 4) {
    const char* const in = *text;
    const int a = Base64Digit(in[0]);
    const int b = Base64Digit(in[1]);
    const int c = Base64Digit(in[2]);
    const int d = Base64Digit(in[3]);
    if ((a | b | c | d) < 0) {
      return;
    }
    const int group = a << 18 | b << 12 | c << 6 | d;
    (*out)[0] = static_cast<char>(group >> 16);
    (*out)[1] = static_cast<char>(group >> 8);
    (*out)[2] = static_cast<char>(group);
    *text += 4;
    *out += 3;
  }
}

}  // namespace

const QString& QStringNull() {
  // Never destroyed: static destructors of other libraries may still read it.
  static const QString* const null_string = new QString();
  return *null_string;
}

QByteArray Base64Decode(const char* text) {
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length == 0 || length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return QByteArray();
  }
  QByteArray bytes(static_cast<int>(length / 4 * 3 + 3), Qt::Uninitialized);
  char* out = bytes.data();
  const char* const end = text + length;
  std::uint32_t bits = 0;
  int bit_count = 0;
  for (;;) {
    if (bit_count == 0) {
      DecodeGroups(&text, end, &out);
    }
    if (text == end) {
      break;
    }
    const int digit = Base64Digit(*text++);
    if (digit == kNoDigit) {
      continue;
    }
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    bit_count += 6;
    if (bit_count >= 8) {
      bit_count -= 8;
      *out++ = static_cast<char>(bits >> bit_count);
    }
  }
  bytes.truncate(static_cast<int>(out - bytes.constData()));
  return bytes;
}

QByteArray Base64Encode(const void* data, int length) {
  if (data == nullptr || length <= 0) {
    return QByteArray();
  }
  return QByteArray::fromRawData(static_cast<const char*>(data), length)
      .toBase64(QByteArray::Base64UrlEncoding);
}

}  // namespace nimbara
