// Suites over 8x8 blocks: their data and divisor.
#include "rkblocktest.h"

#include "rkcommon.h"

bool rkBlockTest::canStart() {
  regSizeParm(m_data.size);
  m_data.size.init("Size");
  copySizeList(m_data.size, g_imageSize);
  m_data.size.add({8, 8});
  regParm(m_data.choice.table);
  m_data.choice.initTable(m_table, isForward());
  if (!takesCoefs()) return true;
  regParm(m_data.choice.coefs);
  m_data.choice.initCoefs(m_coefs);
  return true;
}

int rkBlockTest::numberOfBlocks() const {
  const RkdiSize size = m_data.size.value();
  return (size.width >> 3) * (size.height >> 3);
}

bool rkBlockTest::initData() {
  m_data.count = numberOfBlocks();
  m_data.dst.init(rk16s);
  const int length = m_data.count * 64;
  const rkRange range = fillRange(statedRange());
  const int kind = takesCoefs() ? m_data.choice.coefs.value() : int(rkCoefsDense);
  return rkCreateCoefs(m_data.src, m_data.count, kind, range, verifying()) &&
         m_data.dst.createVector(length, rkModeRandom, range.low, range.high) &&
         (!func().inplace() || m_data.dst.reserveCopy()) &&
         rkFillQuantTable(m_data.table, tableKind(), isForward(), verifying());
}

void rkBlockTest::flushData() {
  m_data.src.deleteVector();
  m_data.dst.deleteVector();
  m_data.table.deleteVector();
}
