/// Quantisation and dequantisation of single blocks, in place.
#include "rkblocktest.h"
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

rkBlockData data;

class TimjQuant : public rkBlockTest {
 public:
  explicit TimjQuant(const rkLine& line) : rkBlockTest(line, data, rkTableQ75, rkCoefsDense) {}

 protected:
  rkRange statedRange() const override { return {-16384, 16383}; }
};

RK_SUITE(TimjQuant, "src/p_jquant_ia",
         RK_NEEDS(rkdiQuantFwdTableInit_JPEG_16u, rkdiQuantInvTableInit_JPEG_16u));

RK_REG(rkdiQuantFwd8x8_JPEG_16s_C1I, rkPerBlock(data.count, [](int i) {
         return F(data.dst.data16s() + i, data.table.data16u());
       }));
RK_REG(rkdiQuantInv8x8_JPEG_16s_C1I, rkPerBlock(data.count, [](int i) {
         return F(data.dst.data16s() + i, data.table.data16u());
       }));

}  // namespace
