// Progressive Huffman coding.
#include "huffbits.h"

namespace ref {
namespace {
using namespace huff;

/// Sends the pending end-of-band run with its correction bits (G.1.2.2, G.1.2.3).
void endRun(RkdiEncodeHuffmanState* state, Output* out) {
  if (state->endOfBand == 0) return;
  int size = 0;
  while (state->endOfBand >> (size + 1) != 0) ++size;
  out->symbol(size << 4);
  append(&out->bits, uint32_t(state->endOfBand), size);
  for (int i = 0; i < state->correctionCount; ++i) out->rawBit(state->correction[i]);
  state->endOfBand = 0;
  state->correctionCount = 0;
}

void growRun(RkdiEncodeHuffmanState* state, Output* out) {
  ++state->endOfBand;
  if (state->endOfBand == 32767 || state->correctionCount > 937) endRun(state, out);
}

void acFirst(Samples<const int16_t> src, int ss, int se, int al, RkdiEncodeHuffmanState* state,
             Output* out) {
  int run = 0;
  for (int k = ss; k <= se; ++k) {
    const int coefficient = src[zigzag[k]];
    const int value = coefficient < 0 ? -(-coefficient >> al) : coefficient >> al;
    if (value == 0) {
      ++run;
      continue;
    }
    endRun(state, out);
    for (; run > 15; run -= 16) out->symbol(0xF0);
    out->valueSymbol(run, value);
    run = 0;
  }
  if (run > 0) growRun(state, out);
}

void acRefine(Samples<const int16_t> src, int ss, int se, int al, RkdiEncodeHuffmanState* state,
              Output* out) {
  int lastNew = 0;
  for (int k = ss; k <= se; ++k) {
    if (std::abs(int(src[zigzag[k]])) >> al == 1) lastNew = k;
  }
  int run = 0;
  Bits correction;
  const auto sendCorrection = [&] {
    for (const int bit : correction) out->rawBit(bit);
    correction.clear();
  };
  for (int k = ss; k <= se; ++k) {
    const int magnitude = std::abs(int(src[zigzag[k]])) >> al;
    if (magnitude == 0) {
      ++run;
      continue;
    }
    for (; run > 15 && k <= lastNew; run -= 16) {
      endRun(state, out);
      out->symbol(0xF0);
      sendCorrection();
    }
    if (magnitude > 1) {
      correction.push_back(uint8_t(magnitude & 1));
      continue;
    }
    endRun(state, out);
    out->symbol(run << 4 | 1);
    out->rawBit(src[zigzag[k]] > 0);
    sendCorrection();
    run = 0;
  }
  if (run == 0 && correction.empty()) return;
  for (const uint8_t bit : correction) state->correction[state->correctionCount++] = bit;
  growRun(state, out);
}

using BandCoder = void (*)(Samples<const int16_t>, int, int, int, RkdiEncodeHuffmanState*, Output*);

RkdStatus encodeBand(BandCoder coder, const int16_t* src, uint8_t* stream, int length,
                     int* position, int ss, int se, int al, const RkdiEncodeHuffmanSpec* spec,
                     RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    RkdiEncodeHuffmanState next = *state;
    Output out(spec);
    if (flush == 0) {
      coder(src, ss, se, al, &next, &out);
      send(out.bits, stream, length, position, &next);
    } else {
      endRun(&next, &out);
      finish(out.bits, stream, length, position, &next);
    }
    *state = next;
  });
}

RkdStatus countBand(BandCoder coder, const int16_t* src, int* statistics, int ss, int se, int al,
                    RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    RkdiEncodeHuffmanState next = *state;
    Output out(statistics);
    if (flush == 0) {
      coder(src, ss, se, al, &next, &out);
    } else {
      endRun(&next, &out);
    }
    *state = next;
  });
}

}  // namespace

RkdStatus rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int* previousDC, int al) {
  return guarded([&] {
    const int dc = samples(src)[0] >> al;
    Output(statistics).valueSymbol(0, dc - *previousDC);
    *previousDC = dc;
  });
}

RkdStatus rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int ss, int se, int al,
                                                          RkdiEncodeHuffmanState* state,
                                                          int flush) {
  return countBand(acFirst, src, statistics, ss, se, al, state, flush);
}

RkdStatus rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                           int ss, int se, int al,
                                                           RkdiEncodeHuffmanState* state,
                                                           int flush) {
  return countBand(acRefine, src, statistics, ss, se, al, state, flush);
}

RkdStatus rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int* previousDC,
                                                     int al, const RkdiEncodeHuffmanSpec* dcSpec,
                                                     RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    if (flush != 0) return finish({}, stream, length, position, state);
    const int dc = samples(src)[0] >> al;
    Output out(dcSpec);
    out.valueSymbol(0, dc - *previousDC);
    send(out.bits, stream, length, position, state);
    *previousDC = dc;
  });
}

RkdStatus rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int al,
                                                      RkdiEncodeHuffmanState* state, int flush) {
  return guarded([&] {
    if (flush != 0) return finish({}, stream, length, position, state);
    send({uint8_t(samples(src)[0] >> al & 1)}, stream, length, position, state);
  });
}

RkdStatus rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int ss, int se,
                                                     int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                     RkdiEncodeHuffmanState* state, int flush) {
  return encodeBand(acFirst, src, stream, length, position, ss, se, al, acSpec, state, flush);
}

RkdStatus rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int ss, int se,
                                                      int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                      RkdiEncodeHuffmanState* state, int flush) {
  return encodeBand(acRefine, src, stream, length, position, ss, se, al, acSpec, state, flush);
}

RkdStatus rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* previousDC,
                                                     int* marker, int al,
                                                     const RkdiDecodeHuffmanSpec* dcSpec,
                                                     RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    state->reached = 0;
    const int dc = int16_t(*previousDC + in.dcDifference(dcSpec));
    in.commit(position, marker, state);
    *previousDC = dc;
    samples(dst)[0] = int16_t(dc * (1 << al));
  });
}

RkdStatus rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int al, RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    state->reached = 0;
    const int bit = in.bit();
    in.commit(position, marker, state);
    const auto dc = samples(dst)[0];
    dc = int16_t(dc | bit << al);
  });
}

RkdStatus rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* marker,
                                                     int ss, int se, int al,
                                                     const RkdiDecodeHuffmanSpec* acSpec,
                                                     RkdiDecodeHuffmanState* state) {
  int16_t whole[64] = {};  // coefficients in front of a fault
  const RkdStatus status = guarded([&] {
    Input in(stream, length, *position, *state);
    if (in.endOfBand() > 0) {
      --in.endOfBand();
      return in.commit(position, marker, state);
    }
    for (int k = ss; k <= se; ++k) {
      state->reached = k;
      const int s = in.symbol(acSpec);
      const int run = s >> 4, value = in.value(s & 15);
      if ((s & 15) == 0 && run < 15) {
        in.endOfBand() = (1 << run) + in.bits(run) - 1;
        break;
      }
      k += run;
      if (k > se) throw Fault{rkdStsDataErr};
      whole[zigzag[k]] = int16_t(value * (1 << al));
      samples(dst)[zigzag[k]] = whole[zigzag[k]];
    }
    in.commit(position, marker, state);
  });
  for (int k = ss; k <= se && status != rkdStsNoErr; ++k) {
    samples(dst)[zigzag[k]] = whole[zigzag[k]];
  }
  return status;
}

RkdStatus rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int ss, int se, int al,
                                                      const RkdiDecodeHuffmanSpec* acSpec,
                                                      RkdiDecodeHuffmanState* state) {
  return guarded([&] {
    Input in(stream, length, *position, *state);
    state->reached = ss;
    int16_t refined[64];
    for (int i = 0; i < 64; ++i) refined[i] = samples(dst)[i];
    const Samples<int16_t> block(refined);
    const auto correct = [&](Sample<int16_t> coefficient) {
      if (in.bit() != 0)
        coefficient = int16_t(coefficient + (coefficient < 0 ? -1 : 1) * (1 << al));
    };
    int k = ss;
    while (in.endOfBand() == 0 && k <= se) {
      const int s = in.symbol(acSpec);
      const int value = in.value(s & 15);
      int run = s >> 4;
      if ((s & 15) == 0 && run < 15) {
        in.endOfBand() = (1 << run) + in.bits(run);
        break;
      }
      const auto isZero = [&](int i) { return block[i] == 0; };
      const auto left = std::count_if(zigzag + k, zigzag + se + 1, isZero);
      if ((s & 15) > 1 || left <= run) throw Fault{rkdStsDataErr};
      for (;; ++k) {
        if (block[zigzag[k]] != 0) {
          correct(block[zigzag[k]]);
        } else if (run-- == 0) {
          break;
        }
      }
      block[zigzag[k++]] = int16_t(value * (1 << al));
    }
    if (in.endOfBand() > 0) {
      --in.endOfBand();
      for (; k <= se; ++k) {
        if (block[zigzag[k]] != 0) correct(block[zigzag[k]]);
      }
    }
    in.commit(position, marker, state);
    for (int i = 0; i < 64; ++i) samples(dst)[i] = refined[i];
  });
}

}  // namespace ref
