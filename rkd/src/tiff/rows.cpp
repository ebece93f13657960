// Rows of TIFF images: PackBits, and 16-bit samples to bytes and back.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiff/rows.cpp"
#include "hwy/foreach_target.h"

#include <algorithm>
#include <cstring>

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_tiff.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace {

constexpr size_t kLongestPacket = 128;  // bytes it stands for

// Most packets are shorter than a long vector.
using DScan = hn::CappedTag<uint8_t, 32>;

// The bytes at the start that are equal, up to `limit`; at least 1.
RKD_BLOCK size_t runLength(const uint8_t* row, size_t limit) {
  const DScan d;
  const size_t lanes = hn::Lanes(d);
  const auto first = hn::Set(d, row[0]);
  size_t x = 1;
  for (; x + lanes <= limit; x += lanes) {
    const intptr_t other = hn::FindFirstTrue(d, hn::Ne(hn::LoadU(d, row + x), first));
    if (other >= 0) return x + static_cast<size_t>(other);
  }
  while (x < limit && row[x] == row[0]) ++x;
  return x;
}

// The bytes before the first three equal ones, up to a packet of them.
RKD_BLOCK size_t literalLength(const uint8_t* row, size_t left) {
  const DScan d;
  const size_t lanes = hn::Lanes(d);
  const size_t most = std::min(left, kLongestPacket);
  size_t x = 0;
  for (; x < most && x + lanes + 2 <= left; x += lanes) {
    const auto middle = hn::LoadU(d, row + x + 1);
    const auto equal =
        hn::And(hn::Eq(hn::LoadU(d, row + x), middle), hn::Eq(middle, hn::LoadU(d, row + x + 2)));
    const intptr_t triple = hn::FindFirstTrue(d, equal);
    if (triple >= 0) return std::min(x + static_cast<size_t>(triple), most);
  }
  for (; x < most && x + 2 < left; ++x) {
    if (row[x] == row[x + 1] && row[x] == row[x + 2]) return x;
  }
  return most;
}

// Returns whether all packets found room; *position moves behind those that did.
bool packBits(const uint8_t* src, size_t length, uint8_t* dst, size_t room, size_t* position) {
  size_t out = *position;
  bool complete = true;
  for (size_t x = 0; x < length;) {
    size_t count = runLength(src + x, std::min(length - x, kLongestPacket));
    const bool isRun = count >= 2;
    if (!isRun) count = literalLength(src + x, length - x);
    const size_t data = isRun ? 1 : count;
    if (room - out < 1 + data) {
      complete = false;
      break;
    }
    dst[out++] = static_cast<uint8_t>(isRun ? 257 - count : count - 1);
    std::memcpy(dst + out, src + x, data);
    out += data;
    x += count;
  }
  *position = out;
  return complete;
}

// Calls step(x) until vectors of `lanes` samples cover a row of `length`: the first and the last
// overlap their neighbours, so that the stores to dst between them, a vector each, lie on whole
// cache lines. Returns false where the row is shorter than a vector.
template <class T, class Step>
HWY_INLINE bool overVectors(const T* dst, size_t lanes, size_t length, Step step) {
  if (length < lanes) return false;
  step(0);
  const size_t misplaced = reinterpret_cast<uintptr_t>(dst) / sizeof(T) % lanes;
  size_t x = lanes - misplaced;
  for (; x + lanes <= length; x += lanes) step(x);
  if (x < length) step(length - lanes);
  return true;
}

void splitRow(const uint16_t* src, uint8_t* dst, size_t length) {
  const D8 d8;
  const hn::Repartition<uint16_t, D8> d16;
  const auto upper = [](auto v) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<8>(v)); };
  const auto lower = [&](auto v) HWY_ATTR {
    return hn::BitCast(D16(), hn::And(v, hn::Set(d16, uint16_t{255})));
  };
  if (overVectors(dst, kTile, length, [&](size_t x) RKD_BODY {
        const auto first = hn::LoadU(d16, src + x);
        const auto second = hn::LoadU(d16, src + x + kTile / 2);
        hn::StoreU(packInOrder(upper(first), upper(second)), d8, dst + x);
        hn::StoreU(packInOrder(lower(first), lower(second)), d8, dst + length + x);
      })) {
    return;
  }
  for (size_t x = 0; x < length; ++x) {
    uint16_t sample;
    std::memcpy(&sample, static_cast<const void*>(src + x), sizeof(sample));
    dst[x] = static_cast<uint8_t>(sample >> 8);
    dst[length + x] = static_cast<uint8_t>(sample & 255);
  }
}

void joinRow(const uint8_t* src, uint16_t* dst, size_t length) {
  const hn::Repartition<uint16_t, D8> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  if (overVectors(dst, hn::Lanes(d16), length, [&](size_t x) RKD_BODY {
        const auto upper = hn::PromoteTo(d16, hn::LoadU(d8, src + x));
        const auto lower = hn::PromoteTo(d16, hn::LoadU(d8, src + length + x));
        hn::StoreU(hn::Or(hn::ShiftLeft<8>(upper), lower), d16, dst + x);
      })) {
    return;
  }
  for (size_t x = 0; x < length; ++x) {
    const auto sample = static_cast<uint16_t>(src[x] << 8 | src[length + x]);
    std::memcpy(static_cast<void*>(dst + x), &sample, sizeof(sample));
  }
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(packBits);
HWY_EXPORT(splitRow);
HWY_EXPORT(joinRow);

RkdStatus checkPosition(const int* position, int length) {
  return *position >= 0 && *position <= length ? rkdStsNoErr : rkdStsBadArgErr;
}

RkdStatus checkSplit(const void* src, const void* dst, int length) {
  if (const RkdStatus status = checkPointers(src, dst)) return status;
  // The bytes of a longer row could not be counted in an int.
  return length > 0 && length < 1 << 30 ? rkdStsNoErr : rkdStsSizeErr;
}

struct Reader {
  const uint8_t* src;
  int length;
  int position;

  int left() const { return length - position; }
};

// A header byte with its sign: below zero for runs.
int headerOf(uint8_t byte) { return (byte ^ 0x80) - 0x80; }

// Unpacks packets to dst, which has room for `room` bytes, in chunks that may go beyond a packet,
// as long as source and room have whole chunks for it. Returns the bytes that the packets stand
// for.
int unpackInChunks(Reader& in, uint8_t* dst, int room) {
  constexpr int chunk = 32;
  int x = 0;
  while (in.left() > 1) {
    const uint8_t* const src = in.src + in.position;
    const int header = headerOf(src[0]);
    const int count = header < 0 ? 1 - header : 1 + header;
    const int chunked = (count + chunk - 1) / chunk * chunk;
    if (header == -128 || chunked > room - x) break;
    uint8_t* const to = dst + x;
    if (header < 0) {
      const uint8_t value = src[1];  // stores could change it, for all that the compiler knows
      for (int i = 0; i < chunked; i += chunk) std::memset(to + i, value, chunk);
      in.position += 2;
    } else {
      if (1 + chunked > in.left()) break;
      for (int i = 0; i < chunked; i += chunk) std::memcpy(to + i, src + 1 + i, chunk);
      in.position += 1 + count;
    }
    x += count;
  }
  return x;
}

// Unpacks one packet to dst, which has room for `room` > 0 bytes; *count: the bytes written.
RkdStatus unpackPacket(Reader& in, uint8_t* dst, int room, int* count) {
  const int header = headerOf(in.src[in.position++]);
  *count = 0;
  if (header == -128) return rkdStsNoErr;
  const bool isRun = header < 0;
  const int wanted = isRun ? 1 - header : 1 + header;
  int there = std::min(wanted, room);
  if (isRun) {
    if (in.left() == 0) return rkdStsSrcEndErr;
    std::memset(dst, in.src[in.position++], static_cast<size_t>(there));
  } else {
    const bool cut = in.left() < there;
    there = std::min(there, in.left());
    std::memcpy(dst, in.src + in.position, static_cast<size_t>(there));
    in.position += there;
    if (cut) {
      *count = there;
      return rkdStsSrcEndErr;
    }
  }
  *count = there;
  return there < wanted ? rkdStsDstFullErr : rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

RkdStatus rkdiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, uint8_t* dst, int dstLen,
                                     int* dstPos) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkPointers(dstPos),
                                       checkLength(srcLen), checkLength(dstLen))) {
    return status;
  }
  if (const RkdStatus status = checkPosition(dstPos, dstLen)) return status;
  auto position = static_cast<size_t>(*dstPos);
  const bool complete = RKD_AT_LEVEL(packBits)(src, static_cast<size_t>(srcLen), dst,
                                               static_cast<size_t>(dstLen), &position);
  *dstPos = static_cast<int>(position);
  return complete ? rkdStsNoErr : rkdStsDstFullErr;
}

RkdStatus rkdiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, int* srcPos, uint8_t* dst,
                                       int dstLen, int* written) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkPointers(srcPos, written),
                                       checkLength(srcLen), checkLength(dstLen))) {
    return status;
  }
  if (const RkdStatus status = checkPosition(srcPos, srcLen)) return status;
  Reader in{src, srcLen, *srcPos};
  RkdStatus status = rkdStsNoErr;
  int x = 0;
  while (status == rkdStsNoErr) {
    x += unpackInChunks(in, dst + x, dstLen - x);
    if (x == dstLen) break;
    int count = 0;
    status = in.left() > 0 ? unpackPacket(in, dst + x, dstLen - x, &count) : rkdStsSrcEndErr;
    x += count;
  }
  *srcPos = in.position;
  *written = x;
  return status;
}

RkdStatus rkdiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int length) {
  if (const RkdStatus status = checkSplit(src, dst, length)) return status;
  RKD_AT_LEVEL(splitRow)(src, dst, static_cast<size_t>(length));
  return rkdStsNoErr;
}

RkdStatus rkdiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int length) {
  if (const RkdStatus status = checkSplit(src, dst, length)) return status;
  RKD_AT_LEVEL(joinRow)(src, dst, static_cast<size_t>(length));
  return rkdStsNoErr;
}
#endif  // HWY_ONCE
