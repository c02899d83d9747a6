// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/jpeg_header.h"

#include <csetjmp>
#include <cstdio>
// libjpeg needs the two above.
#include <jerror.h>
#include <jpeglib.h>

#include <utility>

namespace pelorin {
namespace {

// The state of one reading. libjpeg hands back its first member, which leads to the rest.
struct Reader {
  jpeg_error_mgr errors;
  jmp_buf failed;
  char message[JMSG_LENGTH_MAX];
  jpeg_decompress_struct decoder;
  const JOCTET* file;
  JpegHeader header;
};

// libjpeg's way out of an error. Nothing with a destructor is alive between here and the `setjmp`.
[[noreturn]] void OnError(j_common_ptr common) {
  auto* const reader = reinterpret_cast<Reader*>(common->err);
  common->err->format_message(common, reader->message);
  longjmp(reader->failed, 1);
}

void OnMessage(j_common_ptr /*common*/) {}

// Called for each comment and application segment with the source behind its marker.
boolean OnSegment(j_decompress_ptr decoder) {
  auto* const reader = reinterpret_cast<Reader*>(decoder->err);
  jpeg_source_mgr* const source = decoder->src;
  if (source->bytes_in_buffer < 2) {
    ERREXIT(decoder, JERR_INPUT_EOF);
  }
  const JOCTET* const at = source->next_input_byte;
  const std::size_t length = static_cast<std::size_t>(at[0]) << 8 | at[1];
  if (length < 2) {
    ERREXIT(decoder, JERR_BAD_LENGTH);
  }
  if (length > source->bytes_in_buffer) {
    ERREXIT(decoder, JERR_INPUT_EOF);
  }
  JpegSegment segment;
  segment.code = decoder->unread_marker;
  segment.begin = static_cast<std::size_t>(at - reader->file) - 2;
  segment.end = segment.begin + 2 + length;
  segment.content = {reinterpret_cast<const char*>(at) + 2, length - 2};
  reader->header.segments.push_back(segment);
  source->next_input_byte += length;
  source->bytes_in_buffer -= length;
  return TRUE;
}

bool Run(std::string_view bytes, Reader* reader) {
  jpeg_decompress_struct* const decoder = &reader->decoder;
  decoder->err = jpeg_std_error(&reader->errors);
  reader->errors.error_exit = &OnError;
  reader->errors.output_message = &OnMessage;
  if (setjmp(reader->failed) != 0) {
    jpeg_destroy_decompress(decoder);
    return false;
  }
  jpeg_create_decompress(decoder);
  jpeg_mem_src(decoder, reader->file, static_cast<unsigned long>(bytes.size()));
  jpeg_set_marker_processor(decoder, JPEG_COM, &OnSegment);
  for (int number = 0; number < 16; ++number) {
    jpeg_set_marker_processor(decoder, JPEG_APP0 + number, &OnSegment);
  }
  jpeg_read_header(decoder, TRUE);
  reader->header.width = static_cast<int>(decoder->image_width);
  reader->header.height = static_cast<int>(decoder->image_height);
  jpeg_destroy_decompress(decoder);
  return true;
}

}  // namespace

bool ReadJpegHeader(std::string_view bytes, JpegHeader* header, std::string* error) {
  if (bytes.empty()) {
    *error = "is empty";  // libjpeg takes no empty memory.
    return false;
  }
  Reader reader{};
  reader.file = reinterpret_cast<const JOCTET*>(bytes.data());
  if (!Run(bytes, &reader)) {
    *error = std::string("is no JPEG file that can be read: ") + reader.message;
    return false;
  }
  *header = std::move(reader.header);
  return true;
}

}  // namespace pelorin
