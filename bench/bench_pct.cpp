// Photo core transform of macroblocks beside the JPEG XR reference software, whose shared library
// exposes the two stages: the transform of a block of 16 values side by side, and that of the DCs,
// every sixteenth value of a macroblock.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "benchkit.h"
#include "rkd/rkdjpeg_hdp.h"

// Of libjpegxr, in place.
extern "C" {
void strDCT4x4Stage1(int32_t* block);
void strDCT4x4SecondStage(int32_t* macroblock);
void strIDCT4x4Stage1(int32_t* block);
void strIDCT4x4Stage2(int32_t* macroblock);
}

namespace bench {
namespace {

constexpr const char* kPeer = "jxrlib";

// Macroblocks of a picture that lies in the second-level cache: 128 KiB.
constexpr int kAcross = 16;
constexpr int kDown = 8;
constexpr int kSide = 16;
constexpr int kWidth = kAcross * kSide;
constexpr int kHeight = kDown * kSide;
constexpr int kSamples = kWidth * kHeight;
constexpr int kStep = kWidth * int(sizeof(int32_t));

void peerForward(int32_t* macroblock) {
  for (int b = 0; b < 16; ++b) strDCT4x4Stage1(macroblock + b * 16);
  strDCT4x4SecondStage(macroblock);
}

void peerInverse(int32_t* macroblock) {
  strIDCT4x4Stage2(macroblock);
  for (int b = 0; b < 16; ++b) strIDCT4x4Stage1(macroblock + b * 16);
}

// The peer's place of a macroblock's sample: blocks column by column, and inside a block its four
// quadrants, mirrored towards the corners.
int peerPlace(int x, int y) {
  static constexpr int inBlock[16] = {0, 1, 5, 4, 2, 3, 7, 6, 10, 11, 15, 14, 8, 9, 13, 12};
  return (x / 4 * 4 + y / 4) * 16 + inBlock[y % 4 * 4 + x % 4];
}

// The peer leaves the coefficients in another order; they must be the same ones.
void requireSameCoefficients() {
  std::mt19937 random(1);
  std::vector<int32_t> ours(kSide * kSide), theirs(ours.size());
  for (int i = 0; i < kSide * kSide; ++i) {
    ours[i] = theirs[peerPlace(i % kSide, i / kSide)] = int32_t(random() % 1024) - 512;
  }
  const std::vector<int32_t> samples = theirs;
  rkdiPCTFwd16x16_HDP_32s_C1IR(ours.data(), kSide * int(sizeof(int32_t)));
  peerForward(theirs.data());
  std::vector<int32_t> back = theirs;
  peerInverse(back.data());
  std::sort(ours.begin(), ours.end());
  std::sort(theirs.begin(), theirs.end());
  if (ours == theirs && back == samples) return;
  std::fprintf(stderr, "bench_pct: the peer's transform is another one\n");
  std::exit(1);
}

template <class Function>
std::function<void()> eachMacroblock(std::vector<int32_t>& picture, int width, int height,
                                     Function function) {
  return [&picture, width, height, function] {
    for (int y = 0; y < kHeight; y += height) {
      for (int x = 0; x < kWidth; x += width) function(picture.data() + y * kWidth + x, kStep);
    }
  };
}

std::function<void()> eachPeerMacroblock(std::vector<int32_t>& picture,
                                         void (*function)(int32_t*)) {
  return [&picture, function] {
    for (int i = 0; i < kSamples; i += kSide * kSide) function(picture.data() + i);
  };
}

}  // namespace

void benchPct(Table& table) {
  requireSameCoefficients();
  std::mt19937 random(2);
  std::vector<int32_t> ours(kSamples), theirs(kSamples);
  for (int i = 0; i < kSamples; ++i) ours[i] = theirs[i] = int32_t(random() % 1024) - 512;

  table.run({"PCTFwd16x16_32s_C1IR", "px", kSamples, 0.25, 0.12,
             eachMacroblock(ours, 16, 16, rkdiPCTFwd16x16_HDP_32s_C1IR), kPeer,
             eachPeerMacroblock(theirs, peerForward)});
  table.run({"PCTInv16x16_32s_C1IR", "px", kSamples, 0.25, 0.12,
             eachMacroblock(ours, 16, 16, rkdiPCTInv16x16_HDP_32s_C1IR), kPeer,
             eachPeerMacroblock(theirs, peerInverse)});

  // The smaller macroblocks differ in their second stage, a small part of the whole.
  table.run({"PCTFwd8x16_32s_C1IR", "px", kSamples, 0, 0,
             eachMacroblock(ours, 8, 16, rkdiPCTFwd8x16_HDP_32s_C1IR), "jxrlib, 16x16",
             eachPeerMacroblock(theirs, peerForward)});
  table.run({"PCTInv8x16_32s_C1IR", "px", kSamples, 0, 0,
             eachMacroblock(ours, 8, 16, rkdiPCTInv8x16_HDP_32s_C1IR), "jxrlib, 16x16",
             eachPeerMacroblock(theirs, peerInverse)});
  table.run({"PCTFwd8x8_32s_C1IR", "px", kSamples, 0, 0,
             eachMacroblock(ours, 8, 8, rkdiPCTFwd8x8_HDP_32s_C1IR), "jxrlib, 16x16",
             eachPeerMacroblock(theirs, peerForward)});
  table.run({"PCTInv8x8_32s_C1IR", "px", kSamples, 0, 0,
             eachMacroblock(ours, 8, 8, rkdiPCTInv8x8_HDP_32s_C1IR), "jxrlib, 16x16",
             eachPeerMacroblock(theirs, peerInverse)});

  const auto blocks = [&](auto function) -> std::function<void()> {
    return [&ours, function] { function(ours.data(), kStep, RkdiSize{kWidth, kHeight}); };
  };
  const auto peerBlocks = [&](void (*function)(int32_t*)) -> std::function<void()> {
    return [&theirs, function] {
      for (int i = 0; i < kSamples; i += 16) function(theirs.data() + i);
    };
  };
  table.run({"PCTFwd_32s_C1IR", "px", kSamples, 0.25, 0.12, blocks(rkdiPCTFwd_HDP_32s_C1IR), kPeer,
             peerBlocks(strDCT4x4Stage1)});
  table.run({"PCTInv_32s_C1IR", "px", kSamples, 0.25, 0.12, blocks(rkdiPCTInv_HDP_32s_C1IR), kPeer,
             peerBlocks(strIDCT4x4Stage1)});
}

}  // namespace bench
