// Huffman coding of blocks beside libjpeg, in one process on the same coefficients.
//
// The peer has no block-level interface: what is timed is jpeg_read_coefficients and
// jpeg_write_coefficients on a picture in memory, so its figures hold the marker segments (a
// few hundred bytes) and its walk over virtual arrays as well. A refinement scan is the difference
// of two files, with and without it. Clocks are those of the time-stamp counter.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>
#include <x86intrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "rkd/rkdcore.h"
#include "rkd/rkdjpeg_huffman.h"

namespace {

using Bytes = std::vector<uint8_t>;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_huffman: %s\n", what);
  std::exit(1);
}

// ---- the picture ----

/// Smooth noise of a cell size, by cubic blending of random corner values.
class Noise {
 public:
  Noise(unsigned seed, int cell) : cell_(cell), random_(seed) {
    for (auto& v : value_) v = std::uniform_real_distribution<float>(-1, 1)(random_);
  }
  float at(int x, int y) const {
    const int cx = x / cell_, cy = y / cell_;
    const auto blend = [](float t) { return t * t * (3 - 2 * t); };
    const float fx = blend(float(x % cell_) / float(cell_));
    const float fy = blend(float(y % cell_) / float(cell_));
    const float top = corner(cx, cy) * (1 - fx) + corner(cx + 1, cy) * fx;
    const float bottom = corner(cx, cy + 1) * (1 - fx) + corner(cx + 1, cy + 1) * fx;
    return top * (1 - fy) + bottom * fy;
  }

 private:
  float corner(int x, int y) const {
    return value_[size_t(unsigned(x * 73856093) ^ unsigned(y * 19349663)) % value_.size()];
  }
  int cell_;
  std::mt19937 random_;
  std::array<float, 4093> value_;
};

/// What photographs are like: every octave of detail has about the same energy, local contrast
/// comes and goes, colours change slowly, and there is a little grain.
Bytes photo(int width, int height) {
  std::vector<Noise> detail, reddish, bluish;
  for (int i = 0; i < 8; ++i) detail.emplace_back(100 + i, 256 >> i);
  for (int i = 0; i < 6; ++i) reddish.emplace_back(200 + i, 256 >> i);
  for (int i = 0; i < 6; ++i) bluish.emplace_back(300 + i, 256 >> i);
  const Noise broad(8, 150), narrow(9, 40);
  std::mt19937 random(10);
  std::normal_distribution<float> grain(0, 1.3f);
  const auto sum = [](const std::vector<Noise>& octaves, int x, int y) {
    float value = 0;
    for (const Noise& octave : octaves) value += octave.at(x, y);
    return value;
  };
  Bytes rgb(size_t(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float contrast = std::exp(1.1f * broad.at(x, y) + 0.8f * narrow.at(x, y));
      const float v = 128 + 8 * contrast * sum(detail, x, y) + grain(random);
      const float red = 4 * contrast * sum(reddish, x, y);
      const float blue = 4 * contrast * sum(bluish, x, y);
      uint8_t* const pixel = &rgb[(size_t(y) * width + x) * 3];
      pixel[0] = uint8_t(std::clamp(v + red, 0.f, 255.f));
      pixel[1] = uint8_t(std::clamp(v - 0.5f * red - 0.3f * blue, 0.f, 255.f));
      pixel[2] = uint8_t(std::clamp(v + blue, 0.f, 255.f));
    }
  }
  return rgb;
}

// ---- the peer ----

Bytes taken(unsigned char* memory, unsigned long size) {
  Bytes file(memory, memory + size);
  std::free(memory);
  return file;
}

Bytes compress(const Bytes& rgb, int width, int height, int quality) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = JDIMENSION(width);
  c.image_height = JDIMENSION(height);
  c.input_components = 3;
  c.in_color_space = JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, quality, TRUE);
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW row = const_cast<uint8_t*>(&rgb[size_t(c.next_scanline) * width * 3]);
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  return taken(memory, size);
}

/// A picture's coefficients as the peer holds them, ready to be written again and again.
class Coefficients {
 public:
  explicit Coefficients(const Bytes& file) {
    d_.err = jpeg_std_error(&errors_);
    jpeg_create_decompress(&d_);
    jpeg_mem_src(&d_, file.data(), file.size());
    jpeg_read_header(&d_, TRUE);
    arrays_ = jpeg_read_coefficients(&d_);
  }
  ~Coefficients() { jpeg_destroy_decompress(&d_); }
  Coefficients(const Coefficients&) = delete;
  Coefficients& operator=(const Coefficients&) = delete;

  Bytes write(const std::vector<jpeg_scan_info>* script) {
    jpeg_compress_struct c;
    jpeg_error_mgr errors;
    c.err = jpeg_std_error(&errors);
    jpeg_create_compress(&c);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &memory, &size);
    jpeg_copy_critical_parameters(&d_, &c);
    if (script != nullptr) {
      c.scan_info = script->data();
      c.num_scans = int(script->size());
    }
    jpeg_write_coefficients(&c, arrays_);
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    return taken(memory, size);
  }

  /// Whole MCUs of a component, block by block.
  std::vector<int16_t> blocks(int component, int* across, int* down) {
    const jpeg_component_info& info = d_.comp_info[component];
    const int mcusAcross = int((d_.image_width + 15) / 16),
              mcusDown = int((d_.image_height + 15) / 16);
    *across = mcusAcross * info.h_samp_factor;
    *down = mcusDown * info.v_samp_factor;
    std::vector<int16_t> all;
    for (int y = 0; y < *down; ++y) {
      const auto rows = (*d_.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&d_),
                                                      arrays_[component], JDIMENSION(y), 1, FALSE);
      for (int x = 0; x < *across; ++x) all.insert(all.end(), rows[0][x], rows[0][x] + 64);
    }
    return all;
  }

  const jpeg_decompress_struct& info() const { return d_; }

 private:
  jpeg_decompress_struct d_;
  jpeg_error_mgr errors_;
  jvirt_barray_ptr* arrays_;
};

void read(const Bytes& file) { Coefficients coefficients(file); }

// ---- ours ----

struct Table {
  uint8_t bits[16];
  uint8_t values[256];
};

struct EncodeSpec {
  explicit EncodeSpec(const Table& t) {
    require(rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u(t.bits, t.values, &spec) == 0, "encoder table");
  }
  ~EncodeSpec() { rkdiEncodeHuffmanSpecFree_JPEG_8u(spec); }
  EncodeSpec(const EncodeSpec&) = delete;
  EncodeSpec& operator=(const EncodeSpec&) = delete;
  RkdiEncodeHuffmanSpec* spec = nullptr;
};
struct DecodeSpec {
  explicit DecodeSpec(const Table& t) {
    require(rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u(t.bits, t.values, &spec) == 0, "decoder table");
  }
  ~DecodeSpec() { rkdiDecodeHuffmanSpecFree_JPEG_8u(spec); }
  DecodeSpec(const DecodeSpec&) = delete;
  DecodeSpec& operator=(const DecodeSpec&) = delete;
  RkdiDecodeHuffmanSpec* spec = nullptr;
};

Table tableOf(const JHUFF_TBL* t) {
  Table table;
  std::copy_n(t->bits + 1, 16, table.bits);
  std::copy_n(t->huffval, 256, table.values);
  return table;
}

/// A 4:2:0 picture as planes of blocks, coded in the order of a scan.
struct Picture {
  explicit Picture(Coefficients& source) {
    for (int i = 0; i < 3; ++i) plane[i] = source.blocks(i, &across[i], &down[i]);
    for (int i = 0; i < 2; ++i) {
      dc[i] = tableOf(source.info().dc_huff_tbl_ptrs[i]);
      ac[i] = tableOf(source.info().ac_huff_tbl_ptrs[i]);
    }
    RkdStatus s = rkdiEncodeHuffmanStateInitAlloc_JPEG_8u(&encodeState);
    require(s == 0 && rkdiDecodeHuffmanStateInitAlloc_JPEG_8u(&decodeState) == 0, "states");
    stream.resize(plane[0].size() * 6);
  }
  ~Picture() {
    rkdiEncodeHuffmanStateFree_JPEG_8u(encodeState);
    rkdiDecodeHuffmanStateFree_JPEG_8u(decodeState);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  int blocks() const { return int((plane[0].size() + plane[1].size() + plane[2].size()) / 64); }

  /// Calls body(component, block) for each block of the interleaved scan; stops at a failure.
  template <class Body>
  RkdStatus forEachBlock(Body body) {
    for (int my = 0; my < down[1]; ++my) {
      for (int mx = 0; mx < across[1]; ++mx) {
        for (int b = 0; b < 4; ++b) {
          const size_t at = size_t(2 * my + b / 2) * across[0] + size_t(2 * mx + b % 2);
          if (const RkdStatus s = body(0, plane[0].data() + 64 * at)) return s;
        }
        for (int i = 1; i < 3; ++i) {
          const size_t at = size_t(my) * across[i] + size_t(mx);
          if (const RkdStatus s = body(i, plane[i].data() + 64 * at)) return s;
        }
      }
    }
    return rkdStsNoErr;
  }

  std::vector<int16_t> plane[3];
  int across[3], down[3];
  Table dc[2], ac[2];
  RkdiEncodeHuffmanState* encodeState = nullptr;
  RkdiDecodeHuffmanState* decodeState = nullptr;
  Bytes stream;
  int length = 0;
};

void encodeBaseline(Picture& p) {
  const EncodeSpec dc0(p.dc[0]), dc1(p.dc[1]), ac0(p.ac[0]), ac1(p.ac[1]);
  const RkdiEncodeHuffmanSpec* const dc[3] = {dc0.spec, dc1.spec, dc1.spec};
  const RkdiEncodeHuffmanSpec* const ac[3] = {ac0.spec, ac1.spec, ac1.spec};
  int previous[3] = {};
  int position = 0;
  const int length = int(p.stream.size());
  rkdiEncodeHuffmanStateInit_JPEG_8u(p.encodeState);
  const RkdStatus s = p.forEachBlock([&](int i, const int16_t* block) {
    return rkdiEncodeHuffman8x8_JPEG_16s1u_C1(block, p.stream.data(), length, &position,
                                              &previous[i], dc[i], ac[i], p.encodeState, 0);
  });
  require(s == 0, "baseline encode");
  rkdiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, p.stream.data(), length, &position, nullptr, nullptr,
                                     nullptr, p.encodeState, 1);
  p.length = position;
}

void decodeBaseline(Picture& p) {
  const DecodeSpec dc0(p.dc[0]), dc1(p.dc[1]), ac0(p.ac[0]), ac1(p.ac[1]);
  const RkdiDecodeHuffmanSpec* const dc[3] = {dc0.spec, dc1.spec, dc1.spec};
  const RkdiDecodeHuffmanSpec* const ac[3] = {ac0.spec, ac1.spec, ac1.spec};
  int previous[3] = {};
  int position = 0, marker = 0;
  rkdiDecodeHuffmanStateInit_JPEG_8u(p.decodeState);
  const RkdStatus s = p.forEachBlock([&](int i, int16_t* block) {
    return rkdiDecodeHuffman8x8_JPEG_1u16s_C1(p.stream.data(), p.length, &position, block,
                                              &previous[i], &marker, dc[i], ac[i], p.decodeState);
  });
  require(s == 0, "baseline decode");
}

/// AC refinement 1..63 from bit 1 to bit 0, a scan each component: statistics, table, stream.
struct Refinement {
  Bytes stream[3];
  Table table[3];
};

void encodeRefinement(Picture& p, Refinement* r) {
  for (int i = 0; i < 3; ++i) {
    int counts[256] = {};
    const int16_t* const end = p.plane[i].data() + p.plane[i].size();
    RkdStatus s = rkdStsNoErr;
    rkdiEncodeHuffmanStateInit_JPEG_8u(p.encodeState);
    for (const int16_t* b = p.plane[i].data(); b != end && s == 0; b += 64) {
      s = rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b, counts, 1, 63, 0, p.encodeState, 0);
    }
    rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, counts, 1, 63, 0, p.encodeState, 1);
    rkdiEncodeHuffmanRawTableInit_JPEG_8u(counts, r->table[i].bits, r->table[i].values);
    const EncodeSpec spec(r->table[i]);
    r->stream[i].resize(p.plane[i].size());
    int position = 0;
    const int length = int(r->stream[i].size());
    rkdiEncodeHuffmanStateInit_JPEG_8u(p.encodeState);
    for (const int16_t* b = p.plane[i].data(); b != end && s == 0; b += 64) {
      s = rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b, r->stream[i].data(), length, &position, 1,
                                                      63, 0, spec.spec, p.encodeState, 0);
    }
    require(s == 0, "refinement encode");
    rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(nullptr, r->stream[i].data(), length, &position, 1,
                                                63, 0, spec.spec, p.encodeState, 1);
    r->stream[i].resize(size_t(position));
  }
}

/// Refines `coarse` planes, which must be restored in between.
void decodeRefinement(std::vector<int16_t>* planes, const Refinement& r,
                      RkdiDecodeHuffmanState* state) {
  for (int i = 0; i < 3; ++i) {
    const DecodeSpec spec(r.table[i]);
    int position = 0, marker = 0;
    rkdiDecodeHuffmanStateInit_JPEG_8u(state);
    RkdStatus s = rkdStsNoErr;
    int16_t* const end = planes[i].data() + planes[i].size();
    for (int16_t* b = planes[i].data(); b != end && s == 0; b += 64) {
      s = rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(r.stream[i].data(), int(r.stream[i].size()),
                                                      &position, b, &marker, 1, 63, 0, spec.spec,
                                                      state);
    }
    require(s == 0, "refinement decode");
  }
}

// ---- measuring ----

/// Clocks of the fastest of the runs of each contestant; they take turns, so that a disturbance
/// meets both.
std::vector<double> fastest(const std::vector<std::function<uint64_t()>>& contestants) {
  std::vector<double> best(contestants.size(), 1e30);
  for (int round = 0; round < 25; ++round) {
    for (size_t i = 0; i < contestants.size(); ++i) {
      best[i] = std::min(best[i], double(contestants[i]()));
    }
  }
  return best;
}

template <class Work>
std::function<uint64_t()> timed(Work work) {
  return [work] {
    const uint64_t start = __rdtsc();
    work();
    return uint64_t(__rdtsc() - start);
  };
}

void row(const char* what, double ours, double peer, double must, double aim) {
  std::printf("%-44s %8.1f %8.1f %7.2f   must %.2f aim %.2f  %s\n", what, ours, peer, ours / peer,
              must, aim,
              ours / peer <= aim    ? "aim"
              : ours / peer <= must ? "must"
                                    : "MISSED");
}

const std::vector<jpeg_scan_info> coarseScript = {
    {3, {0, 1, 2, 0}, 0, 0, 0, 0},
    {1, {0, 0, 0, 0}, 1, 63, 0, 1},
    {1, {1, 0, 0, 0}, 1, 63, 0, 1},
    {1, {2, 0, 0, 0}, 1, 63, 0, 1},
};

void measure(const Bytes& rgb, int width, int height, int quality) {
  const Bytes file = compress(rgb, width, height, quality);
  Coefficients peer(file);
  Picture ours(peer);
  const double blocks = ours.blocks();

  double nonZero = 0;
  for (const auto& plane : ours.plane) {
    nonZero += double(plane.size()) - double(std::count(plane.begin(), plane.end(), 0));
  }
  encodeBaseline(ours);
  const auto original = std::array{ours.plane[0], ours.plane[1], ours.plane[2]};
  decodeBaseline(ours);
  for (int i = 0; i < 3; ++i) require(ours.plane[i] == original[size_t(i)], "round trip");
  std::printf("\nquality %d, 4:2:0: %.1f non-zero, %.1f bits a block\n", quality, nonZero / blocks,
              8 * ours.length / blocks);

  const auto encode =
      fastest({timed([&] { encodeBaseline(ours); }), timed([&] { peer.write(nullptr); })});
  row("encode, clocks a block", encode[0] / blocks, encode[1] / blocks, 0.8, 0.5);
  const auto decode = fastest({timed([&] { decodeBaseline(ours); }), timed([&] { read(file); })});
  row("decode", decode[0] / blocks, decode[1] / blocks, 0.7, 0.45);

  auto script = coarseScript;
  for (int i = 0; i < 3; ++i) script.push_back({1, {i, 0, 0, 0}, 1, 63, 1, 0});
  const Bytes coarse = peer.write(&coarseScript);
  const Bytes fine = peer.write(&script);
  Refinement refinement;
  encodeRefinement(ours, &refinement);
  std::vector<int16_t> start[3], work[3];
  for (int i = 0; i < 3; ++i) {
    start[i] = ours.plane[i];
    for (size_t k = 0; k < start[i].size(); ++k) {
      if (k % 64 != 0) start[i][k] = int16_t(start[i][k] / 2 * 2);
    }
    work[i] = start[i];
  }
  decodeRefinement(work, refinement, ours.decodeState);
  size_t bytes = 0;
  for (int i = 0; i < 3; ++i) {
    require(work[i] == ours.plane[i], "refinement round trip");
    bytes += refinement.stream[i].size();
  }
  std::printf("refinement of AC bit 0: %.1f bits a block\n", 8 * double(bytes) / blocks);

  const auto refineEncode =
      fastest({timed([&] { encodeRefinement(ours, &refinement); }),
               timed([&] { peer.write(&script); }), timed([&] { peer.write(&coarseScript); })});
  row("encode with statistics", refineEncode[0] / blocks,
      (refineEncode[1] - refineEncode[2]) / blocks, 0.6, 0.25);
  const auto oursAlone = [&] {
    for (int i = 0; i < 3; ++i) work[i] = start[i];
    const uint64_t begin = __rdtsc();
    decodeRefinement(work, refinement, ours.decodeState);
    return uint64_t(__rdtsc() - begin);
  };
  const auto refineDecode =
      fastest({oursAlone, timed([&] { read(fine); }), timed([&] { read(coarse); })});
  row("decode", refineDecode[0] / blocks, (refineDecode[1] - refineDecode[2]) / blocks, 0.6, 0.25);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) require(rkdInitCpu(std::atoi(argv[1])) == 0, "no such processor level here");
  const int width = 768, height = 512;
  const Bytes rgb = photo(width, height);
  std::printf("Huffman coding, level %s; peer libjpeg (API %d) of this system\n", rkdGetLevelName(),
              JPEG_LIB_VERSION);
  std::printf("%-44s %8s %8s %7s\n", "", "ours", "peer", "ratio");
  for (const int quality : {75, 90}) measure(rgb, width, height, quality);
  return 0;
}
