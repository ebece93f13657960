// Suites over 8x8 blocks: their data and divisor.
#include "rkblocktest.h"

#include "rkcommon.h"

bool rkBlockTest::canStart() {
  regSizeParm(m_data.size);
  m_data.size.init("Size");
  copySizeList(m_data.size, g_imageSize);
  m_data.size.add({8, 8});
  return true;
}

int rkBlockTest::numberOfBlocks() const {
  const RkdiSize size = m_data.size.value();
  return (size.width >> 3) * (size.height >> 3);
}

bool rkBlockTest::initData() {
  m_data.count = numberOfBlocks();
  m_data.src.init(rk16s);
  m_data.dst.init(rk16s);
  const int length = m_data.count * 64;
  const rkRange range = fillRange(statedRange());
  return m_data.src.createVector(length, rkModeRandom, range.low, range.high) &&
         m_data.dst.createVector(length, rkModeRandom, range.low, range.high) &&
         (!func().inplace() || m_data.dst.reserveCopy()) &&
         rkFillQuantTable(m_data.table, verifying());
}

void rkBlockTest::flushData() {
  m_data.src.deleteVector();
  m_data.dst.deleteVector();
  m_data.table.deleteVector();
}

bool rkFillQuantTable(rkVector& table, bool verifying) {
  table.init(rk16u);
  if (!verifying) return table.createVector(256, rkModeOne);
  if (!table.createVector(256, rkModeZero)) return false;
  // Entries from 64 on stay zero: no mark of a table builder there.
  for (int i = 0; i < 64; ++i) table.data16u()[i] = static_cast<uint16_t>(1 + i * 7 % 24);
  return true;
}
