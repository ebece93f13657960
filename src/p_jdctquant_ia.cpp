/// DCT with quantisation and its inverse, block by block.
#include "rkblocktest.h"
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

rkBlockData data;

class TimjDctQuant : public rkBlockTest {
 public:
  explicit TimjDctQuant(const rkLine& line) : rkBlockTest(line, data, rkTableOnes, rkCoefsDense) {}

 protected:
  rkRange statedRange() const override {
    // The larger the quantisers, the smaller the coefficients of samples in the range.
    if (isForward()) return {-512, 511};
    return tableKind() == rkTableOnes ? rkRange{-10, 10} : rkRange{-5, 5};
  }
};

RK_SUITE(TimjDctQuant, "src/p_jdctquant_ia",
         RK_NEEDS(rkdiQuantFwdTableInit_JPEG_16u, rkdiQuantInvTableInit_JPEG_16u));

RK_REG_X(rkdiDCTQuantFwd8x8_JPEG_16s_C1,
         rkPerBlock(data.count,
                    [](int i) {
                      return F(data.src.data16s() + i, data.dst.data16s() + i,
                               data.table.data16u());
                    }),
         1);
RK_REG_X(rkdiDCTQuantFwd8x8_JPEG_16s_C1I,
         rkPerBlock(data.count,
                    [](int i) { return F(data.dst.data16s() + i, data.table.data16u()); }),
         1);
RK_REG_X(rkdiDCTQuantInv8x8_JPEG_16s_C1,
         rkPerBlock(data.count,
                    [](int i) {
                      return F(data.src.data16s() + i, data.dst.data16s() + i,
                               data.table.data16u());
                    }),
         1);
RK_REG_X(rkdiDCTQuantInv8x8_JPEG_16s_C1I,
         rkPerBlock(data.count,
                    [](int i) { return F(data.dst.data16s() + i, data.table.data16u()); }),
         1);

}  // namespace
