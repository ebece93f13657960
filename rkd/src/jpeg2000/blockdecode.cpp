// Decoding of code blocks, whole or pass by pass: the same passes one after the other.
#include <algorithm>
#include <cstring>

#include "common/args.h"
#include "jpeg2000/decodestate.h"

namespace rkd::j2k {
namespace {

/// No bytes need no pointer.
RkdStatus checkBytes(const uint8_t* src, int length) {
  return length == 0 ? rkdStsNoErr : checkPointers(src);
}

/// Gives each pass the end of its segment; false when passes, segments and bytes do not match.
bool placeSegments(const int* lengths, int segments, int length, DecodeState* state) {
  int pass = 0;
  int end = 0;
  for (int i = 0; i < segments; ++i) {
    if (pass == state->passes || lengths[i] < 0 || lengths[i] > length - end) return false;
    end += lengths[i];
    bool ended = false;
    for (; pass < state->passes && !ended; ++pass) {
      state->segmentEnd[pass] = end;
      ended = endsSegment(pass, state->style);
    }
  }
  return pass == state->passes;
}

RkdStatus start(int length, const int* lengths, int segments, RkdiSize size, int band, int style,
                int bitPlanes, int passes, RkdiDecodeCodeBlockState* state) {
  const bool halves = (style & rkdCodeBlockHalves) != 0;
  style &= ~rkdCodeBlockHalves;
  if (const RkdStatus status = firstOf(checkPointers(state), checkCodeBlock(size, band, style))) {
    return status;
  }
  if (length < 0) return rkdStsSizeErr;
  if (bitPlanes < 0 || bitPlanes > rkdCodeBlockMaxPlanes - int(halves) || passes < 0 ||
      passes > std::max(0, 3 * bitPlanes - 2) || segments < 0) {
    return rkdStsBadArgErr;
  }
  if (segments > 0 && lengths == nullptr) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkObject<DecodeState>(state)) return status;
  DecodeState* const inside = insideOf<DecodeState>(state);
  inside->loaded = false;
  inside->damage = rkdStsNoErr;
  inside->block = blockOf(size, band, style);
  inside->style = style;
  inside->halves = halves;
  inside->bitPlanes = bitPlanes;
  inside->passes = passes;
  inside->done = inside->position = 0;
  inside->length = length;
  if (!placeSegments(lengths, segments, length, inside)) return rkdStsBadArgErr;
  inside->contexts.reset();
  for (Map* const map : {inside->significant, inside->visited, inside->refined}) {
    std::memset(map, 0, size_t(inside->block.mapWords()) * sizeof(Map));
  }
  std::memset(inside->column, 0, size_t(inside->block.marginColumns()) * sizeof(Column));
  std::memset(inside->sample, 0, size_t(inside->block.columns()) * 4 * sizeof(uint32_t));
  inside->loaded = true;
  return rkdStsNoErr;
}

// ---- what a caller gets ----

int32_t withSign(uint32_t magnitude, uint32_t sample) {
  const uint32_t sign = uint32_t(int32_t(sample) >> 31);
  return int32_t((magnitude ^ sign) - sign);
}

/// The plane of the last pass, and who of a word was decoded down to it: the others have the plane
/// above.
int lastPlane(const DecodeState& state) {
  return state.done == 0 ? state.bitPlanes : state.bitPlanes - 1 - passPlane(state.done - 1);
}
Map atLastPlane(const DecodeState& state, int map) {
  const PassKind kind = state.done == 0 ? PassKind::cleanup : passKind(state.done - 1);
  if (kind == PassKind::cleanup) return ~Map{0};
  const Map visited = state.visited[map];
  return kind == PassKind::significance ? visited : visited | state.significant[map];
}

/// Stores what `make` makes of each sample, four to a column, and of the column's bits of a map.
template <class T, class Make>
void store(const DecodeState& state, T* dst, int dstStep, Make make) {
  for (Words at(state.block); at.more(); at.next()) {
    const Map last = atLastPlane(state, at.map);
    const int left = at.index % state.block.words() * 16;
    const int top = at.index / state.block.words() * 4;
    const int columns = std::min(16, state.block.width - left);
    const int rows = std::min(4, state.block.height - top);
    for (int r = 0; r < rows; ++r) {
      char* const row = reinterpret_cast<char*>(rowAt(dst, dstStep, top + r) + left);
      for (int x = 0; x < columns; ++x) {
        const int bit = 4 * x + r;
        const T value = make(state.sample[at.sample + bit], unsigned(last >> bit & 1));
        std::memcpy(row + size_t(x) * sizeof value, &value, sizeof value);
      }
    }
  }
}

/// Magnitudes in halves: a bit more where the sample is exact.
struct Halves {
  unsigned isPlane0;  ///< whether the last pass was in plane 0
  explicit Halves(const DecodeState& state) : isPlane0(lastPlane(state) == 0 ? 1 : 0) {}
  uint32_t of(uint32_t sample, unsigned last) const {
    return sample << 1 | (last & isPlane0 & unsigned(sample != 0));
  }
};

void storeIntegers(const DecodeState& state, int32_t* dst, int dstStep) {
  if (!state.halves) {
    store(state, dst, dstStep,
          [](uint32_t sample, unsigned) { return withSign(sample & 0x7FFFFFFF, sample); });
    return;
  }
  store(state, dst, dstStep, [halves = Halves(state)](uint32_t sample, unsigned last) {
    return withSign(halves.of(sample, last), sample);
  });
}

RkdStatus checkStarted(const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = checkObject<DecodeState>(state)) return status;
  return insideOf<DecodeState>(state)->loaded ? rkdStsNoErr : rkdStsContextErr;
}

}  // namespace
}  // namespace rkd::j2k

using namespace rkd;
using namespace rkd::j2k;

RkdStatus rkdiDecodeCodeBlockStateGetBufSize_JPEG2K(int* size) {
  return tellSize<DecodeState>(size);
}
RkdStatus rkdiDecodeCodeBlockStateInit_JPEG2K(RkdiDecodeCodeBlockState* state) {
  return initObject<DecodeState>(state);
}
RkdStatus rkdiDecodeCodeBlockStateInitAlloc_JPEG2K(RkdiDecodeCodeBlockState** state) {
  return initAllocObject<DecodeState>(state);
}
RkdStatus rkdiDecodeCodeBlockStateFree_JPEG2K(RkdiDecodeCodeBlockState* state) {
  return freeObject(state);
}

RkdStatus rkdiDecodeCBProgrStart_JPEG2K(int length, const int* lengths, int segments, RkdiSize size,
                                        int band, int style, int bitPlanes, int passes,
                                        RkdiDecodeCodeBlockState* state) {
  return start(length, lengths, segments, size, band, style, bitPlanes, passes, state);
}

RkdStatus rkdiDecodeCBProgrStep_JPEG2K(const uint8_t* src, int length, int passes,
                                       RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkBytes(src, length), checkStarted(state))) return status;
  DecodeState* const inside = insideOf<DecodeState>(state);
  if (length != inside->length) return rkdStsSizeErr;
  if (passes <= 0) return rkdStsBadArgErr;
  return decodePasses(inside, src, std::min<int>(passes, rkdCodeBlockMaxPasses));
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(int32_t* dst, int dstStep,
                                              const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<int32_t>(dstStep, inside->block.width)) return status;
  storeIntegers(*inside, dst, dstStep);
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(float* dst, int dstStep, float scale,
                                              const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<float>(dstStep, inside->block.width)) return status;
  store(*inside, dst, dstStep,
        [halves = Halves(*inside), half = 0.5 * double{scale}](uint32_t sample, unsigned last) {
          const double magnitude = half * double(halves.of(sample, last));
          return float(int32_t(sample) < 0 ? -magnitude : magnitude);
        });
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R(uint8_t* dst, int dstStep,
                                                   const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<uint8_t>(dstStep, inside->block.width)) return status;
  store(*inside, dst, dstStep, [plane = unsigned(lastPlane(*inside))](uint32_t, unsigned last) {
    return uint8_t(plane + 1 - last);
  });
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length, const int* lengths,
                                               int segments, int32_t* dst, int dstStep,
                                               RkdiSize size, int band, int style, int bitPlanes,
                                               int passes, RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkBytes(src, length), checkPointers(dst),
                                       checkCodeBlock(size, band, style & ~rkdCodeBlockHalves),
                                       checkStep<int32_t>(dstStep, size.width))) {
    return status;
  }
  if (const RkdStatus status =
          start(length, lengths, segments, size, band, style, bitPlanes, passes, state)) {
    return status;
  }
  DecodeState* const inside = insideOf<DecodeState>(state);
  const RkdStatus status = decodePasses(inside, src, rkdCodeBlockMaxPasses);
  storeIntegers(*inside, dst, dstStep);
  return status;
}
