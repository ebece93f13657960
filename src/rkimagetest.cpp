// Suites over images: their buffers, parameters and divisor.
#include "rkimagetest.h"

#include <algorithm>

#include "rkcommon.h"

namespace {
constexpr int kFloatLoopFactor = 5;  // at most 2048 >> 5 loops

double sampleBytes(const rkImage& image) {
  const double samples = double(image.width()) * image.rowChannels() * image.getNumRows();
  return samples * elementSize(partType(image.type()));
}

}  // namespace

bool rkImageTest::canStart() {
  regCacheParm(g_imageSize, m_io.dst);
  bind();
  return true;
}

void rkImageTest::bind() {
  m_io.src.init(func(), rkSrc);
  m_io.dst.init(func(), rkDst);
}

bool rkImageTest::initData() {
  m_io.size = g_imageSize.value();
  // Data transformed in place again and again decay to denormals or grow to infinities, which would
  // raise the very flags that the tool watches.
  if (func().inplace() && isFloatFunction()) tool().setLoopFactor(kFloatLoopFactor);
  const rkRange range = fillRange(statedRange());
  if (func().inplace()) {
    if (!m_io.dst.createImageExt(m_io.size, 0, 0, rkModeRandom, range.low, range.high) ||
        !m_io.dst.reserveCopy()) {
      return false;
    }
  } else if (!m_io.src.createImageExt(m_io.size, 0, 0, rkModeRandom, range.low, range.high) ||
             !m_io.dst.createImageExt(m_io.size, 0, 0, rkModeConst)) {
    return false;
  }
  m_io.srcStep = m_io.src.step();
  m_io.dstStep = m_io.dst.step();
  return true;
}

void rkImageTest::flushData() {
  m_io.src.deleteVector();
  m_io.dst.deleteVector();
}

double rkImageTest::getDivisor() const { return double(m_io.dst.width()) * m_io.dst.height(); }

tzTraffic rkImageTest::getTraffic() const {
  return {sampleBytes(func().inplace() ? m_io.dst : m_io.src), sampleBytes(m_io.dst)};
}

double rkChannelTest::getDivisor() const { return rkImageTest::getDivisor() * numChannels(); }

int rkChannelTest::numChannels() const {
  return std::max(func().srcChannels(), func().dstChannels());
}
