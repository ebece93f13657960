// Geometry, tables and scripts: no bits involved.
#include <gtest/gtest.h>

#include "frame.h"
#include "tables.h"

namespace {

using namespace jpeg;

Frame frameOf(int width, int height, std::initializer_list<std::pair<int, int>> factors,
              Process process = Process::baseline) {
  Frame f;
  f.process = process;
  f.width = width;
  f.height = height;
  for (const auto& [h, v] : factors) {
    Component& c = f.component[size_t(f.componentCount)];
    c.id = uint8_t(++f.componentCount);
    c.h = uint8_t(h);
    c.v = uint8_t(v);
  }
  return f;
}

TEST(JpegFrame, CountsBlocksAndUnits) {
  struct Case {
    int width, height;
    std::initializer_list<std::pair<int, int>> factors;
    int mcusAcross, mcusDown, chromaAcross, chromaDown, lumaPadded;
  };
  const Case cases[] = {{1, 1, {{2, 2}, {1, 1}, {1, 1}}, 1, 1, 1, 1, 4},
                        {17, 16, {{2, 2}, {1, 1}, {1, 1}}, 2, 1, 2, 1, 8},
                        {100, 67, {{2, 1}, {1, 1}, {1, 1}}, 7, 9, 7, 9, 126},
                        {65535, 65535, {{1, 1}, {1, 1}, {1, 1}}, 8192, 8192, 8192, 8192, 67108864},
                        {33, 9, {{3, 1}, {2, 1}, {1, 1}}, 2, 2, 3, 2, 12}};
  for (const Case& c : cases) {
    Frame f = frameOf(c.width, c.height, c.factors);
    ASSERT_EQ(Status::ok, f.derive());
    EXPECT_EQ(c.mcusAcross, f.mcusAcross);
    EXPECT_EQ(c.mcusDown, f.mcusDown);
    EXPECT_EQ(c.chromaAcross, f.component[1].blocksAcross) << c.width;
    EXPECT_EQ(c.chromaDown, f.component[1].blocksDown);
    EXPECT_EQ(size_t(c.lumaPadded), f.component[0].blocks());
  }
}

TEST(JpegFrame, RefusesWhatNoFrameMayHave) {
  const auto outcome = [](Frame f) { return f.derive(); };
  EXPECT_EQ(Status::badSize, outcome(frameOf(0, 1, {{1, 1}})));
  EXPECT_EQ(Status::badSize, outcome(frameOf(65536, 1, {{1, 1}})));
  EXPECT_EQ(Status::badFrame, outcome(frameOf(1, 1, {})));
  EXPECT_EQ(Status::badFrame, outcome(frameOf(1, 1, {{5, 1}})));
  EXPECT_EQ(Status::badFrame, outcome(frameOf(1, 1, {{1, 0}})));
  Frame twice = frameOf(8, 8, {{1, 1}, {1, 1}});
  twice.component[1].id = twice.component[0].id;
  EXPECT_EQ(Status::badFrame, twice.derive());
}

TEST(JpegFrame, ReducedComponentsKeepResolutionThatTheFileHas) {
  Frame f = frameOf(100, 60, {{2, 2}, {1, 1}, {1, 1}});
  ASSERT_EQ(Status::ok, f.derive());
  const ScaledComponent luma = scaledComponent(f, 0, 2), chroma = scaledComponent(f, 1, 2);
  EXPECT_EQ(4, luma.samples);
  EXPECT_EQ(50, luma.width);
  EXPECT_EQ(8, chroma.samples);
  EXPECT_EQ(2, chroma.h);
  EXPECT_EQ(50, chroma.width);
  EXPECT_EQ(1, scaledComponent(f, 0, 8).samples);
  EXPECT_EQ(13, scaledComponent(f, 0, 8).width);
}

TEST(JpegTables, DefaultScriptsAreComplete) {
  for (int components = 1; components <= 4; ++components) {
    EXPECT_EQ(Status::ok, checkScript(defaultScript(components, false), components));
  }
  EXPECT_EQ(Status::ok, checkScript(defaultScript(3, true), 3));
  EXPECT_EQ(Status::ok, checkScript(defaultScript(4, true), 4));
}

TEST(JpegTables, ScriptsThatBreakARuleAreRefused) {
  const ScriptScan dc{1, {0}, 0, 0, 0, 0}, ac{1, {0}, 1, 63, 0, 0};
  EXPECT_EQ(Status::ok, checkScript({dc, ac}, 1));
  EXPECT_EQ(Status::badScript, checkScript({dc}, 1)) << "a coefficient is never sent";
  EXPECT_EQ(Status::badScript, checkScript({ac, dc}, 1)) << "DC must come first";
  EXPECT_EQ(Status::badScript, checkScript({dc, ac, ac}, 1)) << "sent twice";
  EXPECT_EQ(Status::badScript, checkScript({{1, {0}, 0, 63, 0, 0}}, 1)) << "DC and AC together";
  EXPECT_EQ(Status::badScript, checkScript({{1, {0}, 0, 0, 0, 1}, ac, {1, {0}, 0, 0, 2, 1}}, 1))
      << "a bit is left out";
  EXPECT_EQ(Status::badScript, checkScript({{2, {1, 0}, 0, 0, 0, 0}}, 2)) << "out of order";
}

TEST(JpegTables, QualityScalesTheTypicalTables) {
  EXPECT_EQ(16, standardQuantisers(false, 50)[0]);
  EXPECT_EQ(8, standardQuantisers(false, 75)[0]);
  EXPECT_EQ(255, standardQuantisers(false, 1)[0]);
  EXPECT_EQ(99, standardQuantisers(true, 50)[63]);
  for (const uint16_t q : standardQuantisers(true, 100)) EXPECT_EQ(1, q);
}

}  // namespace
