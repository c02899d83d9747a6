// SPDX-License-Identifier: Apache-2.0
#include "tests/support/gzip.h"

#include <zlib.h>

namespace nimbara {
namespace testing_support {

std::string Gzip(const std::string& text) {
  constexpr int kGzipFrame = 15 + 16;
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, kGzipFrame, 9, Z_DEFAULT_STRATEGY);
  std::string in = text;
  std::string out(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(&in[0]);
  stream.avail_in = static_cast<uInt>(in.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

}  // namespace testing_support
}  // namespace nimbara
