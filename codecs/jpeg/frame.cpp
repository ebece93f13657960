// Sizes of components, blocks and MCUs from the numbers of a frame header.
#include "frame.h"

#include <algorithm>

namespace jpeg {

size_t Frame::blocks() const {
  size_t sum = 0;
  for (int i = 0; i < componentCount; ++i) sum += component[size_t(i)].blocks();
  return sum;
}

Status Frame::derive() {
  if (width < 1 || width > kMaxSide || height < 0 || height > kMaxSide) return Status::badSize;
  if (componentCount < 1) return Status::badFrame;
  if (componentCount > kMaxComponents) return Status::manyComponents;
  hMax = vMax = 1;
  for (int i = 0; i < componentCount; ++i) {
    const Component& c = component[size_t(i)];
    if (c.h < 1 || c.h > 4 || c.v < 1 || c.v > 4 || c.quantTable > 3) return Status::badFrame;
    for (int j = 0; j < i; ++j) {
      if (component[size_t(j)].id == c.id) return Status::badFrame;
    }
    hMax = std::max<int>(hMax, c.h);
    vMax = std::max<int>(vMax, c.v);
  }
  const int lines = std::max(height, 1);
  mcusAcross = ceilDiv(width, mcuWidth());
  mcusDown = ceilDiv(lines, mcuHeight());
  for (int i = 0; i < componentCount; ++i) {
    Component& c = component[size_t(i)];
    c.width = ceilDiv(width * c.h, hMax);
    c.height = ceilDiv(lines * c.v, vMax);
    c.blocksAcross = ceilDiv(c.width, unit());
    c.blocksDown = ceilDiv(c.height, unit());
    c.paddedAcross = mcusAcross * c.h;
    c.paddedDown = mcusDown * c.v;
  }
  return Status::ok;
}

ScanGeometry ScanGeometry::of(const Frame& frame, const Scan& scan) {
  if (!scan.isInterleaved()) {
    const Component& c = frame.component[size_t(scan.component[0].index)];
    return {c.blocksAcross, c.blocksDown, 1};
  }
  int blocks = 0;
  for (int i = 0; i < scan.componentCount; ++i) {
    const Component& c = frame.component[size_t(scan.component[size_t(i)].index)];
    blocks += c.h * c.v;
  }
  return {frame.mcusAcross, frame.mcusDown, blocks};
}

ScaledComponent scaledComponent(const Frame& frame, int index, int scale) {
  const Component& c = frame.component[size_t(index)];
  ScaledComponent s{8 / scale, c.h, c.v, 0, 0};
  // Samples that the file has, and that a smaller transform would drop only to repeat them.
  while (s.samples < 8 && s.h * 2 <= frame.hMax && s.v * 2 <= frame.vMax) {
    s.samples *= 2;
    s.h *= 2;
    s.v *= 2;
  }
  s.width = ceilDiv(frame.width * c.h * s.samples, frame.hMax * 8);
  s.height = ceilDiv(std::max(frame.height, 1) * c.v * s.samples, frame.vMax * 8);
  return s;
}

}  // namespace jpeg
