// The JPEG codec beside libjpeg-turbo, and dcmtk in the lossless process.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <cstdlib>
#include <memory>

#include "codecbench.h"
#include "jpeg.h"
#ifdef TAZMET_DCMTK
#include "losslesspeer.h"
#endif

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;

struct Setting {
  jpeg::Mode mode = jpeg::Mode::baseline;
  jpeg::Sampling sampling = jpeg::Sampling::s420;
  int quality = 75;
  bool isGray = false;
  bool optimize = false;
};

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_codecs: %s\n", what);
  std::exit(1);
}

// ---- ours ----

size_t encodeOurs(const Photo& photo, const Setting& s, Bytes* file) {
  jpeg::Encoder encoder;
  jpeg::EncodeOptions& o = encoder.options();
  o.mode = s.mode;
  o.sampling = s.sampling;
  o.quality = s.quality;
  o.optimize = s.optimize;
  o.color = s.mode == jpeg::Mode::lossless ? jpeg::Color::rgb
            : s.isGray                     ? jpeg::Color::gray
                                           : jpeg::Color::ycbcr;
  const jpeg::ImageShape shape{photo.width, photo.height, photo.channels, 8,
                               s.isGray ? jpeg::Color::gray : jpeg::Color::rgb};
  jpeg::Status status = encoder.setSource(shape, photo.pixels.data());
  if (!isError(status)) status = encoder.setDestination(file->data(), file->size());
  if (!isError(status)) status = encoder.writeHeader();
  if (!isError(status)) status = encoder.writeData();
  require(status == jpeg::Status::ok, statusText(status));
  return encoder.size();
}

void decodeOurs(const Bytes& file, Bytes* pixels) {
  jpeg::Decoder decoder;
  jpeg::Status status = decoder.setSource(file);
  if (!isError(status)) status = decoder.setDestination(pixels->data(), pixels->size());
  if (!isError(status)) status = decoder.readHeader();
  if (!isError(status)) status = decoder.readData();
  require(status == jpeg::Status::ok, statusText(status));
}

// ---- the peer ----

size_t encodePeer(const Photo& photo, const Setting& s, Bytes* file) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = file->data();
  unsigned long size = file->size();
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = JDIMENSION(photo.width);
  c.image_height = JDIMENSION(photo.height);
  c.input_components = photo.channels;
  c.in_color_space = s.isGray ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, s.quality, TRUE);
  if (!s.isGray) {
    c.comp_info[0].h_samp_factor = s.sampling == jpeg::Sampling::s444 ? 1 : 2;
    c.comp_info[0].v_samp_factor = s.sampling == jpeg::Sampling::s420 ? 2 : 1;
  }
  c.optimize_coding = s.optimize ? TRUE : FALSE;
  if (s.mode == jpeg::Mode::progressive) jpeg_simple_progression(&c);
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW rows[16];
    const JDIMENSION left = c.image_height - c.next_scanline;
    for (JDIMENSION i = 0; i < 16 && i < left; ++i) {
      rows[i] = const_cast<uint8_t*>(
          &photo.pixels[size_t(c.next_scanline + i) * size_t(photo.width * photo.channels)]);
    }
    jpeg_write_scanlines(&c, rows, left < 16 ? left : 16);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  require(memory == file->data(), "the peer's file is longer than its pixels");
  return size;
}

void decodePeer(const Bytes& file, Bytes* pixels) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  jpeg_start_decompress(&d);
  const size_t step = size_t(d.output_width) * size_t(d.output_components);
  while (d.output_scanline < d.output_height) {
    JSAMPROW rows[16];
    const JDIMENSION left = d.output_height - d.output_scanline;
    for (JDIMENSION i = 0; i < 16 && i < left; ++i) {
      rows[i] = pixels->data() + (d.output_scanline + i) * step;
    }
    jpeg_read_scanlines(&d, rows, left < 16 ? left : 16);
  }
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
}

// ---- workloads ----

Photo grayOf(const Photo& photo) {
  Photo gray{photo.name, photo.width, photo.height, 1, {}};
  for (size_t i = 0; i < photo.pixels.size(); i += 3) {
    const uint8_t* const p = &photo.pixels[i];
    gray.pixels.push_back(uint8_t((299 * p[0] + 587 * p[1] + 114 * p[2] + 500) / 1000));
  }
  return gray;
}

// What a performance works on.
struct Job {
  Photo photo;
  Setting setting;
  Bytes file, pixels;
};

std::shared_ptr<Job> jobOf(const Photo& photo, const Setting& setting) {
  auto job = std::make_shared<Job>();
  job->photo = setting.isGray ? grayOf(photo) : photo;
  job->setting = setting;
  job->pixels.resize(job->photo.pixels.size());
  job->file.resize(job->photo.pixels.size() * 2 + 4096);
  return job;
}

Workload encoding(const std::string& name, const Setting& setting, double must, double aim,
                  double mustAtAvx2) {
  return {"encode " + name, must, aim, mustAtAvx2, [setting](const Photo& photo) {
            const auto job = jobOf(photo, setting);
            Work work{[job] { encodeOurs(job->photo, job->setting, &job->file); }, nullptr};
            if (setting.mode != jpeg::Mode::lossless) {
              work.peer = [job] { encodePeer(job->photo, job->setting, &job->file); };
            }
#ifdef TAZMET_DCMTK
            else {
              work.peer = [job] { encodeLosslessPeer(job->photo, &job->file); };
            }
#endif
            return work;
          }};
}

Workload decoding(const std::string& name, const Setting& setting, double must, double aim,
                  double mustAtAvx2) {
  return {"decode " + name, must, aim, mustAtAvx2, [setting](const Photo& photo) {
            const auto job = jobOf(photo, setting);
            const bool isLossless = setting.mode == jpeg::Mode::lossless;
            job->file.resize(isLossless ? encodeOurs(job->photo, setting, &job->file)
                                        : encodePeer(job->photo, setting, &job->file));
            Work work{[job] { decodeOurs(job->file, &job->pixels); }, nullptr};
            if (!isLossless) work.peer = [job] { decodePeer(job->file, &job->pixels); };
#ifdef TAZMET_DCMTK
            if (isLossless) work.peer = [job] { decodeLosslessPeer(job->file, &job->pixels); };
#endif
            return work;
          }};
}

}  // namespace

bool benchJpegCodec(const std::vector<Photo>& photos, const std::string& filter) {
  using jpeg::Mode;
  using jpeg::Sampling;
  bool reached = true;
  const auto run = [&](const Workload& w) { reached &= runWorkload(w, photos, filter); };
  struct Shape {
    const char* name;
    Sampling sampling;
    bool isGray;
  };
  for (const int quality : {75, 90}) {
    for (const Shape& shape : {Shape{"4:2:0", Sampling::s420, false},
                               {"4:2:2", Sampling::s422, false},
                               {"4:4:4", Sampling::s444, false},
                               {"grey", Sampling::s444, true}}) {
      const std::string name = std::string(shape.name) + " q" + std::to_string(quality);
      const Setting s{Mode::baseline, shape.sampling, quality, shape.isGray, false};
      run(encoding(name, s, .65, .5, .85));
      run(decoding(name, s, .6, .45, .7));
    }
  }
  const Setting optimized{Mode::baseline, Sampling::s420, 90, false, true};
  run(encoding("optimised 4:2:0 q90", optimized, .45, .3, 0));
  const Setting progressive{Mode::progressive, Sampling::s420, 90, false, false};
  run(encoding("progressive 4:2:0 q90", progressive, .45, .3, 0));
  run(decoding("progressive 4:2:0 q90", progressive, .6, .42, 0));
  const Setting lossless{Mode::lossless, Sampling::s444, 90, false, false};
  run(encoding("lossless RGB", lossless, .2, .12, 0));
  run(decoding("lossless RGB", lossless, .75, .6, 0));
  return reached;
}

}  // namespace bench
