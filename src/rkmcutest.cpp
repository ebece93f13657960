// Suites over MCUs: pixels on one side, blocks on the other.
#include "rkmcutest.h"

#include "rkcommon.h"

void rkMcuData::bind(const rkFunc& func) {
  const tzString base = func.baseName();
  m_width = base.find("444", 0) >= 0 ? 8 : 16;
  m_height = base.find("411", 0) >= 0 ? 16 : 8;
  m_toBlocks = !func.srcPlane();
  const rkType pixelType = m_toBlocks ? func.srcType() : func.dstType();
  m_numPlanes = m_toBlocks ? func.dstChannels() : func.srcChannels();
  // A packed pixel is one 16u although the name counts its colours.
  const int channels = pixelType == rk16u ? 1
                       : m_toBlocks       ? func.srcChannels()
                                          : func.dstChannels();
  m_image.init(pixelType, channels, false);
  for (rkVector& plane : m_planes) plane.init(rk16s);
}

/// Cb and Cr have one block, the others as many as the MCU has pixels for.
int rkMcuData::blocksOf(int plane) const {
  return plane == 1 || plane == 2 ? 1 : m_width * m_height / 64;
}

bool rkMcuData::create(RkdiSize size, rkRange blockRange) {
  m_across = size.width / m_width;
  m_down = size.height / m_height;
  if (!m_image.createImageExt(size, 0, 0, m_toBlocks ? rkModeRandom : rkModeConst)) return false;
  for (int p = 0; p < m_numPlanes; ++p) {
    const int length = numMcus() * blocksOf(p) * 64;
    if (!(m_toBlocks
              ? m_planes[p].createVector(length, rkModeConst)
              : m_planes[p].createVector(length, rkModeRandom, blockRange.low, blockRange.high))) {
      return false;
    }
  }
  return true;
}

void rkMcuData::flush() {
  m_image.deleteVector();
  for (rkVector& plane : m_planes) plane.deleteVector();
}

rkMcuData::Blocks rkMcuData::blocks(int mcu) const {
  Blocks blocks{};
  for (int p = 0; p < m_numPlanes; ++p) {
    blocks.planes[p] = m_planes[p].data16s() + static_cast<std::ptrdiff_t>(mcu) * blocksOf(p) * 64;
  }
  return blocks;
}

bool rkMcuTest::canStart() {
  regCacheParm(g_imageSize, m_data.image());
  m_data.bind(func());
  return true;
}

bool rkMcuTest::initData() {
  // Samples a little beyond 8 bits, so that a comparison sees the clamp at both ends.
  return m_data.create(g_imageSize.value(), fillRange({-300, 300}));
}
