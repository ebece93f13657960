// Colour conversion and the MCU functions beside libjpeg-turbo's vector routines. An MCU function
// does in one pass what the peer does in three: conversion, sampling, level shift.
#include <cstring>
#include <memory>

#include "bench_peerrows.h"
#include "benchkit.h"
#include "rkd/rkdcolor.h"
#include "rkd/rkdjpeg_mcu.h"

// Of libjpeg.a, in the calling convention of its assembly.
extern "C" {
void jsimd_extrgb_ycc_convert_avx2(unsigned width, uint8_t** from, uint8_t*** to, unsigned row,
                                   int rows);
void jsimd_extrgb_gray_convert_avx2(unsigned width, uint8_t** from, uint8_t*** to, unsigned row,
                                    int rows);
void jsimd_ycc_extrgb_convert_avx2(unsigned width, uint8_t*** from, unsigned row, uint8_t** to,
                                   int rows);
void jsimd_h2v1_downsample_avx2(unsigned width, int maxVertical, unsigned vertical, unsigned blocks,
                                uint8_t** from, uint8_t** to);
void jsimd_h2v2_downsample_avx2(unsigned width, int maxVertical, unsigned vertical, unsigned blocks,
                                uint8_t** from, uint8_t** to);
void jsimd_h2v1_upsample_avx2(int maxVertical, unsigned width, uint8_t** from, uint8_t*** to);
void jsimd_h2v2_upsample_avx2(int maxVertical, unsigned width, uint8_t** from, uint8_t*** to);
void jsimd_convsamp_avx2(uint8_t** rows, unsigned column, int16_t* workspace);
}

namespace bench {
namespace {

constexpr const char* kPeer = "libjpeg-turbo";

// Pixels, planes and blocks of both sides lie in the second-level cache.
constexpr int kWidth = 256;
constexpr int kHeight = 128;
constexpr int kPixels = kWidth * kHeight;
constexpr RkdiSize kSize = {kWidth, kHeight};

struct Picture {
  PlaneRows rgb{3 * kWidth, kHeight};
  PlaneRows out{3 * kWidth, kHeight};
  PlaneRows ycc[3] = {{kWidth, kHeight}, {kWidth, kHeight}, {kWidth, kHeight}};
  PlaneRows half[2] = {{kWidth / 2, kHeight}, {kWidth / 2, kHeight}};
  alignas(64) int16_t blocks[3][kPixels + 3 * kWidth];
  uint8_t* planes[3];
  uint8_t** planeRows[3];

  Picture() {
    unsigned seed = 1;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < 3 * kWidth; ++x) {
        seed = seed * 69069 + 1;
        rgb.rows()[y][x] = static_cast<uint8_t>((x % 3 * 40 + x / 5 + y + (seed >> 27)) % 256);
      }
    }
    for (int p = 0; p < 3; ++p) {
      planes[p] = ycc[p].data();
      planeRows[p] = ycc[p].rows();
    }
    rkdiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), rgb.step(), planes, step(), kSize);
    for (int i = 0; i < kPixels; ++i) {
      for (int p = 0; p < 3; ++p) {
        blocks[p][i] = static_cast<int16_t>(planeRows[p][i / kWidth][i % kWidth] - 128);
      }
    }
  }
  int step() const { return ycc[0].step(); }
};

void benchRows(Table& table, Picture& p) {
  table.run(
      {"RGBToYCbCr_8u_C3P3R", "px", kPixels, 0.5, 0.33,
       [&] { rkdiRGBToYCbCr_JPEG_8u_C3P3R(p.rgb.data(), p.rgb.step(), p.planes, p.step(), kSize); },
       kPeer,
       [&] { jsimd_extrgb_ycc_convert_avx2(kWidth, p.rgb.rows(), p.planeRows, 0, kHeight); }});
  table.run(
      {"YCbCrToRGB_8u_P3C3R", "px", kPixels, 0.65, 0.45,
       [&] { rkdiYCbCrToRGB_JPEG_8u_P3C3R(p.planes, p.step(), p.out.data(), p.out.step(), kSize); },
       kPeer,
       [&] { jsimd_ycc_extrgb_convert_avx2(kWidth, p.planeRows, 0, p.out.rows(), kHeight); }});
  table.run(
      {"RGBToY_8u_C3C1R", "px", kPixels, 0.6, 0.35,
       [&] { rkdiRGBToY_JPEG_8u_C3C1R(p.rgb.data(), p.rgb.step(), p.planes[0], p.step(), kSize); },
       kPeer,
       [&] { jsimd_extrgb_gray_convert_avx2(kWidth, p.rgb.rows(), p.planeRows, 0, kHeight); }});
}

// ---- MCU functions ----

// Horizontal and vertical sampling factors of the first component.
struct Sampling {
  int across, down;
};
constexpr Sampling k444 = {1, 1}, k422 = {2, 1}, k411 = {2, 2};

// Calls body(x, y, planes) for every MCU's first pixel and blocks, in order.
template <class Body>
void overMcus(Picture& p, Sampling s, Body body) {
  const int first = 64 * s.across * s.down;
  int16_t* plane[3] = {p.blocks[0], p.blocks[1], p.blocks[2]};
  for (int y = 0; y < kHeight; y += 8 * s.down) {
    for (int x = 0; x < kWidth; x += 8 * s.across) {
      body(x, y, plane);
      plane[0] += first;
      plane[1] += 64;
      plane[2] += 64;
    }
  }
}

using Forward = RkdStatus (*)(const uint8_t*, int, int16_t* const*);
using Inverse = RkdStatus (*)(const int16_t* const*, uint8_t*, int);

std::function<void()> ours(Picture& p, Sampling s, Forward function) {
  return [&p, s, function] {
    overMcus(p, s, [&](int x, int y, int16_t** plane) {
      function(p.rgb.rows()[y] + 3 * x, p.rgb.step(), plane);
    });
  };
}

std::function<void()> ours(Picture& p, Sampling s, Inverse function) {
  return [&p, s, function] {
    overMcus(p, s, [&](int x, int y, int16_t** plane) {
      function(plane, p.out.rows()[y] + 3 * x, p.out.step());
    });
  };
}

// Level shift of rows of 8 down to `blocks` blocks, which lie as in an MCU row.
void peerShiftDown(uint8_t** rows, int width, Sampling s, int16_t* blocks) {
  for (int x = 0; x < width; x += 8 * s.across) {
    for (int v = 0; v < s.down; ++v) {
      for (int h = 0; h < s.across; ++h, blocks += 64) {
        jsimd_convsamp_avx2(rows + 8 * v, static_cast<unsigned>(x + 8 * h), blocks);
      }
    }
  }
}

// A row of MCUs at a time, as the peer's own coder goes.
void peerForward(Picture& p, Sampling s) {
  for (int y = 0, row = 0; y < kHeight; y += 8 * s.down, ++row) {
    jsimd_extrgb_ycc_convert_avx2(kWidth, p.rgb.rows() + y, p.planeRows, static_cast<unsigned>(y),
                                  8 * s.down);
    peerShiftDown(p.planeRows[0] + y, kWidth, s, &p.blocks[0][y * kWidth]);
    for (int c = 1; c < 3; ++c) {
      uint8_t** rows = p.planeRows[c] + y;
      if (s.across == 2) {
        const auto sample = s.down == 2 ? jsimd_h2v2_downsample_avx2 : jsimd_h2v1_downsample_avx2;
        sample(kWidth, s.down, 8, kWidth / 16, rows, p.half[c - 1].rows() + 8 * row);
        rows = p.half[c - 1].rows() + 8 * row;
      }
      const int width = kWidth / s.across;
      peerShiftDown(rows, width, k444, &p.blocks[c][8 * row * width]);
    }
  }
}

// The peer shifts samples up at the end of its inverse transform, two rows of words a vector of
// bytes; the compiler finds no such loop by itself.
void peerShiftUp(const int16_t* block, uint8_t** rows, int x) {
  using Words = int16_t __attribute__((vector_size(16)));
  for (int y = 0; y < 8; y += 2) {
    Words words[2];
    std::memcpy(words, block + 8 * y, sizeof(words));
    const auto bytes = __builtin_ia32_packuswb128(words[0] + 128, words[1] + 128);
    const auto* from = reinterpret_cast<const char*>(&bytes);
    std::memcpy(rows[y] + x, from, 8);
    std::memcpy(rows[y + 1] + x, from + 8, 8);
  }
}

void peerShiftUp(const int16_t* blocks, uint8_t** rows, int width, Sampling s) {
  for (int x = 0; x < width; x += 8 * s.across) {
    for (int v = 0; v < s.down; ++v) {
      for (int h = 0; h < s.across; ++h, blocks += 64) {
        peerShiftUp(blocks, rows + 8 * v, x + 8 * h);
      }
    }
  }
}

void peerInverse(Picture& p, Sampling s) {
  for (int y = 0, row = 0; y < kHeight; y += 8 * s.down, ++row) {
    peerShiftUp(&p.blocks[0][y * kWidth], p.planeRows[0] + y, kWidth, s);
    for (int c = 1; c < 3; ++c) {
      uint8_t** whole = p.planeRows[c] + y;
      uint8_t** rows = s.across == 2 ? p.half[c - 1].rows() + 8 * row : whole;
      const int width = kWidth / s.across;
      peerShiftUp(&p.blocks[c][8 * row * width], rows, width, k444);
      if (s.across == 2) {
        const auto sample = s.down == 2 ? jsimd_h2v2_upsample_avx2 : jsimd_h2v1_upsample_avx2;
        sample(8 * s.down, kWidth, rows, &whole);
      }
    }
    jsimd_ycc_extrgb_convert_avx2(kWidth, p.planeRows, static_cast<unsigned>(y), p.out.rows() + y,
                                  8 * s.down);
  }
}

void benchMcus(Table& table, Picture& p) {
  const auto forward = [&](const char* name, Sampling s, Forward function) {
    table.run({name, "px", kPixels, 0.5, 0.33, ours(p, s, function), kPeer,
               [&p, s] { peerForward(p, s); }});
  };
  const auto inverse = [&](const char* name, Sampling s, Inverse function) {
    table.run({name, "px", kPixels, 0.5, 0.33, ours(p, s, function), kPeer,
               [&p, s] { peerInverse(p, s); }});
  };
  forward("RGBToYCbCr444LS_MCU_8u16s_C3P3R", k444, rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R);
  forward("RGBToYCbCr422LS_MCU_8u16s_C3P3R", k422, rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R);
  forward("RGBToYCbCr411LS_MCU_8u16s_C3P3R", k411, rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R);
  inverse("YCbCr444ToRGBLS_MCU_16s8u_P3C3R", k444, rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R);
  inverse("YCbCr422ToRGBLS_MCU_16s8u_P3C3R", k422, rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R);
  inverse("YCbCr411ToRGBLS_MCU_16s8u_P3C3R", k411, rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R);
}

// ---- functions that move and shift samples ----

RKD_BENCH_WIDE void plainWiden(const uint8_t* src, int16_t* dst, int n) {
  for (int i = 0; i < n; ++i) dst[i] = src[i];
}

// An MCU from its three blocks to 8 rows of 24 bytes by as few loads and stores as there can be;
// only the order of samples is wrong.
RKD_BENCH_WIDE RkdStatus plainUp(const int16_t* const* src, uint8_t* dst, int step) {
  using Words = int16_t __attribute__((vector_size(16)));
  for (int y = 0; y < 8; ++y, dst += step) {
    Words words[3];
    for (int c = 0; c < 3; ++c) std::memcpy(&words[c], src[c] + 8 * y, sizeof(Words));
    const auto first = __builtin_ia32_packuswb128(words[0], words[1]);
    const auto rest = __builtin_ia32_packuswb128(words[2], words[2]);
    std::memcpy(dst, &first, 16);
    std::memcpy(dst + 16, &rest, 8);
  }
  return rkdStsNoErr;
}

// body(first sample of a row of `rgb`, as many words, samples of a row)
template <class Body>
std::function<void()> overRows(Picture& p, Body body) {
  return [&p, body] {
    for (int y = 0; y < kHeight; ++y) {
      int16_t* words = p.blocks[y % 3] + y / 3 * 3 * kWidth;
      body(p.rgb.rows()[y], words, 3 * kWidth);
    }
  };
}

void benchMoves(Table& table, Picture& p) {
  table.run({"SampleDown444LS_MCU_8u16s_C3P3R", "px", kPixels, 1.5, 1.0,
             ours(p, k444, rkdiSampleDown444LS_MCU_8u16s_C3P3R), "plain loop",
             overRows(p, [](uint8_t* row, int16_t* words, int n) { plainWiden(row, words, n); })});
  table.run({"SampleUp444LS_MCU_16s8u_P3C3R", "px", kPixels, 1.5, 1.0,
             ours(p, k444, rkdiSampleUp444LS_MCU_16s8u_P3C3R), "floor, same accesses",
             ours(p, k444, plainUp)});
}

}  // namespace

void benchColor(Table& table) {
  const auto picture = std::make_unique<Picture>();
  benchRows(table, *picture);
  benchMcus(table, *picture);
  benchMoves(table, *picture);
}

}  // namespace bench
