// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/jpeg_writer.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
// libjpeg needs the two above.
#include <jpeglib.h>

namespace pelorin {
namespace {

constexpr std::size_t kMaxComment = 65533;

// The state of one writing. libjpeg hands back its first member, which leads to the rest.
struct Writer {
  jpeg_error_mgr errors;
  jmp_buf failed;
  jpeg_compress_struct encoder;
  unsigned char* file;
  unsigned long size;
};

[[noreturn]] void OnError(j_common_ptr common) {
  longjmp(reinterpret_cast<Writer*>(common->err)->failed, 1);
}

void OnMessage(j_common_ptr /*common*/) {}

bool Run(const RgbImage& image, std::string_view comment, int quality, Writer* writer) {
  jpeg_compress_struct* const encoder = &writer->encoder;
  encoder->err = jpeg_std_error(&writer->errors);
  writer->errors.error_exit = &OnError;
  writer->errors.output_message = &OnMessage;
  if (setjmp(writer->failed) != 0) {
    jpeg_destroy_compress(encoder);
    return false;
  }
  jpeg_create_compress(encoder);
  jpeg_mem_dest(encoder, &writer->file, &writer->size);
  encoder->image_width = static_cast<JDIMENSION>(image.width);
  encoder->image_height = static_cast<JDIMENSION>(image.height);
  encoder->input_components = 3;
  encoder->in_color_space = JCS_RGB;
  jpeg_set_defaults(encoder);
  jpeg_set_quality(encoder, quality, TRUE);
  jpeg_start_compress(encoder, TRUE);
  if (!comment.empty()) {
    jpeg_write_marker(encoder, JPEG_COM, reinterpret_cast<const JOCTET*>(comment.data()),
                      static_cast<unsigned int>(comment.size()));
  }
  const std::size_t stride = static_cast<std::size_t>(image.width) * 3;
  while (encoder->next_scanline < encoder->image_height) {
    // libjpeg only reads the row.
    JSAMPROW row = const_cast<JSAMPROW>(image.pixels.data() + encoder->next_scanline * stride);
    jpeg_write_scanlines(encoder, &row, 1);
  }
  jpeg_finish_compress(encoder);
  jpeg_destroy_compress(encoder);
  return true;
}

}  // namespace

std::string WriteJpeg(const RgbImage& image, std::string_view comment, int quality) {
  if (image.width < 1 || image.height < 1 || comment.size() > kMaxComment ||
      image.pixels.size() !=
          static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3) {
    return {};
  }
  Writer writer{};
  std::string file;
  if (Run(image, comment, quality, &writer)) {
    file.assign(reinterpret_cast<const char*>(writer.file), writer.size);
  }
  std::free(writer.file);
  return file;
}

}  // namespace pelorin
