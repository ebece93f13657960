// libjpeg as the judge: its pixels, coefficients and files.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <cstdlib>
#include <stdexcept>

#include "jpegkit.h"

namespace jpegkit {

using jpeg::Color;

namespace {

[[noreturn]] void fail(j_common_ptr info) {
  char text[JMSG_LENGTH_MAX];
  info->err->format_message(info, text);
  throw std::runtime_error(text);
}

J_COLOR_SPACE spaceOf(Color color) {
  switch (color) {
    case Color::gray:
      return JCS_GRAYSCALE;
    case Color::rgb:
      return JCS_RGB;
    case Color::cmyk:
      return JCS_CMYK;
    case Color::ycbcr:
      return JCS_YCbCr;
    case Color::ycck:
      return JCS_YCCK;
    default:
      return JCS_UNKNOWN;
  }
}

Color colorOfSpace(J_COLOR_SPACE space) {
  for (const Color c : {Color::gray, Color::rgb, Color::cmyk, Color::ycbcr, Color::ycck}) {
    if (spaceOf(c) == space) return c;
  }
  return Color::unknown;
}

/// A file that the peer reads, given up when the peer refuses it, too.
struct Reading {
  explicit Reading(const Bytes& file) {
    d.err = jpeg_std_error(&errors);
    errors.error_exit = fail;
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), file.size());
  }
  ~Reading() { jpeg_destroy_decompress(&d); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  jpeg_decompress_struct d{};
  jpeg_error_mgr errors{};
};

}  // namespace

Bytes peerEncode(const Picture& picture, const PeerEncode& options) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  errors.error_exit = fail;
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = JDIMENSION(picture.shape.width);
  c.image_height = JDIMENSION(picture.shape.height);
  c.input_components = picture.shape.channels;
  c.in_color_space = spaceOf(picture.shape.color);
  jpeg_set_defaults(&c);
  if (options.color != Color::unknown) jpeg_set_colorspace(&c, spaceOf(options.color));
  jpeg_set_quality(&c, options.quality, TRUE);
  for (size_t i = 0; i < options.factors.size(); ++i) {
    c.comp_info[i].h_samp_factor = options.factors[i].first;
    c.comp_info[i].v_samp_factor = options.factors[i].second;
  }
  c.restart_interval = unsigned(options.restartInterval);
  c.optimize_coding = options.optimize ? TRUE : FALSE;
  c.arith_code = options.isArithmetic ? TRUE : FALSE;
  std::vector<jpeg_scan_info> scans;
  for (const jpeg::ScriptScan& s : options.script) {
    jpeg_scan_info scan{s.componentCount, {}, s.ss, s.se, s.ah, s.al};
    for (int i = 0; i < s.componentCount; ++i) scan.component_index[i] = s.component[size_t(i)];
    scans.push_back(scan);
  }
  if (!scans.empty()) {
    c.scan_info = scans.data();
    c.num_scans = int(scans.size());
  } else if (options.isProgressive) {
    jpeg_simple_progression(&c);
  }
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW row =
        const_cast<uint8_t*>(&picture.pixels[c.next_scanline * picture.shape.rowBytes()]);
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  Bytes file(memory, memory + size);
  std::free(memory);
  return file;
}

Picture peerDecode(const Bytes& file, const PeerDecode& options) {
  Reading reading(file);
  jpeg_decompress_struct& d = reading.d;
  jpeg_read_header(&d, TRUE);
  d.dct_method = JDCT_ISLOW;
  d.do_fancy_upsampling = options.smooth ? TRUE : FALSE;
  d.do_block_smoothing = FALSE;
  d.scale_num = 1;
  d.scale_denom = unsigned(options.scale);
  if (options.keepColor) d.out_color_space = d.jpeg_color_space;
  jpeg_start_decompress(&d);
  Picture p;
  p.shape = {int(d.output_width), int(d.output_height), d.output_components, 8,
             colorOfSpace(d.out_color_space)};
  p.pixels.resize(p.shape.rowBytes() * size_t(p.shape.height));
  while (d.output_scanline < d.output_height) {
    JSAMPROW row = &p.pixels[d.output_scanline * p.shape.rowBytes()];
    jpeg_read_scanlines(&d, &row, 1);
  }
  jpeg_finish_decompress(&d);
  return p;
}

std::vector<std::vector<int16_t>> peerCoefficients(const Bytes& file) {
  Reading reading(file);
  jpeg_decompress_struct& d = reading.d;
  jpeg_read_header(&d, TRUE);
  jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&d);
  std::vector<std::vector<int16_t>> components;
  for (int i = 0; i < d.num_components; ++i) {
    const jpeg_component_info& c = d.comp_info[i];
    std::vector<int16_t> blocks;
    for (JDIMENSION row = 0; row < c.height_in_blocks; ++row) {
      JBLOCKARRAY line =
          d.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&d), arrays[i], row, 1, FALSE);
      for (JDIMENSION x = 0; x < c.width_in_blocks; ++x) {
        blocks.insert(blocks.end(), line[0][x], line[0][x] + 64);
      }
    }
    components.push_back(std::move(blocks));
  }
  jpeg_finish_decompress(&d);
  return components;
}

}  // namespace jpegkit
