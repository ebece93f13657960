// Lossless predictors.
#include "ref_huffman.h"
#include "rkd/rkdjpeg_pred.h"
#include "rkdkit.h"

using rkdkit::Canvas;
using rkdkit::forEachLevel;
using rkdkit::Random;
using rkdkit::sz;

namespace {

std::vector<int16_t> stored(std::initializer_list<int> samples) {
  std::vector<int16_t> row;
  for (const int sample : samples) row.push_back(int16_t(sample));
  return row;
}

struct KnownPicture {
  int precision;
  std::vector<std::vector<int16_t>> rows;
};

const KnownPicture eightBits = {
    8,
    {stored({81, 32, 29, 209, 115, 3}), stored({92, 28, 71, 58, 206, 45}),
     stored({181, 243, 80, 100, 170, 112})}};
const KnownPicture sixteenBits = {
    16,
    {stored({0, 24529, 33036, 65535, 32768, 65535}), stored({57646, 65535, 32768, 0, 48796, 32768}),
     stored({65535, 48153, 27293, 32768, 63990, 65535})}};

struct KnownDifferences {
  const KnownPicture& picture;
  int predictor;
  int pointTransform;
  std::vector<std::vector<int16_t>> rows;
};

const std::vector<int16_t> eightFirst = stored({-47, -49, -3, 180, -94, -112});
const std::vector<int16_t> sixteenFirst = stored({-32768, 24529, 8507, 32499, -32767, 32767});

const std::vector<KnownDifferences> knownDifferences = {
    {eightBits,
     1,
     0,
     {eightFirst, stored({11, -64, 43, -13, 148, -161}), stored({89, 62, -163, 20, 70, -58})}},
    {eightBits,
     4,
     0,
     {eightFirst, stored({11, -15, 46, -193, 242, -49}), stored({89, 126, -206, 33, -78, 103})}},
    {eightBits,
     5,
     2,
     {stored({-12, -12, -1, 45, -24, -28}), stored({3, -10, 11, -25, 49, -26}),
      stored({22, 23, -45, 7, -1, 6})}},
    {eightBits,
     7,
     2,
     {stored({-12, -12, -1, 45, -24, -28}), stored({3, -8, 10, -20, 30, -14}),
      stored({22, 34, -18, 8, 4, 2})}},
    {sixteenBits,
     2,
     0,
     {sixteenFirst, stored({-7890, -24530, -268, 1, 16028, -32767}),
      stored({7889, -17382, -5475, -32768, 15194, 32767})}},
    {sixteenBits,
     3,
     0,
     {sixteenFirst, stored({-7890, -1, 8239, 32500, -16739, 0}),
      stored({7889, -9493, 27294, 0, -1546, 16739})}},
    {sixteenBits,
     5,
     0,
     {sixteenFirst, stored({-7890, -4375, 28516, 16519, -356, -32411}),
      stored({7889, -21326, -4476, 21859, 6824, 9559})}},
    {sixteenBits,
     6,
     0,
     {sixteenFirst, stored({-7890, 12183, -20771, 135, -16740, 24755}),
      stored({7889, -21326, 3216, -30030, -1190, 25170})}},
    {sixteenBits,
     7,
     0,
     {sixteenFirst, stored({-7890, 24448, -16517, 16385, 32412, -24397}),
      stored({7889, -17382, -13167, 19122, 23208, 17156})}},
};

TEST(Predictors, MakeKnownDifferences) {
  forEachLevel([] {
    for (const KnownDifferences& known : knownDifferences) {
      SCOPED_TRACE(known.predictor);
      std::vector<int16_t> above;
      for (size_t y = 0; y < known.rows.size(); ++y) {
        std::vector<int16_t> row = known.picture.rows[y], got(row.size()), back(row.size());
        for (auto& v : row) v = int16_t(uint16_t(v) >> known.pointTransform);
        const int width = int(row.size());
        if (y == 0) {
          rkdiDiffPredFirstRow_JPEG_16s_C1(row.data(), got.data(), width, known.picture.precision,
                                           known.pointTransform);
          rkdiReconstructPredFirstRow_JPEG_16s_C1(got.data(), back.data(), width,
                                                  known.picture.precision, known.pointTransform);
        } else {
          rkdiDiffPredRow_JPEG_16s_C1(row.data(), above.data(), got.data(), width, known.predictor);
          rkdiReconstructPredRow_JPEG_16s_C1(got.data(), above.data(), back.data(), width,
                                             known.predictor);
        }
        EXPECT_EQ(known.rows[y], got);
        EXPECT_EQ(row, back);
        above = row;
      }
    }
  });
}

TEST(Predictors, EveryLevelEqualsThePlainVersion) {
  forEachLevel([] {
    Random random;
    for (const int width : {1, 2, 7, 8, 9, 16, 17, 31, 33, 63, 64, 65, 130, 1001}) {
      const RkdiSize size = sz(width, 1);
      // Addresses need no more than the alignment of an element.
      const rkdkit::Place place = {2 * (width % 32), 0};
      Canvas<int16_t> src(size, 1, place), above(size, 1, place), want(size), got(size, 1, place);
      for (int round = 0; round < 3; ++round) {
        src.fillLimitsAndRandom(random);
        above.fillLimitsAndRandom(random);
        for (int predictor = 1; predictor <= 7; ++predictor) {
          ref::rkdiDiffPredRow_JPEG_16s_C1(src.data(), above.data(), want.data(), width, predictor);
          EXPECT_EQ(rkdStsNoErr, rkdiDiffPredRow_JPEG_16s_C1(src.data(), above.data(), got.data(),
                                                             width, predictor));
          ASSERT_TRUE(got.sameAs(want) && got.marginIntact()) << width << ", " << predictor;
          ref::rkdiReconstructPredRow_JPEG_16s_C1(src.data(), above.data(), want.data(), width,
                                                  predictor);
          EXPECT_EQ(rkdStsNoErr, rkdiReconstructPredRow_JPEG_16s_C1(src.data(), above.data(),
                                                                    got.data(), width, predictor));
          ASSERT_TRUE(got.sameAs(want) && got.marginIntact()) << width << ", " << predictor;
        }
        for (const auto& [precision, point] : {std::pair{8, 0}, {16, 0}, {12, 3}, {2, 1}}) {
          ref::rkdiDiffPredFirstRow_JPEG_16s_C1(src.data(), want.data(), width, precision, point);
          EXPECT_EQ(rkdStsNoErr, rkdiDiffPredFirstRow_JPEG_16s_C1(src.data(), got.data(), width,
                                                                  precision, point));
          ASSERT_TRUE(got.sameAs(want) && got.marginIntact()) << width;
          ref::rkdiReconstructPredFirstRow_JPEG_16s_C1(src.data(), want.data(), width, precision,
                                                       point);
          EXPECT_EQ(rkdStsNoErr, rkdiReconstructPredFirstRow_JPEG_16s_C1(src.data(), got.data(),
                                                                         width, precision, point));
          ASSERT_TRUE(got.sameAs(want) && got.marginIntact()) << width;
        }
      }
    }
  });
}

}  // namespace
