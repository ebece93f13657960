/// Sampling and level shift between pixels and the blocks of an MCU, without conversion.
#include "rkd/rkdjpeg_mcu.h"
#include "rkmcutest.h"
#include "rksuite.h"

namespace {

rkMcuData mcu;

class TimjSampleMCU : public rkMcuTest {
 public:
  explicit TimjSampleMCU(const rkLine& line) : rkMcuTest(line, mcu) {}
};

RK_SUITE(TimjSampleMCU, "src/p_jsamplmcu_ia");

RK_REG(rkdiSampleUp444LS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiSampleUp422LS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiSampleUp411LS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiJoin422LS_MCU_16s8u_P3C2R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiSampleDown444LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiSampleDown422LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiSampleDown411LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));

}  // namespace
