// Rows of TIFF images by section 9 of TIFF 6.0.
#include <vector>

#include "ref_tiff.h"
#include "samples.h"

namespace ref {
namespace {

/// The equal bytes from src[x] on, 128 at most.
int equalBytes(const uint8_t* src, int srcLen, int x) {
  int count = 1;
  while (count < 128 && x + count < srcLen && src[x + count] == src[x]) ++count;
  return count;
}

/// The packet that begins at src[x]; *next: the byte behind what it stands for.
std::vector<uint8_t> packet(const uint8_t* src, int srcLen, int x, int* next) {
  const int equal = equalBytes(src, srcLen, x);
  if (equal >= 2) {
    *next = x + equal;
    return {static_cast<uint8_t>(1 - equal), src[x]};
  }
  std::vector<uint8_t> literal = {0};
  while (x < srcLen && literal.size() <= 128 && equalBytes(src, srcLen, x) < 3) {
    literal.push_back(src[x++]);
  }
  literal[0] = static_cast<uint8_t>(literal.size() - 2);
  *next = x;
  return literal;
}

}  // namespace

RkdStatus rkdiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, uint8_t* dst, int dstLen,
                                     int* dstPos) {
  for (int x = 0; x < srcLen;) {
    const std::vector<uint8_t> bytes = packet(src, srcLen, x, &x);
    if (static_cast<int>(bytes.size()) > dstLen - *dstPos) return rkdStsDstFullErr;
    for (const uint8_t byte : bytes) dst[(*dstPos)++] = byte;
  }
  return rkdStsNoErr;
}

RkdStatus rkdiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, int* srcPos, uint8_t* dst,
                                       int dstLen, int* written) {
  *written = 0;
  while (*written < dstLen) {
    if (*srcPos == srcLen) return rkdStsSrcEndErr;
    const int header = src[(*srcPos)++];
    if (header == 128) continue;
    const bool isRun = header > 128;
    const int count = isRun ? 257 - header : header + 1;
    if (isRun && *srcPos == srcLen) return rkdStsSrcEndErr;
    for (int i = 0; i < count; ++i) {
      if (*written == dstLen) {
        if (isRun) ++*srcPos;
        return rkdStsDstFullErr;
      }
      if (*srcPos == srcLen) return rkdStsSrcEndErr;
      dst[(*written)++] = src[*srcPos];
      if (!isRun) ++*srcPos;
    }
    if (isRun) ++*srcPos;
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int length) {
  for (int x = 0; x < length; ++x) {
    const int sample = samples(src)[x];
    dst[x] = static_cast<uint8_t>(sample / 256);
    dst[length + x] = static_cast<uint8_t>(sample % 256);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int length) {
  for (int x = 0; x < length; ++x) {
    samples(dst)[x] = static_cast<uint16_t>(256 * src[x] + src[length + x]);
  }
  return rkdStsNoErr;
}

}  // namespace ref
