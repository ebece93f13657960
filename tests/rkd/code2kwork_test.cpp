// How much the functions on code blocks do, in instructions that callgrind counts: a truncation
// point costs no coding, and a step no more than its passes.
#include <filesystem>

#include "blockkit.h"
#include "peerkit.h"

using namespace blockkit;
using rkdkit::Random;
using rkdkit::sz;

namespace {

/// What is counted, in a run of this program under callgrind.
TEST(CodeBlockSample, StoresThreeTimesAndDecodesTwice) {
  Random random;
  const Shape shape = {sz(32, 32), rkdBandHL, 0};
  const Coefficients data = filled(Fill::picture, shape.size, random);
  Encoder<Library> encoder;
  const Coded coded = encoder.encode(data, shape);
  for (const int passes : {coded.passes / 3, coded.passes * 2 / 3}) encoder.store(passes);

  Decoder<Library> decoder;
  const int length = int(coded.bytes.size());
  ASSERT_EQ(rkdStsNoErr, Library::start(length, &length, 1, shape.size, shape.band, shape.style,
                                        coded.bitPlanes, coded.passes, decoder.state));
  for (int pass = 0; pass < coded.passes; ++pass) {
    ASSERT_EQ(rkdStsNoErr, Library::step(coded.bytes.data(), length, 1, decoder.state));
  }
  EXPECT_EQ(data, decoder.decode(coded.bytes, {length}, shape, coded.bitPlanes, coded.passes));
}

class CodeBlockWork : public peerkit::PeerTest {
 protected:
  CodeBlockWork() : PeerTest("valgrind") {}

  /// Instructions in all of the sample's calls of a function.
  long long instructions(const std::string& function) const {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const Bytes log =
        made("--tool=callgrind --callgrind-out-file=/dev/null --log-file=" + file("log") +
                 " --toggle-collect=" + function + " " + self + " --gtest_filter=CodeBlockSample.*",
             "log");
    const std::string text(log.begin(), log.end());
    const std::string label = "Collected : ";
    const size_t at = text.find(label);
    EXPECT_NE(std::string::npos, at) << text;
    return at == std::string::npos ? 0 : std::stoll(text.substr(at + label.size()));
  }
};

TEST_F(CodeBlockWork, StoringCodesNothingAndStepsDecodeNothingTwice) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "valgrind does not run sanitized programs";
#endif
  const long long load = instructions("rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R");
  const long long stores = instructions("rkdiEncodeStoreBits_JPEG2K_1u");
  EXPECT_GT(stores, 0);
  EXPECT_LT(stores, load / 100);

  const long long whole = instructions("rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R");
  const long long steps = instructions("rkdiDecodeCBProgrStep_JPEG2K");
  EXPECT_GT(steps, whole / 2);
  EXPECT_LT(steps, whole + whole / 20);
}

}  // namespace
