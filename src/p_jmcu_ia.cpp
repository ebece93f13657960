/// Colour conversion, sampling and level shift between pixels and the blocks of an MCU.
#include "rkd/rkdjpeg_mcu.h"
#include "rkmcutest.h"
#include "rksuite.h"

namespace {

rkMcuData mcu;

class TimjMCU : public rkMcuTest {
 public:
  explicit TimjMCU(const rkLine& line) : rkMcuTest(line, mcu) {}
};

RK_SUITE(TimjMCU, "src/p_jmcu_ia");

RK_REG(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint8_t>(x, y), mcu.step());
}));
RK_REG(rkdiSplit422LS_MCU_8u16s_C2P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint8_t>(x, y), mcu.step(), mcu.blocks(i));
}));

}  // namespace
