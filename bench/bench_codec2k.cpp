// The JPEG 2000 codec beside OpenJPEG.
#include <openjpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "codecbench.h"
#include "jpeg2000.h"

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;

struct Setting {
  bool isReversible = true;
  double ratio = 1;
};

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_codecs: %s\n", what);
  std::exit(1);
}

// ---- ours ----

std::vector<j2k::SampleView> viewsOf(const Photo& photo, uint8_t* pixels) {
  std::vector<j2k::SampleView> views;
  views.reserve(size_t(photo.channels));
  for (int c = 0; c < photo.channels; ++c) {
    views.push_back(
        {pixels + c, j2k::SampleType::u8, photo.channels, ptrdiff_t(photo.width) * photo.channels});
  }
  return views;
}

void encodeOurs(const Photo& photo, const Setting& s, Bytes* file) {
  j2k::Options options;
  options.wavelet = s.isReversible ? j2k::Wavelet::reversible53 : j2k::Wavelet::irreversible97;
  options.ratios = {s.ratio};
  options.rawStream = true;
  j2k::PictureInfo info;
  info.width = photo.width;
  info.height = photo.height;
  info.components.assign(size_t(photo.channels), {photo.width, photo.height, 8, false, 1, 1});
  j2k::Diagnostics none;
  const auto views = viewsOf(photo, const_cast<uint8_t*>(photo.pixels.data()));
  require(j2k::encodePicture(options, none, info, views, *file) == j2k::Status::ok, "encoding");
}

void decodeOurs(const Photo& photo, const Bytes& file, Bytes* pixels) {
  j2k::Diagnostics none;
  j2k::Decoder decoder({}, none);
  require(decoder.open(file) == j2k::Status::ok, "headers");
  require(decoder.decode(viewsOf(photo, pixels->data())) == j2k::Status::ok, "decoding");
}

// ---- the peer ----

// A file in memory as its library wants it.
struct Memory {
  Bytes* bytes;
  size_t position;
};

OPJ_SIZE_T readMemory(void* to, OPJ_SIZE_T count, void* user) {
  auto* const memory = static_cast<Memory*>(user);
  const size_t here = std::min<size_t>(count, memory->bytes->size() - memory->position);
  if (here == 0) return OPJ_SIZE_T(-1);
  std::memcpy(to, memory->bytes->data() + memory->position, here);
  memory->position += here;
  return here;
}

OPJ_SIZE_T writeMemory(void* from, OPJ_SIZE_T count, void* user) {
  auto* const memory = static_cast<Memory*>(user);
  if (memory->bytes->size() < memory->position + count) {
    memory->bytes->resize(memory->position + count);
  }
  std::memcpy(memory->bytes->data() + memory->position, from, count);
  memory->position += count;
  return count;
}

OPJ_OFF_T skipMemory(OPJ_OFF_T count, void* user) {
  static_cast<Memory*>(user)->position += size_t(count);
  return count;
}

OPJ_BOOL seekMemory(OPJ_OFF_T position, void* user) {
  static_cast<Memory*>(user)->position = size_t(position);
  return OPJ_TRUE;
}

using Stream = std::unique_ptr<opj_stream_t, decltype(&opj_stream_destroy)>;
using Codec = std::unique_ptr<opj_codec_t, decltype(&opj_destroy_codec)>;
using Image = std::unique_ptr<opj_image_t, decltype(&opj_image_destroy)>;

Stream streamOn(Memory* memory, bool isInput) {
  Stream stream(opj_stream_create(1 << 20, isInput ? OPJ_TRUE : OPJ_FALSE), opj_stream_destroy);
  opj_stream_set_user_data(stream.get(), memory, nullptr);
  opj_stream_set_user_data_length(stream.get(), memory->bytes->size());
  opj_stream_set_read_function(stream.get(), readMemory);
  opj_stream_set_write_function(stream.get(), writeMemory);
  opj_stream_set_skip_function(stream.get(), skipMemory);
  opj_stream_set_seek_function(stream.get(), seekMemory);
  return stream;
}

Image imageOf(const Photo& photo) {
  opj_image_cmptparm_t shape[3] = {};
  for (auto& c : shape) {
    c.dx = c.dy = 1;
    c.w = OPJ_UINT32(photo.width);
    c.h = OPJ_UINT32(photo.height);
    c.prec = 8;
  }
  Image image(opj_image_create(OPJ_UINT32(photo.channels), shape, OPJ_CLRSPC_SRGB),
              opj_image_destroy);
  image->x1 = OPJ_UINT32(photo.width);
  image->y1 = OPJ_UINT32(photo.height);
  const size_t count = size_t(photo.width) * size_t(photo.height);
  for (size_t i = 0; i < count; ++i) {
    for (size_t c = 0; c < size_t(photo.channels); ++c) {
      image->comps[c].data[i] = photo.pixels[i * size_t(photo.channels) + c];
    }
  }
  return image;
}

void encodePeer(const Photo& photo, const Setting& s, Bytes* file) {
  file->clear();
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.irreversible = s.isReversible ? 0 : 1;
  parameters.tcp_mct = 1;
  parameters.tcp_numlayers = 1;
  parameters.tcp_rates[0] = s.ratio > 1 ? float(s.ratio) : 0;
  parameters.cp_disto_alloc = 1;
  const Image image = imageOf(photo);
  const Codec codec(opj_create_compress(OPJ_CODEC_J2K), opj_destroy_codec);
  Memory memory{file, 0};
  const Stream stream = streamOn(&memory, false);
  require(opj_setup_encoder(codec.get(), &parameters, image.get()) &&
              opj_start_compress(codec.get(), image.get(), stream.get()) &&
              opj_encode(codec.get(), stream.get()) && opj_end_compress(codec.get(), stream.get()),
          "the peer's encoder");
}

void decodePeer(const Photo& photo, Bytes& file, Bytes* pixels) {
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  const Codec codec(opj_create_decompress(OPJ_CODEC_J2K), opj_destroy_codec);
  Memory memory{&file, 0};
  const Stream stream = streamOn(&memory, true);
  opj_image_t* raw = nullptr;
  const bool good = opj_setup_decoder(codec.get(), &parameters) &&
                    opj_read_header(stream.get(), codec.get(), &raw);
  const Image image(raw, opj_image_destroy);
  require(good && opj_decode(codec.get(), stream.get(), raw), "the peer's decoder");
  const size_t count = size_t(photo.width) * size_t(photo.height);
  for (size_t i = 0; i < count; ++i) {
    for (size_t c = 0; c < size_t(photo.channels); ++c) {
      (*pixels)[i * size_t(photo.channels) + c] = uint8_t(raw->comps[c].data[i]);
    }
  }
}

Workload encoding(const char* name, Setting s, double must, double aim, double mustAtAvx2) {
  return {name, must, aim, mustAtAvx2, [s](const Photo& photo) {
            const auto file = std::make_shared<Bytes>();
            return Work{[=, &photo] { encodeOurs(photo, s, file.get()); },
                        [=, &photo] { encodePeer(photo, s, file.get()); }};
          }};
}

// Both decode what the peer has encoded.
Workload decoding(const char* name, Setting s, double must, double aim, double mustAtAvx2) {
  return {name, must, aim, mustAtAvx2, [s](const Photo& photo) {
            const auto file = std::make_shared<Bytes>();
            encodePeer(photo, s, file.get());
            const auto pixels = std::make_shared<Bytes>(photo.pixels.size());
            return Work{[=, &photo] { decodeOurs(photo, *file, pixels.get()); },
                        [=, &photo] { decodePeer(photo, *file, pixels.get()); }};
          }};
}

double psnr(const Bytes& a, const Bytes& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    const double e = double(a[i]) - double(b[i]);
    sum += e * e;
  }
  return 10 * std::log10(255.0 * 255.0 * double(a.size()) / sum);
}

// Not of speed: what both make of a photograph at the same size, as the peer decodes it.
bool compareQuality(const std::vector<Photo>& photos, const std::string& filter) {
  const std::string name = "jpeg2000 9/7 quality";
  if (name.find(filter) == std::string::npos) return true;
  bool reached = true;
  for (const Photo& photo : photos) {
    for (const double bits : {.25, .5, 1.0, 2.0}) {
      Bytes theirs, ours, pixels(photo.pixels.size());
      encodePeer(photo, {false, 24 / bits}, &theirs);
      decodePeer(photo, theirs, &pixels);
      const double wanted = psnr(photo.pixels, pixels);
      encodeOurs(photo, {false, double(photo.pixels.size()) / double(theirs.size())}, &ours);
      decodePeer(photo, ours, &pixels);
      const double got = psnr(photo.pixels, pixels);
      const bool good = got >= wanted && ours.size() <= theirs.size();
      std::printf("%-34s %-36s %4.2f bits/px: %zu of %zu bytes, %.3f dB, peer %.3f dB%s\n",
                  name.c_str(), photo.name.c_str(), bits, ours.size(), theirs.size(), got, wanted,
                  good ? "" : "  missed");
      reached = reached && good;
    }
  }
  return reached;
}

}  // namespace

bool benchCodec2k(const std::vector<Photo>& photos, const std::string& filter) {
  const Setting lossless, lossy{false, 20};
  bool reached = compareQuality(photos, filter);
  for (const Workload& workload : {encoding("jpeg2000 5/3 lossless encode", lossless, .55, .42, .6),
                                   decoding("jpeg2000 5/3 lossless decode", lossless, .6, .48, .65),
                                   encoding("jpeg2000 9/7 20:1 encode", lossy, .4, .25, .45),
                                   decoding("jpeg2000 9/7 20:1 decode", lossy, .6, .45, .65)}) {
    reached = runWorkload(workload, photos, filter) && reached;
  }
  return reached;
}

}  // namespace bench
