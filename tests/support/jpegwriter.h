/// @file
/// Pictures to JPEG files by libjpeg, in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include <jpeglib.h>

namespace jpegwriter {

using Bytes = std::vector<uint8_t>;

/// A file by one compressor: `write` gets it with an error manager and a destination.
inline Bytes fileBy(const std::function<void(jpeg_compress_struct&)>& write) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  write(c);
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  Bytes file(memory, memory + size);
  std::free(memory);
  return file;
}

/// A picture of three interleaved channels. `set` may change the compressor's settings.
inline Bytes file(const Bytes& rgb, int width, int height, int quality,
                  const std::function<void(j_compress_ptr)>& set = nullptr) {
  return fileBy([&](jpeg_compress_struct& c) {
    c.image_width = JDIMENSION(width);
    c.image_height = JDIMENSION(height);
    c.input_components = 3;
    c.in_color_space = JCS_RGB;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, quality, TRUE);
    if (set) set(&c);
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
      JSAMPROW row = const_cast<uint8_t*>(&rgb[size_t{c.next_scanline} * size_t(width) * 3]);
      jpeg_write_scanlines(&c, &row, 1);
    }
  });
}

}  // namespace jpegwriter
