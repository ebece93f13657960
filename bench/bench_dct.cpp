// Transforms and quantisation beside libjpeg-turbo's vector routines, which its static archive
// exposes; level shift beside plain loops over the same bytes.
#include <algorithm>
#include <memory>
#include <vector>

#include "benchkit.h"
#include "rkd/rkdjpeg_dct.h"

// Of libjpeg.a, in the calling convention of its assembly.
extern "C" {
void jsimd_convsamp_avx2(uint8_t** rows, unsigned column, int16_t* workspace);
void jsimd_fdct_islow_avx2(int16_t* data);
void jsimd_quantize_avx2(int16_t* coefficients, int16_t* divisors, int16_t* workspace);
void jsimd_idct_islow_avx2(void* table, int16_t* coefficients, uint8_t** rows, unsigned column);
void jsimd_idct_4x4_sse2(void* table, int16_t* coefficients, uint8_t** rows, unsigned column);
void jsimd_idct_2x2_sse2(void* table, int16_t* coefficients, uint8_t** rows, unsigned column);
}

namespace bench {
namespace {

constexpr const char* kPeer = "libjpeg-turbo";

// Blocks that together lie in the second-level cache: 128 KiB of coefficients.
constexpr int kAcross = 32;
constexpr int kDown = 32;
constexpr int kBlocks = kAcross * kDown;
constexpr int kWidth = kAcross * 8;
constexpr int kHeight = kDown * 8;

// The luminance table of ITU-T T.81, K.1, which is quality 50.
constexpr uint8_t kLuminance[64] = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,  //
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,  //
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,  //
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

// A picture with slopes, edges and some noise, as 8-bit samples and level-shifted ones, with its
// coefficients at quality 75.
struct Picture {
  std::vector<uint8_t> samples = std::vector<uint8_t>(kWidth * kHeight);
  std::vector<int16_t> shifted = std::vector<int16_t>(kBlocks * 64);
  std::vector<int16_t> coefficients = std::vector<int16_t>(kBlocks * 64);
  std::vector<int16_t> flat = std::vector<int16_t>(kBlocks * 64);  // first coefficients only
  uint8_t quantisers[64];
  uint16_t forward[RKD_QUANT_TABLE_LENGTH];
  uint16_t inverse[RKD_QUANT_TABLE_LENGTH];
  std::vector<uint8_t> out = std::vector<uint8_t>(kWidth * kHeight);
  std::vector<int16_t> out16 = std::vector<int16_t>(kBlocks * 64);

  Picture() {
    unsigned seed = 1;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        seed = seed * 69069 + 1;
        const int disc = (x - 90) * (x - 90) + (y - 120) * (y - 120) < 5000 ? 70 : 0;
        const int texture = x > 160 ? ((x / 3 + y / 2) % 5) * 9 : 0;
        samples[y * kWidth + x] = static_cast<uint8_t>(
            std::min(255, 20 + x / 3 + y / 5 + disc + texture + static_cast<int>(seed >> 29)));
      }
    }
    for (int i = 0; i < 64; ++i) quantisers[i] = static_cast<uint8_t>((kLuminance[i] + 1) / 2);
    rkdiQuantFwdTableInit_JPEG_8u16u(quantisers, forward);
    rkdiQuantInvTableInit_JPEG_8u16u(quantisers, inverse);
    for (int b = 0; b < kBlocks; ++b) {
      const int origin = b / kAcross * 8 * kWidth + b % kAcross * 8;
      for (int i = 0; i < 64; ++i) {
        shifted[b * 64 + i] = static_cast<int16_t>(samples[origin + i / 8 * kWidth + i % 8] - 128);
      }
      rkdiDCTQuantFwd8x8_JPEG_16s_C1(&shifted[b * 64], &coefficients[b * 64], forward);
      flat[b * 64] = coefficients[b * 64];
    }
  }
  int16_t* block(std::vector<int16_t>& plane, int b) { return plane.data() + b * 64; }
  uint8_t* at(std::vector<uint8_t>& plane, int b) {
    return plane.data() + b / kAcross * 8 * kWidth + b % kAcross * 8;
  }
};

// The peer's divisors: three factors a coefficient for its division by multiplication. It quantises
// coefficients scaled by 8.
struct PeerDivisors {
  alignas(32) int16_t entry[64 * 4];
  explicit PeerDivisors(const uint8_t* quantisers) {
    for (int i = 0; i < 64; ++i) {
      const unsigned divisor = quantisers[i] * 8u;
      const int log2 = 31 - __builtin_clz(divisor);
      const int shift = 16 + log2;
      unsigned quotient = (1u << shift) / divisor;
      const unsigned rest = (1u << shift) % divisor;
      unsigned correction = divisor / 2;
      int scaleShift = shift;
      if (rest == 0) {  // a power of two: the quotient would not fit
        quotient >>= 1;
        --scaleShift;
      } else if (rest <= divisor / 2) {
        ++correction;
      } else {
        ++quotient;
      }
      entry[i] = static_cast<int16_t>(quotient);
      entry[64 + i] = static_cast<int16_t>(correction);
      entry[128 + i] = static_cast<int16_t>(1 << (32 - scaleShift));
      entry[192 + i] = static_cast<int16_t>(scaleShift - 16);
    }
  }
};

struct PeerRows {
  std::vector<uint8_t*> row;
  explicit PeerRows(std::vector<uint8_t>& plane) {
    for (int y = 0; y < kHeight; ++y) row.push_back(plane.data() + y * kWidth);
  }
  uint8_t** ofBlock(int b) { return row.data() + b / kAcross * 8; }  // of 8x8 samples
  static unsigned column(int b) { return b % kAcross * 8; }
};

template <class Body>
std::function<void()> overBlocks(Body body) {
  return [body] {
    for (int b = 0; b < kBlocks; ++b) body(b);
  };
}

void benchForward(Table& table, Picture& p) {
  PeerDivisors divisors(p.quantisers);
  PeerRows rows(p.samples);
  alignas(32) static int16_t workspace[64];
  const auto peerFrom16s = overBlocks([&](int b) {
    std::copy_n(p.block(p.shifted, b), 64, workspace);
    jsimd_fdct_islow_avx2(workspace);
    jsimd_quantize_avx2(p.block(p.out16, b), divisors.entry, workspace);
  });
  table.run({"DCTQuantFwd8x8_16s_C1", "block", kBlocks, 0.75, 0.45, overBlocks([&](int b) {
               rkdiDCTQuantFwd8x8_JPEG_16s_C1(p.block(p.shifted, b), p.block(p.out16, b),
                                              p.forward);
             }),
             kPeer, peerFrom16s});
  table.run({"DCTQuantFwd8x8_16s_C1I", "block", kBlocks, 0.75, 0.45, overBlocks([&](int b) {
               rkdiDCTQuantFwd8x8_JPEG_16s_C1I(p.block(p.out16, b), p.forward);
             }),
             kPeer, peerFrom16s});
  table.run({"DCTQuantFwd8x8_Eighths_16s_C1", "block", kBlocks, 0.75, 0.45,
             [&p] {
               rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(p.shifted.data(), p.out16.data(), kBlocks,
                                                      p.forward);
             },
             kPeer, peerFrom16s});
  static uint16_t ones[RKD_QUANT_TABLE_LENGTH];
  std::fill(std::begin(ones), std::end(ones), uint16_t{1});
  table.run({"DCTQuantFwd8x8_16s_C1, table of ones", "block", kBlocks, 0.75, 0.45,
             overBlocks([&](int b) {
               rkdiDCTQuantFwd8x8_JPEG_16s_C1(p.block(p.shifted, b), p.block(p.out16, b), ones);
             }),
             kPeer, peerFrom16s});
}

void benchForwardRows(Table& table, Picture& p) {
  PeerDivisors divisors(p.quantisers);
  PeerRows rows(p.samples);
  alignas(32) static int16_t workspace[64];
  table.run({"DCTQuantFwd8x8LS_8u16s_C1R", "block", kBlocks, 0.75, 0.45, overBlocks([&](int b) {
               rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(p.at(p.samples, b), kWidth, p.block(p.out16, b),
                                                   p.forward);
             }),
             kPeer, overBlocks([&](int b) {
               jsimd_convsamp_avx2(rows.ofBlock(b), PeerRows::column(b), workspace);
               jsimd_fdct_islow_avx2(workspace);
               jsimd_quantize_avx2(p.block(p.out16, b), divisors.entry, workspace);
             })});
  table.run({"DCTQuantFwd8x8LS_16u16s_C1R",
             "block",
             kBlocks,
             0,
             0,
             overBlocks([&](int b) {
               rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(
                   reinterpret_cast<uint16_t*>(p.block(p.shifted, b)), 16, p.block(p.out16, b),
                   p.forward);
             }),
             "",
             {}});
  table.run({"QuantFwd8x8_16s_C1I", "block", kBlocks, 0, 0, overBlocks([&](int b) {
               rkdiQuantFwd8x8_JPEG_16s_C1I(p.block(p.out16, b), p.forward);
             }),
             kPeer, overBlocks([&](int b) {
               jsimd_quantize_avx2(p.block(p.out16, b), divisors.entry, p.block(p.out16, b));
             })});
}

using Routine = void (*)(void*, int16_t*, uint8_t**, unsigned);

// Dequantised and transformed into rows of the picture; N samples a row.
std::function<void()> peerInverse(Picture& p, PeerRows& rows, std::vector<int16_t>& coefficients,
                                  Routine routine, int N) {
  static int16_t quantisers[64];
  std::copy_n(p.quantisers, 64, quantisers);
  return overBlocks([&, routine, N](int b) {
    uint8_t** first = rows.row.data() + b / kAcross * N;
    routine(quantisers, p.block(coefficients, b), first, static_cast<unsigned>(b % kAcross * N));
  });
}

template <class Function>
std::function<void()> ourInverse(Picture& p, std::vector<int16_t>& coefficients, Function function,
                                 int N) {
  return overBlocks([&, function, N](int b) {
    uint8_t* to = p.out.data() + b / kAcross * N * kWidth + b % kAcross * N;
    function(p.block(coefficients, b), to, kWidth, p.inverse);
  });
}

void benchInverse(Table& table, Picture& p) {
  PeerRows rows(p.out);
  const auto peer = peerInverse(p, rows, p.coefficients, jsimd_idct_islow_avx2, 8);
  table.run({"DCTQuantInv8x8_16s_C1", "block", kBlocks, 0.75, 0.45, overBlocks([&](int b) {
               rkdiDCTQuantInv8x8_JPEG_16s_C1(p.block(p.coefficients, b), p.block(p.out16, b),
                                              p.inverse);
             }),
             kPeer, peer});
  table.run({"DCTQuantInv8x8_16s_C1I", "block", kBlocks, 0.75, 0.45, overBlocks([&](int b) {
               rkdiDCTQuantInv8x8_JPEG_16s_C1I(p.block(p.out16, b), p.inverse);
             }),
             kPeer, peer});
  table.run({"DCTQuantInv8x8LS_16s8u_C1R", "block", kBlocks, 0.75, 0.45,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, 8), kPeer, peer});
  table.run({"DCTQuantInv8x8LS_16s8u_C1R, flat blocks", "block", kBlocks, 0.75, 0.45,
             ourInverse(p, p.flat, rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, 8), kPeer,
             peerInverse(p, rows, p.flat, jsimd_idct_islow_avx2, 8)});
  table.run({"DCTQuantInv8x8LS_4x4_16s8u_C1R", "block", kBlocks, 0.75, 0.45,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, 8), kPeer,
             peer});
  table.run({"DCTQuantInv8x8LS_2x2_16s8u_C1R", "block", kBlocks, 0.75, 0.45,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, 8), kPeer,
             peer});
  table.run({"DCTQuantInv8x8LS_1x1_16s8u_C1R", "block", kBlocks, 0.75, 0.45,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, 8), kPeer,
             peer});
  table.run({"DCTQuantInv8x8To4x4LS_16s8u_C1R", "block", kBlocks, 0.75, 0.4,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, 4), kPeer,
             peerInverse(p, rows, p.coefficients, jsimd_idct_4x4_sse2, 4)});
  table.run({"DCTQuantInv8x8To2x2LS_16s8u_C1R", "block", kBlocks, 0.75, 0.4,
             ourInverse(p, p.coefficients, rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, 2), kPeer,
             peerInverse(p, rows, p.coefficients, jsimd_idct_2x2_sse2, 2)});
  table.run({"DCTQuantInv8x8LS_16s16u_C1R",
             "block",
             kBlocks,
             0,
             0,
             overBlocks([&](int b) {
               rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(
                   p.block(p.coefficients, b), reinterpret_cast<uint16_t*>(p.block(p.out16, b)), 16,
                   p.inverse);
             }),
             "",
             {}});
  table.run(
      {"QuantInv8x8_16s_C1I",
       "block",
       kBlocks,
       0,
       0,
       overBlocks([&](int b) { rkdiQuantInv8x8_JPEG_16s_C1I(p.block(p.out16, b), p.inverse); }),
       "",
       {}});
}

// Level shift reads and writes what these loops do, which add nothing else: a sample is truncated
// or widened. They are compiled for the level that runs on this machine.
RKD_BENCH_WIDE void plainNarrow(const int16_t* src, uint8_t* dst, int n) {
  for (int i = 0; i < n; ++i) dst[i] = static_cast<uint8_t>(src[i]);
}
RKD_BENCH_WIDE void plainWiden(const uint8_t* src, int16_t* dst, int n) {
  for (int i = 0; i < n; ++i) dst[i] = src[i];
}

void benchLevelShift(Table& table, const char* where, RkdiSize size) {
  const int n = size.width * size.height;
  const int repeat = std::max(1, (1 << 16) / n);
  std::vector<int16_t> wide(n, 17);
  std::vector<uint8_t> narrow(n, 17);
  const auto repeated = [&](auto body) -> std::function<void()> {
    return [=] {
      for (int i = 0; i < repeat; ++i) body();
    };
  };
  int16_t* w = wide.data();
  uint8_t* b = narrow.data();
  table.run({std::string("Add128_16s8u_C1R, ") + where, "px", double(n) * repeat, 1.3, 1.05,
             repeated([=] { rkdiAdd128_JPEG_16s8u_C1R(w, size.width * 2, b, size.width, size); }),
             "plain loop", repeated([=] { plainNarrow(w, b, n); })});
  table.run({std::string("Sub128_8u16s_C1R, ") + where, "px", double(n) * repeat, 1.3, 1.05,
             repeated([=] { rkdiSub128_JPEG_8u16s_C1R(b, size.width, w, size.width * 2, size); }),
             "plain loop", repeated([=] { plainWiden(b, w, n); })});
}

}  // namespace

void benchDct(Table& table) {
  const auto picture = std::make_unique<Picture>();
  benchForward(table, *picture);
  benchForwardRows(table, *picture);
  benchInverse(table, *picture);
  benchLevelShift(table, "first-level cache", {128, 64});
  benchLevelShift(table, "second-level cache", {512, 256});
}

}  // namespace bench
