/// Packed 16-bit pixels to and from the blocks of an MCU.
#include "rkd/rkdjpeg_mcu.h"
#include "rkmcutest.h"
#include "rksuite.h"

namespace {

rkMcuData mcu;

class jMCU__YS : public rkMcuTest {
 public:
  explicit jMCU__YS(const rkLine& line) : rkMcuTest(line, mcu) {}
};

RK_SUITE(jMCU__YS, "src/p_jmcu_ys");

RK_REG(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, mcu.each([](int i, int x, int y) {
  return F(mcu.pixels<uint16_t>(x, y), mcu.step(), mcu.blocks(i));
}));
RK_REG(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));
RK_REG(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, mcu.each([](int i, int x, int y) {
  return F(mcu.blocks(i), mcu.pixels<uint16_t>(x, y), mcu.step());
}));

}  // namespace
