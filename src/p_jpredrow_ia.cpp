/// Predictors of the lossless process, row by row.
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

constexpr int kRows = 8;  // behind the one above them, in a performance of several rows

tzIterator<int> lengthParm("Length", "Samples in a row", {64, 1024, 4096});
tzIterator<int> predictorParm("Predictor", "Predictor, 1..7", {1, 4, 7});
rkVector src, dst;
int length;
bool isFirstRow;

/// Rows 1 to kRows, each with the row of samples above it.
template <class Row>
int eachRow(Row row) {
  int status = 0;
  for (int y = 1; y <= kRows && status >= 0; ++y) status = row(y * length, (y - 1) * length);
  return status;
}

class TimjPredRow : public rkTest {
 public:
  explicit TimjPredRow(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    isFirstRow = func().baseName().find("FirstRow", 0) >= 0;
    regCacheParm(lengthParm, dst);
    if (!isFirstRow) regParm(predictorParm);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    length = lengthParm.value();
    src.init(rk16s);
    dst.init(rk16s);
    const int total = length * (isFirstRow ? 1 : kRows + 1);
    return src.createVector(total, rkModeRandom) && dst.createVector(total, rkModeRandom);
  }

  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
  }

  double getDivisor() const override { return double(length) * (isFirstRow ? 1 : kRows); }
  tzString getUnit() const override { return "e"; }
};

RK_SUITE(TimjPredRow, "src/p_jpredrow_ia");

RK_REG(rkdiDiffPredFirstRow_JPEG_16s_C1, F(src.data16s(), dst.data16s(), length, 16, 0));
RK_REG(rkdiReconstructPredFirstRow_JPEG_16s_C1, F(src.data16s(), dst.data16s(), length, 16, 0));
RK_REG_X(rkdiDiffPredRow_JPEG_16s_C1, eachRow([](int row, int above) {
           return F(src.data16s() + row, src.data16s() + above, dst.data16s() + row, length,
                    predictorParm.value());
         }));
RK_REG_X(rkdiReconstructPredRow_JPEG_16s_C1, eachRow([](int row, int above) {
           return F(src.data16s() + row, dst.data16s() + above, dst.data16s() + row, length,
                    predictorParm.value());
         }));

}  // namespace
