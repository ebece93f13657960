// What the Huffman coders and predictors refuse beside null pointers and sizes, before they touch
// anything.
#include <algorithm>
#include <tuple>
#include <utility>

#include "huffkit.h"
#include "rkd/rkdjpeg_pred.h"

using namespace huffkit;

namespace {

class HuffmanArguments : public testing::Test {
 protected:
  Block block = sparse({{0, 5}, {3, -2}});
  Out out{64};
  int position = 0, dc = 0, marker = 0, counts[256] = {};
  EncodeSpec<Library> encodeSpec{acLuma};
  DecodeSpec<Library> decodeSpec{acLuma};
  EncodeState<Library> encodeState;
  DecodeState<Library> decodeState;
  const Block blockBefore = block;
  const Out outBefore = out;

  void TearDown() override {
    EXPECT_EQ(blockBefore, block);
    EXPECT_EQ(outBefore, out);
    EXPECT_EQ(0, dc);
    EXPECT_EQ(EncodeState<Library>(), encodeState);
    EXPECT_EQ(DecodeState<Library>(), decodeState);
    EXPECT_EQ(0, *std::max_element(counts, counts + 256));
  }
};

TEST_F(HuffmanArguments, PlanesWithoutATableAreRefused) {
  const int16_t* const planes[4] = {block.data(), block.data()};
  int16_t* const outPlanes[4] = {block.data(), block.data()};
  const RkdiEncodeHuffmanSpec* const encodeSpecs[4] = {encodeSpec.get()};
  const RkdiDecodeHuffmanSpec* const decodeSpecs[4] = {decodeSpec.get()};
  int* const planeCounts[4] = {counts};
  EXPECT_EQ(rkdStsNullPtrErr, Library::encodeRow(planes, out.data(), 64, &position, 8, encodeSpecs,
                                                 encodeState.get(), 0));
  EXPECT_EQ(rkdStsNullPtrErr, Library::decodeRow(out.data(), 64, &position, outPlanes, &marker, 8,
                                                 decodeSpecs, decodeState.get()));
  EXPECT_EQ(rkdStsNullPtrErr, Library::countRow(planes, 8, planeCounts));
}

TEST_F(HuffmanArguments, PositionsOutsideTheStreamAreRefused) {
  for (const auto& [length, at] : {std::pair{0, 0}, {-1, 0}, {64, -1}, {64, 65}}) {
    position = at;
    EXPECT_EQ(rkdStsSizeErr,
              Library::encode(block.data(), out.data(), length, &position, &dc, encodeSpec.get(),
                              encodeSpec.get(), encodeState.get(), 0));
    EXPECT_EQ(rkdStsSizeErr,
              Library::encode(block.data(), out.data(), length, &position, &dc, encodeSpec.get(),
                              encodeSpec.get(), encodeState.get(), 1));
    EXPECT_EQ(rkdStsSizeErr,
              Library::decode(out.data(), length, &position, block.data(), &dc, &marker,
                              decodeSpec.get(), decodeSpec.get(), decodeState.get()));
    EXPECT_EQ(rkdStsSizeErr,
              Library::decodeACRefine(out.data(), length, &position, block.data(), &marker, 1, 63,
                                      0, decodeSpec.get(), decodeState.get()));
    EXPECT_EQ(at, position);
  }
  for (const auto& [length, at] : {std::pair{0, 0}, {1 << 28, 0}, {64, -1}, {64, 8 * 64 + 1}}) {
    position = at;
    EXPECT_EQ(rkdStsSizeErr, Library::encodeDirect(block.data(), out.data(), length, &position, &dc,
                                                   encodeSpec.get(), encodeSpec.get()));
    EXPECT_EQ(rkdStsSizeErr, Library::decodeDirect(out.data(), length, &position, block.data(), &dc,
                                                   decodeSpec.get(), decodeSpec.get()));
  }
  const int16_t* const planes[4] = {block.data()};
  int16_t* const outPlanes[4] = {block.data()};
  const RkdiEncodeHuffmanSpec* const encodeSpecs[4] = {encodeSpec.get()};
  const RkdiDecodeHuffmanSpec* const decodeSpecs[4] = {decodeSpec.get()};
  position = 0;
  for (const int width : {0, -3}) {
    EXPECT_EQ(rkdStsSizeErr, Library::encodeRow(planes, out.data(), 64, &position, width,
                                                encodeSpecs, encodeState.get(), 0));
    EXPECT_EQ(rkdStsSizeErr, Library::decodeRow(out.data(), 64, &position, outPlanes, &marker,
                                                width, decodeSpecs, decodeState.get()));
  }
}

TEST_F(HuffmanArguments, ScansOutsideTheStandardAreRefused) {
  for (const auto& [ss, se, al] : {std::tuple{0, 63, 0},
                                   {1, 64, 0},
                                   {5, 4, 0},
                                   {1, 63, -1},
                                   {1, 63, 14},
                                   {-1, 5, 0},
                                   {64, 64, 0}}) {
    EXPECT_EQ(rkdStsBadArgErr,
              Library::countACFirst(block.data(), counts, ss, se, al, encodeState.get(), 0));
    EXPECT_EQ(rkdStsBadArgErr,
              Library::encodeACRefine(block.data(), out.data(), 64, &position, ss, se, al,
                                      encodeSpec.get(), encodeState.get(), 0));
    EXPECT_EQ(rkdStsBadArgErr,
              Library::decodeACFirst(out.data(), 64, &position, block.data(), &marker, ss, se, al,
                                     decodeSpec.get(), decodeState.get()));
  }
  for (const int al : {-1, 14}) {
    EXPECT_EQ(rkdStsBadArgErr, Library::countDCFirst(block.data(), counts, &dc, al));
    EXPECT_EQ(rkdStsBadArgErr, Library::encodeDCRefine(block.data(), out.data(), 64, &position, al,
                                                       encodeState.get(), 0));
    EXPECT_EQ(rkdStsBadArgErr,
              Library::decodeDCFirst(out.data(), 64, &position, block.data(), &dc, &marker, al,
                                     decodeSpec.get(), decodeState.get()));
  }
}

TEST_F(HuffmanArguments, ObjectsOfAnotherKindAreRefused) {
  const auto notASpec = reinterpret_cast<const RkdiEncodeHuffmanSpec*>(decodeSpec.get());
  const auto notAState = reinterpret_cast<RkdiDecodeHuffmanState*>(encodeState.get());
  EXPECT_EQ(rkdStsContextErr, Library::encode(block.data(), out.data(), 64, &position, &dc,
                                              encodeSpec.get(), notASpec, encodeState.get(), 0));
  EXPECT_EQ(rkdStsContextErr, Library::decode(out.data(), 64, &position, block.data(), &dc, &marker,
                                              decodeSpec.get(), decodeSpec.get(), notAState));
  EXPECT_EQ(rkdStsContextErr, Library::encodeACFirst(block.data(), out.data(), 64, &position, 1, 63,
                                                     0, notASpec, encodeState.get(), 0));
}

TEST(PredictorArguments, AreRefusedBeforeTheRowIsTouched) {
  int16_t src[4] = {1, 2, 3, 4}, above[4] = {}, dst[4] = {7, 7, 7, 7};
  for (const auto& [precision, point] : {std::pair{1, 0}, {17, 0}, {8, 8}, {8, -1}}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiDiffPredFirstRow_JPEG_16s_C1(src, dst, 4, precision, point));
    EXPECT_EQ(rkdStsBadArgErr,
              rkdiReconstructPredFirstRow_JPEG_16s_C1(src, dst, 4, precision, point));
  }
  for (const int predictor : {0, 8, -1}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiDiffPredRow_JPEG_16s_C1(src, above, dst, 4, predictor));
    EXPECT_EQ(rkdStsBadArgErr, rkdiReconstructPredRow_JPEG_16s_C1(src, above, dst, 4, predictor));
  }
  for (const int16_t v : dst) EXPECT_EQ(7, v);
}

}  // namespace
