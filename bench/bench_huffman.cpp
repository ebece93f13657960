// Huffman coding and lossless prediction. The peer has no block-level interface: its part is
// jpeg_read_coefficients and jpeg_write_coefficients on the same picture in memory, with their
// marker segments (a few hundred bytes), tables and walk over arrays; ours makes its tables within
// the time as well. A refinement scan of the peer is the difference of two files, with and without.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/owner.h"
#include "benchkit.h"
#include "jpegwriter.h"
#include "photo.h"
#include "rkd/rkdjpeg_huffman.h"
#include "rkd/rkdjpeg_pred.h"

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_huffman: %s\n", what);
  std::exit(1);
}

// ---- the peer ----

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
    return jpegwriter::fileBy([&](jpeg_compress_struct& c) {
      jpeg_copy_critical_parameters(&d_, &c);
      if (script != nullptr) {
        c.scan_info = script->data();
        c.num_scans = int(script->size());
      }
      jpeg_write_coefficients(&c, arrays_);
    });
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

void readFile(const Bytes& file) { Coefficients coefficients(file); }

// ---- ours ----

struct CodeLists {
  uint8_t bits[16];
  uint8_t values[256];
};

using EncodeState = base::Made<RkdiEncodeHuffmanState, &rkdiEncodeHuffmanStateFree_JPEG_8u>;
using DecodeState = base::Made<RkdiDecodeHuffmanState, &rkdiDecodeHuffmanStateFree_JPEG_8u>;
struct EncodeSpec : base::Made<RkdiEncodeHuffmanSpec, &rkdiEncodeHuffmanSpecFree_JPEG_8u> {
  explicit EncodeSpec(const CodeLists& t) {
    require(make(rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u, t.bits, t.values) == 0, "encoder table");
  }
};
struct DecodeSpec : base::Made<RkdiDecodeHuffmanSpec, &rkdiDecodeHuffmanSpecFree_JPEG_8u> {
  explicit DecodeSpec(const CodeLists& t) {
    require(make(rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u, t.bits, t.values) == 0, "decoder table");
  }
};

void makeStates(EncodeState& encode, DecodeState& decode) {
  require(encode.make(rkdiEncodeHuffmanStateInitAlloc_JPEG_8u) == 0 &&
              decode.make(rkdiDecodeHuffmanStateInitAlloc_JPEG_8u) == 0,
          "states");
}

CodeLists listsOf(const JHUFF_TBL* t) {
  CodeLists table;
  std::copy_n(t->bits + 1, 16, table.bits);
  std::copy_n(t->huffval, 256, table.values);
  return table;
}

/// A 4:2:0 picture as planes of blocks, coded in the order of a scan.
struct Picture {
  explicit Picture(Coefficients& source) {
    for (int i = 0; i < 3; ++i) plane[i] = source.blocks(i, &across[i], &down[i]);
    for (int i = 0; i < 2; ++i) {
      dc[i] = listsOf(source.info().dc_huff_tbl_ptrs[i]);
      ac[i] = listsOf(source.info().ac_huff_tbl_ptrs[i]);
    }
    makeStates(encodeState, decodeState);
    stream.resize(plane[0].size() * 6);
    direct.resize(plane[0].size() * 4);
  }

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
  CodeLists dc[2], ac[2];
  EncodeState encodeState;
  DecodeState decodeState;
  Bytes stream, direct;
  int length = 0;
};

void encodeBaseline(Picture& p) {
  const EncodeSpec dc0(p.dc[0]), dc1(p.dc[1]), ac0(p.ac[0]), ac1(p.ac[1]);
  const RkdiEncodeHuffmanSpec* const dc[3] = {dc0, dc1, dc1};
  const RkdiEncodeHuffmanSpec* const ac[3] = {ac0, ac1, ac1};
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
  const RkdiDecodeHuffmanSpec* const dc[3] = {dc0, dc1, dc1};
  const RkdiDecodeHuffmanSpec* const ac[3] = {ac0, ac1, ac1};
  int previous[3] = {};
  int position = 0, marker = 0;
  rkdiDecodeHuffmanStateInit_JPEG_8u(p.decodeState);
  const RkdStatus s = p.forEachBlock([&](int i, int16_t* block) {
    return rkdiDecodeHuffman8x8_JPEG_1u16s_C1(p.stream.data(), p.length, &position, block,
                                              &previous[i], &marker, dc[i], ac[i], p.decodeState);
  });
  require(s == 0, "baseline decode");
}

/// The first component by the direct coders.
void encodeDirect(Picture& p) {
  const EncodeSpec dc(p.dc[0]), ac(p.ac[0]);
  int previous = 0, position = 0;
  RkdStatus s = rkdStsNoErr;
  const int16_t* const end = p.plane[0].data() + p.plane[0].size();
  for (const int16_t* b = p.plane[0].data(); b != end && s == 0; b += 64) {
    s = rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(b, p.direct.data(), int(p.direct.size()),
                                                  &position, &previous, dc, ac);
  }
  require(s == 0, "direct encode");
}

void decodeDirect(Picture& p) {
  const DecodeSpec dc(p.dc[0]), ac(p.ac[0]);
  int previous = 0, position = 0;
  RkdStatus s = rkdStsNoErr;
  int16_t* const end = p.plane[0].data() + p.plane[0].size();
  for (int16_t* b = p.plane[0].data(); b != end && s == 0; b += 64) {
    s = rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(p.direct.data(), int(p.direct.size()), &position,
                                                  b, &previous, dc, ac);
  }
  require(s == 0, "direct decode");
}

/// AC refinement 1..63 from bit 1 to bit 0, a scan each component: statistics, table, stream.
struct Refinement {
  Bytes stream[3];
  CodeLists table[3];
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
                                                      63, 0, spec, p.encodeState, 0);
    }
    require(s == 0, "refinement encode");
    rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(nullptr, r->stream[i].data(), length, &position, 1,
                                                63, 0, spec, p.encodeState, 1);
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
                                                      &position, b, &marker, 1, 63, 0, spec, state);
    }
    require(s == 0, "refinement decode");
  }
}

const std::vector<jpeg_scan_info> coarseScript = {
    {3, {0, 1, 2, 0}, 0, 0, 0, 0},
    {1, {0, 0, 0, 0}, 1, 63, 0, 1},
    {1, {1, 0, 0, 0}, 1, 63, 0, 1},
    {1, {2, 0, 0, 0}, 1, 63, 0, 1},
};

// ---- the cases ----

constexpr int kWidth = 768;
constexpr int kHeight = 512;
constexpr const char* kPeer = "libjpeg-turbo";

void benchBlocks(bench::Table& table, const Bytes& rgb, int quality) {
  const Bytes file = jpegwriter::file(rgb, kWidth, kHeight, quality);
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
  std::printf("4:2:0 at quality %d: %.1f non-zero coefficients, %.1f bits a block\n", quality,
              nonZero / blocks, 8 * ours.length / blocks);
  const std::string at = " q" + std::to_string(quality);
  table.run({"Huffman encode" + at, "block", blocks, 0.8, 0.5, [&] { encodeBaseline(ours); }, kPeer,
             [&] { peer.write(nullptr); }, nullptr});
  table.run({"Huffman decode" + at, "block", blocks, 0.7, 0.45, [&] { decodeBaseline(ours); },
             kPeer, [&] { readFile(file); }, nullptr});
  const double first = double(ours.plane[0].size()) / 64;
  table.run({"Huffman direct encode" + at, "block", first, 0, 0, [&] { encodeDirect(ours); }, "",
             nullptr, nullptr});
  table.run({"Huffman direct decode" + at, "block", first, 0, 0, [&] { decodeDirect(ours); }, "",
             nullptr, nullptr});

  auto script = coarseScript;
  for (int i = 0; i < 3; ++i) script.push_back({1, {i, 0, 0, 0}, 1, 63, 1, 0});
  const Bytes coarse = peer.write(&coarseScript);
  const Bytes fine = peer.write(&script);
  Refinement refinement;
  encodeRefinement(ours, &refinement);
  std::vector<int16_t> start[3], work[3];
  size_t bytes = 0;
  for (int i = 0; i < 3; ++i) {
    start[i] = ours.plane[i];
    for (size_t k = 0; k < start[i].size(); ++k) {
      if (k % 64 != 0) start[i][k] = int16_t(start[i][k] / 2 * 2);
    }
    bytes += refinement.stream[i].size();
  }
  const auto decode = [&] {
    for (int i = 0; i < 3; ++i) work[i] = start[i];
    decodeRefinement(work, refinement, ours.decodeState);
  };
  decode();
  for (int i = 0; i < 3; ++i) require(work[i] == ours.plane[i], "refinement round trip");
  std::printf("refinement of the lowest AC bit: %.1f bits a block\n", 8 * double(bytes) / blocks);
  table.run({"AC refinement, statistics and encode" + at, "block", blocks, 0.6, 0.25,
             [&] { encodeRefinement(ours, &refinement); }, kPeer, [&] { peer.write(&script); },
             [&] { peer.write(&coarseScript); }});
  table.run({"AC refinement decode (and a copy)" + at, "block", blocks, 0.6, 0.25, decode, kPeer,
             [&] { readFile(fine); }, [&] { readFile(coarse); }});
}

/// The lossless process on the samples of the picture: differences, symbols, and back.
struct Lossless {
  explicit Lossless(const Bytes& rgb) {
    for (int p = 0; p < 3; ++p) {
      for (size_t i = 0; i < size_t{kWidth} * kHeight; ++i)
        sample[p].push_back(rgb[3 * i + size_t(p)]);
      difference[p].resize(sample[p].size());
      back[p].resize(sample[p].size());
    }
    predict(1);
    int counts[256] = {};
    int* const each[4] = {counts, counts, counts, counts};
    for (int y = 0; y < kHeight; ++y) {
      rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(row(difference, y).data(), kWidth, each);
    }
    CodeLists lists;
    rkdiEncodeHuffmanRawTableInit_JPEG_8u(counts, lists.bits, lists.values);
    encoder = std::make_unique<EncodeSpec>(lists);
    decoder = std::make_unique<DecodeSpec>(lists);
    makeStates(encodeState, decodeState);
    stream.resize(sample[0].size() * 8);
    encode();
  }

  using Planes = std::vector<int16_t>[3];
  static std::array<int16_t*, 4> row(Planes& planes, int y) {
    const size_t at = size_t(y) * kWidth;
    return {planes[0].data() + at, planes[1].data() + at, planes[2].data() + at, nullptr};
  }
  void predict(int predictor) {
    for (int y = 0; y < kHeight; ++y) {
      for (int p = 0; p < 3; ++p) {
        const int16_t* const src = row(sample, y)[size_t(p)];
        int16_t* const dst = row(difference, y)[size_t(p)];
        if (y == 0) {
          rkdiDiffPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 8, 0);
        } else {
          rkdiDiffPredRow_JPEG_16s_C1(src, src - kWidth, dst, kWidth, predictor);
        }
      }
    }
  }
  void reconstruct(int predictor) {
    for (int y = 0; y < kHeight; ++y) {
      for (int p = 0; p < 3; ++p) {
        const int16_t* const src = row(difference, y)[size_t(p)];
        int16_t* const dst = row(back, y)[size_t(p)];
        if (y == 0) {
          rkdiReconstructPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 8, 0);
        } else {
          rkdiReconstructPredRow_JPEG_16s_C1(src, dst - kWidth, dst, kWidth, predictor);
        }
      }
    }
  }
  void encode() {
    const RkdiEncodeHuffmanSpec* const specs[4] = {*encoder, *encoder, *encoder};
    int position = 0;
    RkdStatus s = rkdiEncodeHuffmanStateInit_JPEG_8u(encodeState);
    for (int y = 0; y < kHeight && s == 0; ++y) {
      s = rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(row(difference, y).data(), stream.data(),
                                               int(stream.size()), &position, kWidth, specs,
                                               encodeState, 0);
    }
    require(s == 0, "row encode");
    rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, stream.data(), int(stream.size()), &position,
                                         kWidth, nullptr, encodeState, 1);
    length = position;
  }
  void decode() {
    const RkdiDecodeHuffmanSpec* const specs[4] = {*decoder, *decoder, *decoder};
    int position = 0;
    RkdStatus s = rkdiDecodeHuffmanStateInit_JPEG_8u(decodeState);
    for (int y = 0; y < kHeight && s == 0; ++y) {
      s = rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(stream.data(), length, &position,
                                               row(back, y).data(), nullptr, kWidth, specs,
                                               decodeState);
    }
    require(s == 0, "row decode");
  }

  Planes sample, difference, back;
  std::unique_ptr<EncodeSpec> encoder;
  std::unique_ptr<DecodeSpec> decoder;
  EncodeState encodeState;
  DecodeState decodeState;
  Bytes stream;
  int length = 0;
};

void benchLossless(bench::Table& table, const Bytes& rgb) {
  Lossless ours(rgb);
  const double samples = 3.0 * kWidth * kHeight;
  const auto run = [&](const std::string& name, const std::function<void()>& function) {
    table.run({name, "sample", samples, 0, 0, function, "", nullptr, nullptr});
  };
  run("Huffman row encode, 3 planes", [&] { ours.encode(); });
  run("Huffman row decode, 3 planes", [&] { ours.decode(); });
  for (const int predictor : {1, 2, 4, 5, 6, 7}) {
    run("lossless differences, predictor " + std::to_string(predictor),
        [&ours, predictor] { ours.predict(predictor); });
    ours.predict(predictor);
    run("lossless reconstruction, predictor " + std::to_string(predictor),
        [&ours, predictor] { ours.reconstruct(predictor); });
    ours.reconstruct(predictor);
    require(std::equal(std::begin(ours.back), std::end(ours.back), std::begin(ours.sample)),
            "lossless round trip");
  }
}

}  // namespace

void benchHuffman(Table& table) {
  const Bytes rgb = testpicture::photo(kWidth, kHeight);
  for (const int quality : {75, 90}) benchBlocks(table, rgb, quality);
  benchLossless(table, rgb);
}

}  // namespace bench
