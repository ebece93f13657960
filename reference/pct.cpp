// Photo core transform by ITU-T T.832, D.4 and 9.9.7: block by block, step by step.
#include <utility>

#include "ref_pct.h"
#include "samples.h"

namespace ref {
namespace {

/// A sample modulo 2^32, shown as -2^31..2^31 - 1; shifts to the right round down.
struct Int {
  uint32_t bits = 0;

  static Int of(int32_t v) { return {static_cast<uint32_t>(v)}; }
  int32_t value() const { return static_cast<int32_t>(bits); }
  Int& operator+=(Int o) { return *this = {bits + o.bits}; }
  Int& operator-=(Int o) { return *this = {bits - o.bits}; }
};
Int operator+(Int a, Int b) { return {a.bits + b.bits}; }
Int operator+(Int a, int b) { return a + Int::of(b); }
Int operator-(Int a, Int b) { return {a.bits - b.bits}; }
Int operator-(Int a) { return {0 - a.bits}; }
Int operator*(uint32_t k, Int a) { return {k * a.bits}; }
Int operator>>(Int a, int n) { return Int::of(a.value() >> n); }

void hadamard(Int& a, Int& b, Int& c, Int& d, int round) {
  a += d;
  b -= c;
  const Int t = (a - b + round) >> 1;
  const Int oldC = c;
  c = t - d;
  d = t - oldC;
  a -= d;
  b += c;
}

void odd(Int& a, Int& b, Int& c, Int& d) {
  b -= c;
  a += d;
  c += (b + 1) >> 1;
  d = ((a + 1) >> 1) - d;
  b -= (3 * a + 4) >> 3;
  a += (3 * b + 4) >> 3;
  d -= (3 * c + 4) >> 3;
  c += (3 * d + 4) >> 3;
  d += b >> 1;
  c -= (a + 1) >> 1;
  b -= d;
  a += c;
}

void oddBack(Int& a, Int& b, Int& c, Int& d) {
  b += d;
  a -= c;
  d -= b >> 1;
  c += (a + 1) >> 1;
  a -= (3 * b + 4) >> 3;
  b += (3 * a + 4) >> 3;
  c -= (3 * d + 4) >> 3;
  d += (3 * c + 4) >> 3;
  c -= (b + 1) >> 1;
  d = ((a + 1) >> 1) - d;
  b += c;
  a -= d;
}

void oddOdd(Int& a, Int& b, Int& c, Int& d) {
  b = -b;
  c = -c;
  d += a;
  c -= b;
  const Int t1 = d >> 1, t2 = c >> 1;
  a -= t1;
  b += t2;
  a += (3 * b + 4) >> 3;
  b -= (3 * a + 3) >> 2;
  a += (3 * b + 3) >> 3;
  b -= t2;
  a += t1;
  c += b;
  d -= a;
}

void oddOddBack(Int& a, Int& b, Int& c, Int& d) {
  d += a;
  c -= b;
  const Int t1 = d >> 1, t2 = c >> 1;
  a -= t1;
  b += t2;
  a -= (3 * b + 3) >> 3;
  b += (3 * a + 3) >> 2;
  a -= (3 * b + 4) >> 3;
  b -= t2;
  a += t1;
  c += b;
  d -= a;
  b = -b;
  c = -c;
}

void outerHadamards(Int* x) {
  static constexpr int quads[4][4] = {{0, 3, 12, 15}, {1, 2, 13, 14}, {4, 7, 8, 11}, {5, 6, 9, 10}};
  for (const auto& q : quads) hadamard(x[q[0]], x[q[1]], x[q[2]], x[q[3]], 0);
}

/// Where the lifting steps leave the coefficients in natural order.
constexpr int kNatural[16] = {0, 8, 4, 6, 2, 10, 14, 12, 1, 11, 15, 13, 9, 3, 7, 5};

void forward4x4(Int* x) {
  outerHadamards(x);
  hadamard(x[0], x[1], x[4], x[5], 1);
  odd(x[2], x[3], x[6], x[7]);
  odd(x[8], x[12], x[9], x[13]);
  oddOdd(x[10], x[11], x[14], x[15]);
  Int y[16];
  for (int i = 0; i < 16; ++i) y[kNatural[i]] = x[i];
  for (int i = 0; i < 16; ++i) x[i] = y[i];
}

void inverse4x4(Int* y) {
  Int x[16];
  for (int i = 0; i < 16; ++i) x[i] = y[kNatural[i]];
  hadamard(x[0], x[1], x[4], x[5], 1);
  oddBack(x[2], x[3], x[6], x[7]);
  oddBack(x[8], x[12], x[9], x[13]);
  oddOddBack(x[10], x[11], x[14], x[15]);
  outerHadamards(x);
  for (int i = 0; i < 16; ++i) y[i] = x[i];
}

/// Rows of samples, each `pitch`-th of each `pitch`-th row: 1 for samples, 4 for DCs.
struct Grid {
  int32_t* data;
  int step;
  int pitch;

  Sample<int32_t> at(int x, int y) const { return row(data, step, pitch * y)[pitch * x]; }
  Int get(int x, int y) const { return Int::of(at(x, y)); }
  void put(int x, int y, Int v) const { at(x, y) = v.value(); }
};

/// The 4x4 transform of the block whose first sample is (x0, y0).
void transformBlock(const Grid& grid, int x0, int y0, void (*transform)(Int*)) {
  Int x[16];
  for (int i = 0; i < 16; ++i) x[i] = grid.get(x0 + i % 4, y0 + i / 4);
  transform(x);
  for (int i = 0; i < 16; ++i) grid.put(x0 + i % 4, y0 + i / 4, x[i]);
}

void transformBlocks(int32_t* data, int step, RkdiSize size, void (*transform)(Int*)) {
  for (int y = 0; y + 4 <= size.height; y += 4) {
    for (int x = 0; x + 4 <= size.width; x += 4) transformBlock({data, step, 1}, x, y, transform);
  }
}

/// The 2x2 transform of the DCs of block rows y0 and y0 + 1, in natural order on the other side.
void transformQuad(const Grid& dc, int y0, bool inverse) {
  Int a = dc.get(0, y0), b = dc.get(1, y0), c = dc.get(0, y0 + 1), d = dc.get(1, y0 + 1);
  if (inverse) std::swap(b, c);
  hadamard(a, b, c, d, 0);
  if (!inverse) std::swap(b, c);
  dc.put(0, y0, a);
  dc.put(1, y0, b);
  dc.put(0, y0 + 1, c);
  dc.put(1, y0 + 1, d);
}

}  // namespace

RkdStatus rkdiPCTFwd_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size) {
  transformBlocks(srcDst, step, size, forward4x4);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTInv_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size) {
  transformBlocks(srcDst, step, size, inverse4x4);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTFwd16x16_HDP_32s_C1IR(int32_t* srcDst, int step) {
  transformBlocks(srcDst, step, {16, 16}, forward4x4);
  transformBlock({srcDst, step, 4}, 0, 0, forward4x4);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTInv16x16_HDP_32s_C1IR(int32_t* srcDst, int step) {
  transformBlock({srcDst, step, 4}, 0, 0, inverse4x4);
  transformBlocks(srcDst, step, {16, 16}, inverse4x4);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTFwd8x16_HDP_32s_C1IR(int32_t* srcDst, int step) {
  const Grid dc{srcDst, step, 4};
  transformBlocks(srcDst, step, {8, 16}, forward4x4);
  transformQuad(dc, 0, false);
  transformQuad(dc, 2, false);
  const Int difference = dc.get(0, 2) - dc.get(0, 0);
  dc.put(0, 2, difference);
  dc.put(0, 0, dc.get(0, 0) + ((difference + 1) >> 1));
  return rkdStsNoErr;
}

RkdStatus rkdiPCTInv8x16_HDP_32s_C1IR(int32_t* srcDst, int step) {
  const Grid dc{srcDst, step, 4};
  dc.put(0, 0, dc.get(0, 0) - ((dc.get(0, 2) + 1) >> 1));
  dc.put(0, 2, dc.get(0, 2) + dc.get(0, 0));
  transformQuad(dc, 0, true);
  transformQuad(dc, 2, true);
  transformBlocks(srcDst, step, {8, 16}, inverse4x4);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTFwd8x8_HDP_32s_C1IR(int32_t* srcDst, int step) {
  transformBlocks(srcDst, step, {8, 8}, forward4x4);
  transformQuad({srcDst, step, 4}, 0, false);
  return rkdStsNoErr;
}

RkdStatus rkdiPCTInv8x8_HDP_32s_C1IR(int32_t* srcDst, int step) {
  transformQuad({srcDst, step, 4}, 0, true);
  transformBlocks(srcDst, step, {8, 8}, inverse4x4);
  return rkdStsNoErr;
}

}  // namespace ref
