// Code blocks of JPEG 2000 beside OpenJPEG.
//
// The peer's block coder has no interface of its own, and its arguments are structures of its own.
// So the linker puts a function of ours where the peer's codec calls it (--wrap), and the measuring
// is done inside that call: again and again the same blocks, by the peer with the arguments that it
// was called with, and by us. The picture has no decomposition levels: its samples are the
// coefficients. Both sides' times include fetching and storing them.
#include <openjpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/owner.h"
#include "benchkit.h"
#include "ref_code2k.h"
#include "rkd/rkdjpeg_codeblock.h"

namespace bench {
namespace {

constexpr int kBlock = 64;
constexpr int kAcross = 8;
constexpr int kSide = kBlock * kAcross;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_codeblock: %s\n", what);
  std::exit(1);
}

/// Two-sided exponential values whose width changes smoothly over the picture.
std::vector<int32_t> coefficients(double scale) {
  constexpr int cell = 8, corners = kSide / cell + 2;
  std::mt19937 random(7);
  std::normal_distribution<double> normal(0, 1.1);
  std::exponential_distribution<double> magnitude(1);
  std::vector<double> corner(size_t{corners} * corners);
  for (double& c : corner) c = normal(random);
  std::vector<int32_t> all(size_t{kSide} * kSide);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const double fx = double(x % cell) / cell, fy = double(y % cell) / cell;
      const double* const c = &corner[size_t(y / cell) * corners + size_t(x / cell)];
      const double activity = (c[0] * (1 - fx) + c[1] * fx) * (1 - fy) +
                              (c[corners] * (1 - fx) + c[corners + 1] * fx) * fy;
      const int value = int(std::min(scale * std::exp(activity) * magnitude(random), 32767.0));
      all[size_t(y) * kSide + size_t(x)] = (random() & 1) != 0 ? -value : value;
    }
  }
  return all;
}

// ---- the peer ----

using Bytes = std::vector<uint8_t>;

/// A stream over bytes in memory.
struct Memory {
  Bytes bytes;
  size_t at = 0;
};

OPJ_SIZE_T readMemory(void* buffer, OPJ_SIZE_T count, void* user) {
  auto& m = *static_cast<Memory*>(user);
  const size_t n = std::min<size_t>(count, m.bytes.size() - m.at);
  if (n == 0) return OPJ_SIZE_T(-1);
  std::memcpy(buffer, m.bytes.data() + m.at, n);
  m.at += n;
  return n;
}
OPJ_SIZE_T writeMemory(void* buffer, OPJ_SIZE_T count, void* user) {
  auto& m = *static_cast<Memory*>(user);
  if (m.bytes.size() < m.at + count) m.bytes.resize(m.at + count);
  std::memcpy(m.bytes.data() + m.at, buffer, count);
  m.at += count;
  return count;
}
OPJ_OFF_T skipMemory(OPJ_OFF_T count, void* user) {
  static_cast<Memory*>(user)->at += size_t(count);
  return count;
}
OPJ_BOOL seekMemory(OPJ_OFF_T to, void* user) {
  static_cast<Memory*>(user)->at = size_t(to);
  return OPJ_TRUE;
}

opj_stream_t* openMemory(Memory* memory, bool reading) {
  opj_stream_t* const stream = opj_stream_create(1 << 20, reading ? OPJ_TRUE : OPJ_FALSE);
  opj_stream_set_user_data(stream, memory, nullptr);
  opj_stream_set_user_data_length(stream, memory->bytes.size());
  opj_stream_set_read_function(stream, readMemory);
  opj_stream_set_write_function(stream, writeMemory);
  opj_stream_set_skip_function(stream, skipMemory);
  opj_stream_set_seek_function(stream, seekMemory);
  return stream;
}

/// What is to be done once with the call of the peer's block coder, which may be repeated.
std::function<void(const std::function<void()>&)> inside;

}  // namespace

extern "C" {
OPJ_BOOL __real_opj_t1_encode_cblks(void* coder, void* tile, void* parameters, const double* norms,
                                    unsigned components);
OPJ_BOOL __wrap_opj_t1_encode_cblks(void* coder, void* tile, void* parameters, const double* norms,
                                    unsigned components) {
  OPJ_BOOL done = OPJ_FALSE;
  inside([&] { done = __real_opj_t1_encode_cblks(coder, tile, parameters, norms, components); });
  return done;
}

void __real_opj_t1_decode_cblks(void* coder, volatile OPJ_BOOL* done, void* component,
                                void* parameters, void* manager, void* mutex, OPJ_BOOL check);
void __wrap_opj_t1_decode_cblks(void* coder, volatile OPJ_BOOL* done, void* component,
                                void* parameters, void* manager, void* mutex, OPJ_BOOL check) {
  inside([&] {
    __real_opj_t1_decode_cblks(coder, done, component, parameters, manager, mutex, check);
  });
}
}

namespace {

Bytes peerEncode(const std::vector<int32_t>& data) {
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.numresolution = 1;
  parameters.cblockw_init = parameters.cblockh_init = kBlock;
  parameters.tcp_numlayers = 1;
  parameters.cp_disto_alloc = 1;
  opj_image_cmptparm_t component{};
  component.dx = component.dy = 1;
  component.w = component.h = kSide;
  component.prec = 16;
  component.sgnd = 1;
  opj_image_t* const image = opj_image_create(1, &component, OPJ_CLRSPC_GRAY);
  image->x1 = image->y1 = kSide;
  std::copy(data.begin(), data.end(), image->comps[0].data);
  opj_codec_t* const codec = opj_create_compress(OPJ_CODEC_J2K);
  Memory memory;
  opj_stream_t* const stream = openMemory(&memory, false);
  require(opj_setup_encoder(codec, &parameters, image) &&
              opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
              opj_end_compress(codec, stream),
          "the peer does not encode");
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  return memory.bytes;
}

std::vector<int32_t> peerDecode(const Bytes& bytes) {
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_codec_t* const codec = opj_create_decompress(OPJ_CODEC_J2K);
  Memory memory{bytes};
  opj_stream_t* const stream = openMemory(&memory, true);
  opj_image_t* image = nullptr;
  require(opj_setup_decoder(codec, &parameters) && opj_read_header(stream, codec, &image) &&
              opj_decode(codec, stream, image) && opj_end_decompress(codec, stream),
          "the peer does not decode");
  std::vector<int32_t> data(image->comps[0].data, image->comps[0].data + kSide * kSide);
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  return data;
}

// ---- ours ----

/// A picture's blocks, coded and decoded one after the other in the same two states.
class Picture {
 public:
  explicit Picture(double scale) : data(coefficients(scale)), decoded(data.size()) {
    require(m_encode.make(rkdiEncodeCodeBlockStateInitAlloc_JPEG2K) == 0 &&
                m_decode.make(rkdiDecodeCodeBlockStateInitAlloc_JPEG2K) == 0,
            "no memory");
    encode();
    decode();
    require(decoded == data, "a round trip changes coefficients");
    ref::RkdiEncodeCodeBlockState counter;
    forEachBlock([&](int at, Block&) {
      ref::rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(&data[size_t(at)], kStep, kSize, rkdBandLL, 0,
                                                  rkdCodeBlockMaxPasses, &counter);
      decisions += counter.decisions;
    });
  }

  void encode() {
    forEachBlock([&](int at, Block& b) {
      RkdStatus status = rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
          &data[size_t(at)], kStep, kSize, rkdBandLL, 0, rkdCodeBlockMaxPasses, m_encode);
      status |= rkdiEncodeGetCodeBlockInfo_JPEG2K(&b.bitPlanes, &b.passes, m_encode);
      b.bytes.resize(1 << 15);
      b.length = 0;
      status |= rkdiEncodeStoreBits_JPEG2K_1u(b.bytes.data(), int(b.bytes.size()), &b.length,
                                              b.passes, m_encode);
      require(status == 0, "a block cannot be encoded");
    });
  }
  void decode() {
    forEachBlock([&](int at, Block& b) {
      require(rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(b.bytes.data(), b.length, &b.length, 1,
                                                   &decoded[size_t(at)], kStep, kSize, rkdBandLL, 0,
                                                   b.bitPlanes, b.passes, m_decode) == 0,
              "a block cannot be decoded");
    });
  }

  std::vector<int32_t> data, decoded;
  double decisions = 0;

 private:
  static constexpr RkdiSize kSize = {kBlock, kBlock};
  static constexpr int kStep = kSide * int(sizeof(int32_t));
  struct Block {
    Bytes bytes;
    int length = 0, bitPlanes = 0, passes = 0;
  };

  template <class Work>
  void forEachBlock(Work work) {
    for (int i = 0; i < kAcross * kAcross; ++i) {
      work(i / kAcross * kBlock * kSide + i % kAcross * kBlock, m_blocks[i]);
    }
  }

  Block m_blocks[kAcross * kAcross];
  base::Made<RkdiEncodeCodeBlockState, &rkdiEncodeCodeBlockStateFree_JPEG2K> m_encode;
  base::Made<RkdiDecodeCodeBlockState, &rkdiDecodeCodeBlockStateFree_JPEG2K> m_decode;
};

}  // namespace

void benchCodeBlock(Table& table) {
  const std::string peer = std::string("OpenJPEG ") + opj_version();
  const auto once = [](const std::function<void()>& call) { call(); };
  for (const auto& of : {std::pair{"lossless", 3.2}, std::pair{"lossy", 1.5}}) {
    const auto [name, scale] = of;
    const std::string kind = name;
    Picture picture(scale);
    const auto measure = [&](const char* direction, double must, double aim, auto ours) {
      inside = [&, ours](const std::function<void()>& call) {
        call();
        table.run({std::string("code-block ") + direction + ", " + kind, "decision",
                   picture.decisions, must, aim, ours, peer, call});
      };
    };
    inside = once;
    const Bytes bytes = peerEncode(picture.data);
    measure("encode", 0.75, 0.45, [&] { picture.encode(); });
    require(peerEncode(picture.data) == bytes, "the peer's repetitions change its bytes");
    measure("decode", 0.8, 0.6, [&] { picture.decode(); });
    require(peerDecode(bytes) == picture.data, "the peer's round trip changes coefficients");
  }
}

}  // namespace bench
