// Sequential and lossless Huffman coding, and the tables.
#include "huffbits.h"

#include <algorithm>

namespace ref {
namespace {
using namespace huff;

/// The AC coefficients of a sequential block (F.1.2.2).
void putAC(Samples<const int16_t> src, Output* out) {
  int run = 0;
  for (int k = 1; k < 64; ++k) {
    const int value = src[zigzag[k]];
    if (value == 0) {
      ++run;
      continue;
    }
    for (; run > 15; run -= 16) out->symbol(0xF0);
    out->valueSymbol(run, value);
    run = 0;
  }
  if (run > 0) out->symbol(0);
}

Bits blockBits(Samples<const int16_t> src, int previousDC, const RkdiEncodeHuffmanSpec* dcSpec,
               const RkdiEncodeHuffmanSpec* acSpec) {
  Output dc(dcSpec), ac(acSpec);
  dc.valueSymbol(0, src[0] - previousDC);
  putAC(src, &ac);
  dc.bits.insert(dc.bits.end(), ac.bits.begin(), ac.bits.end());
  return dc.bits;
}

void takeBlock(Input* in, Samples<int16_t> dst, int* previousDC,
               const RkdiDecodeHuffmanSpec* dcSpec, const RkdiDecodeHuffmanSpec* acSpec,
               int* reached) {
  *reached = 0;
  for (int i = 0; i < 64; ++i) dst[i] = 0;
  dst[0] = int16_t(*previousDC + in->dcDifference(dcSpec));
  for (int k = 1; k < 64; ++k) {
    *reached = k;
    const int s = in->symbol(acSpec);
    const int value = in->value(s & 15);
    if ((s & 15) == 0 && s != 0xF0) {
      if (s != 0) throw Fault{rkdStsDataErr};
      break;
    }
    k += s >> 4;
    if (k > 63) throw Fault{rkdStsDataErr};
    dst[zigzag[k]] = int16_t(value);
  }
  *previousDC = dst[0];
}

/// Numbers the codes of a DHT segment's lists (annex C).
template <class Each>
RkdStatus forEachCode(const uint8_t* bits, const uint8_t* values, const Each& each) {
  bool used[256] = {};
  int code = 0, at = 0;
  for (int length = 1; length <= 16; ++length, code <<= 1) {
    for (int i = 0; i < bits[length - 1]; ++i, ++at, ++code) {
      if (at == 256 || code >= 1 << length || used[values[at]]) return rkdStsHuffTableErr;
      used[values[at]] = true;
      each(at, code, length);
    }
  }
  return at > 0 ? rkdStsNoErr : rkdStsHuffTableErr;
}

}  // namespace

RkdStatus rkdiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiEncodeHuffmanSpec* spec) {
  *spec = {};
  return forEachCode(bits, values, [&](int at, int code, int length) {
    spec->code[values[at]] = uint32_t(code);
    spec->length[values[at]] = length;
  });
}

RkdStatus rkdiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiDecodeHuffmanSpec* spec) {
  *spec = {};
  std::fill(std::begin(spec->maxCode), std::end(spec->maxCode), -1);
  return forEachCode(bits, values, [&](int at, int code, int length) {
    if (spec->maxCode[length] < 0) {
      spec->minCode[length] = code;
      spec->first[length] = at;
    }
    spec->maxCode[length] = code;
    spec->symbol[at] = values[at];
  });
}

/// K.2, figures K.1 to K.4.
RkdStatus rkdiEncodeHuffmanRawTableInit_JPEG_8u(const int* statistics, uint8_t* bits,
                                                uint8_t* values) {
  long long freq[257];
  int codesize[257] = {}, others[257];
  bool empty = true;
  for (int v = 0; v < 256; ++v) {
    freq[v] = std::max<int>(samples(statistics)[v], 0);
    empty = empty && freq[v] == 0;
  }
  if (empty) freq[0] = 1;
  freq[256] = 1;
  std::fill(others, others + 257, -1);
  for (;;) {
    int v1 = -1, v2 = -1;
    for (int v = 0; v < 257; ++v) {
      if (freq[v] != 0 && (v1 < 0 || freq[v] <= freq[v1])) v1 = v;
    }
    for (int v = 0; v < 257; ++v) {
      if (freq[v] != 0 && v != v1 && (v2 < 0 || freq[v] <= freq[v2])) v2 = v;
    }
    if (v2 < 0) break;
    freq[v1] += freq[v2];
    freq[v2] = 0;
    ++codesize[v1];
    while (others[v1] >= 0) ++codesize[v1 = others[v1]];
    others[v1] = v2;
    ++codesize[v2];
    while (others[v2] >= 0) ++codesize[v2 = others[v2]];
  }
  int count[258] = {};
  for (int v = 0; v < 257; ++v) {
    if (codesize[v] != 0) ++count[codesize[v]];
  }
  for (int i = 257; i > 16;) {
    if (count[i] == 0) {
      --i;
      continue;
    }
    int j = i - 2;
    while (count[j] == 0) --j;
    count[i] -= 2;
    ++count[i - 1];
    count[j + 1] += 2;
    --count[j];
  }
  int longest = 16;
  while (count[longest] == 0) --longest;
  --count[longest];
  for (int i = 0; i < 16; ++i) bits[i] = uint8_t(count[i + 1]);
  std::fill(values, values + 256, uint8_t{0});
  for (int size = 1, k = 0; size < 258; ++size) {
    for (int v = 0; v < 256; ++v) {
      if (codesize[v] == size) values[k++] = uint8_t(v);
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, int* previousDC,
                                             const RkdiEncodeHuffmanSpec* dcSpec,
                                             const RkdiEncodeHuffmanSpec* acSpec,
                                             RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    if (flush != 0) return finish({}, stream, length, position, state);
    send(blockBits(src, *previousDC, dcSpec, acSpec), stream, length, position, state);
    *previousDC = samples(src)[0];
  });
}

RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* previousDC, int* marker,
                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                             const RkdiDecodeHuffmanSpec* acSpec,
                                             RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    int dc = *previousDC;
    takeBlock(&in, dst, &dc, dcSpec, acSpec, &state->reached);
    in.commit(position, marker, state);
    *previousDC = dc;
  });
}

RkdStatus rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                                    int* position, int* previousDC,
                                                    const RkdiEncodeHuffmanSpec* dcSpec,
                                                    const RkdiEncodeHuffmanSpec* acSpec) {
  return guarded([&] {
    Bits bits = blockBits(src, *previousDC, dcSpec, acSpec);
    const int end = *position + int(bits.size());
    if (end > 8 * length) throw Fault{rkdStsDstFullErr};
    while ((size_t(*position) + bits.size()) % 8 != 0) bits.push_back(1);
    for (size_t i = 0; i < bits.size(); ++i) {
      const int at = *position + int(i);
      const int mask = 0x80 >> (at & 7);
      stream[at >> 3] = uint8_t((stream[at >> 3] & ~mask) | (bits[i] != 0 ? mask : 0));
    }
    *position = end;
    *previousDC = samples(src)[0];
  });
}

RkdStatus rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                    int* position, int16_t* dst, int* previousDC,
                                                    const RkdiDecodeHuffmanSpec* dcSpec,
                                                    const RkdiDecodeHuffmanSpec* acSpec) {
  return guarded([&] {
    Input in(stream, length, *position / 8, RkdiDecodeHuffmanState{}, false);
    int reached = 0;
    in.bits(*position % 8);
    takeBlock(&in, dst, previousDC, dcSpec, acSpec, &reached);
    *position = *position / 8 * 8 + in.taken();
  });
}

RkdStatus rkdiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, const RkdiEncodeHuffmanSpec* spec,
                                             RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    if (flush != 0) return finish({}, stream, length, position, state);
    Output out(spec);
    out.lossless(samples(src)[0]);
    send(out.bits, stream, length, position, state);
  });
}

RkdStatus rkdiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* marker,
                                             const RkdiDecodeHuffmanSpec* spec,
                                             RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    state->reached = 0;
    samples(dst)[0] = 0;
    samples(dst)[0] = int16_t(in.lossless(spec));
    in.commit(position, marker, state);
  });
}

RkdStatus rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const src[4], uint8_t* stream,
                                               int length, int* position, int width,
                                               const RkdiEncodeHuffmanSpec* const spec[4],
                                               RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    if (flush != 0) return finish({}, stream, length, position, state);
    Bits bits;
    for (int x = 0; x < width; ++x) {
      for (int p = 0; p < 4 && src[p] != nullptr; ++p) {
        Output out(spec[p]);
        out.lossless(samples(src[p])[x]);
        bits.insert(bits.end(), out.bits.begin(), out.bits.end());
      }
    }
    send(bits, stream, length, position, state);
  });
}

RkdStatus rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* stream, int length, int* position,
                                               int16_t* const dst[4], int* marker, int width,
                                               const RkdiDecodeHuffmanSpec* const spec[4],
                                               RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    for (int p = 0; p < 4 && dst[p] != nullptr; ++p) {
      for (int x = 0; x < width; ++x) samples(dst[p])[x] = 0;
    }
    state->reached = 0;
    for (int x = 0; x < width; ++x) {
      for (int p = 0; p < 4 && dst[p] != nullptr; ++p) {
        samples(dst[p])[x] = int16_t(in.lossless(spec[p]));
        ++state->reached;
      }
    }
    in.commit(position, marker, state);
  });
}

RkdStatus rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int* dcStatistics,
                                                  int* acStatistics, int* previousDC) {
  return guarded([&] {
    Output dc(dcStatistics), ac(acStatistics);
    dc.valueSymbol(0, samples(src)[0] - *previousDC);
    putAC(src, &ac);
    *previousDC = samples(src)[0];
  });
}

RkdStatus rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(const int16_t* const src[4], int width,
                                                  int* const statistics[4]) {
  for (int p = 0; p < 4 && src[p] != nullptr; ++p) {
    for (int x = 0; x < width; ++x) count(statistics[p], category(samples(src[p])[x]));
  }
  return rkdStsNoErr;
}

}  // namespace ref
