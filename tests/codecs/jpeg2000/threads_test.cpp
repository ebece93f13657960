// Several threads make the bits that one makes.
#include <atomic>
#include <cstring>
#include <random>
#include <thread>

#include "budget.h"
#include "damagekit.h"
#include "rkd/rkdjpeg.h"
#include "synthesis.h"
#include "wavelet.h"

namespace {

using namespace j2k;
using j2kkit::Picture;

/// Planes of all resolutions of these samples, filled at random, or to the last of the bits that
/// the arithmetic holds.
std::unique_ptr<CoefficientPlanes> filled(Arithmetic arithmetic, const Rect& samples, int levels) {
  std::vector<Rect> windows(1, samples);
  for (int i = 0; i < levels; ++i) windows.insert(windows.begin(), bandOf(windows.front(), 0));
  auto planes = std::make_unique<CoefficientPlanes>(arithmetic, windows);
  std::mt19937 random(unsigned(samples.width() * 31 + samples.height()));
  const PlaneView& view = planes->samples();
  for (int y = 0; y < view.height; ++y) {
    for (int x = 0; x < view.width; ++x) {
      const auto bits = random();
      switch (arithmetic) {
        case Arithmetic::narrow:
          view.row<int16_t>(y)[x] = int16_t(int(bits % 4096) - 2048);
          break;
        case Arithmetic::wide:
          view.row<int32_t>(y)[x] = int32_t(bits) >> 6;
          break;
        case Arithmetic::real:
          view.row<float>(y)[x] = float(int32_t(bits)) / 8388608;
          break;
      }
    }
  }
  return planes;
}

int rowsThatDiffer(const CoefficientPlanes& a, const CoefficientPlanes& b) {
  const PlaneView &va = a.samples(), &vb = b.samples();
  int rows = 0;
  for (int y = 0; y < va.height; ++y) {
    const size_t bytes = size_t(va.width) * sampleSize(va.arithmetic);
    rows += std::memcmp(va.row<uint8_t>(y), vb.row<uint8_t>(y), bytes) != 0 ? 1 : 0;
  }
  return rows;
}

TEST(Wavelets, PartsGiveTheBitsOfTheWhole) {
  codecs::Workers alone(1);
  Wavelets whole(alone);
  for (const int threads : {2, 3, 7}) {
    codecs::Workers team(threads);
    Wavelets parts(team);
    for (const Arithmetic arithmetic : {Arithmetic::narrow, Arithmetic::wide, Arithmetic::real}) {
      // Odd origins and sizes; heights around those at which there are two parts.
      for (const Rect& rect : {Rect{0, 0, 37, 900}, Rect{3, 5, 40, 262}, Rect{1, 7, 2, 391},
                               Rect{0, 1, 19, 128}, Rect{0, 1, 19, 129}}) {
        SCOPED_TRACE(testing::Message() << threads << " threads, arithmetic " << int(arithmetic)
                                        << ", " << rect.width() << " x " << rect.height());
        const auto one = filled(arithmetic, rect, 3), all = filled(arithmetic, rect, 3);
        const CoefficientPlanes* const ofOne[] = {one.get()};
        const CoefficientPlanes* const ofAll[] = {all.get()};
        EXPECT_EQ(0, whole.seamBytes(ofOne));
        EXPECT_EQ(rect.height() >= 128, parts.seamBytes(ofAll) > 0);
        whole.forward(ofOne);
        parts.forward(ofAll);
        EXPECT_EQ(0, rowsThatDiffer(*one, *all));
      }
    }
  }
}

/// The top level in place, by the library.
void invert(const WaveletLevel& level) {
  const PlaneView& p = level.plane;
  const RkdiSize size = {p.width, p.height};
  const RkdDataType types[] = {rkd16s, rkd32s, rkd32f};
  int bytes = 0;
  ASSERT_EQ(rkdStsNoErr, rkdiWTGetBufSize_JPEG2K(size, types[size_t(p.arithmetic)], &bytes));
  std::vector<uint8_t> work(size_t(bytes) + 1);
  const auto run = [&](auto call, auto* data) {
    ASSERT_EQ(rkdStsNoErr, call(data, int(p.step), size, level.phaseX, level.phaseY, work.data()));
  };
  if (p.arithmetic == Arithmetic::narrow) run(rkdiWTInv_B53_JPEG2K_16s_C1IR, p.row<int16_t>(0));
  if (p.arithmetic == Arithmetic::wide) run(rkdiWTInv_B53_JPEG2K_32s_C1IR, p.row<int32_t>(0));
  if (p.arithmetic == Arithmetic::real) run(rkdiWTInv_D97_JPEG2K_32f_C1IR, p.row<float>(0));
}

TEST(Wavelets, RowsAreThoseOfTheWholeWhereverTheyBegin) {
  for (const Arithmetic arithmetic : {Arithmetic::narrow, Arithmetic::wide, Arithmetic::real}) {
    for (const Rect& rect : {Rect{3, 5, 40, 62}, Rect{0, 0, 33, 16}, Rect{1, 7, 2, 39},
                             Rect{4, 2, 5, 9}, Rect{0, 0, 9, 2}, Rect{0, 3, 9, 5}, Rect{2, 1, 9, 4},
                             Rect{0, 5, 9, 6}, Rect{0, 4, 9, 5}}) {
      const auto coefficients = filled(arithmetic, rect, 1), samples = filled(arithmetic, rect, 1);
      const bool isOneRow = rect.height() == 1;
      ASSERT_EQ(isOneRow ? 1 : 0, coefficients->topInPlace());
      if (!isOneRow) invert(samples->level(1));
      constexpr int64_t pairs = 3;
      const size_t step = rowStep(arithmetic, rect.width());
      std::vector<uint8_t> memory(RowSynthesis::bytes(step, pairs), 0x55);
      for (int64_t begin = rect.y0; begin < rect.y1; ++begin) {
        RowSynthesis synthesis(*coefficients, step, memory.data());
        for (int64_t y = begin, end = 0; y < rect.y1; y = end) {
          end = std::min(rect.y1, RowSynthesis::endOfPair(y + (y % 3) * 2));
          const PlaneView rows = synthesis.rows(y, end);
          ASSERT_EQ(end - y, rows.height);
          for (int i = 0; i < rows.height; ++i) {
            const size_t bytes = size_t(rows.width) * sampleSize(arithmetic);
            EXPECT_EQ(0, std::memcmp(samples->samples().row<uint8_t>(y + i - rect.y0),
                                     rows.row<uint8_t>(i), bytes))
                << "arithmetic " << int(arithmetic) << ", " << rect.width() << " x "
                << rect.height() << " from " << begin << ", row " << y + i;
            std::memset(rows.row<uint8_t>(i), 0x77, bytes);  // they are the caller's
          }
        }
      }
    }
  }
}

TEST(Wavelets, ComponentsBeyondARoundOfThreadsAreMadeInParts) {
  codecs::Workers alone(1), team(3);
  Wavelets whole(alone), parts(team);
  std::vector<std::unique_ptr<CoefficientPlanes>> own;
  std::vector<const CoefficientPlanes*> one, all;
  for (int c = 0; c < 5; ++c) {
    for (auto* list : {&one, &all}) {
      own.push_back(filled(Arithmetic::real, {0, 0, 50 + c, 300 - c}, 2));
      list->push_back(own.back().get());
    }
  }
  whole.forward(one);
  parts.forward(all);
  for (size_t c = 0; c < one.size(); ++c) EXPECT_EQ(0, rowsThatDiffer(*one[c], *all[c])) << c;
}

TEST(Wavelets, OfMoreThanTheLibraryTakesAreRefused) {
  codecs::Workers workers(2);
  const auto asked = [&](int64_t side) {
    const CoefficientPlanes planes(Arithmetic::narrow, {{0, 0, side, side}});
    const CoefficientPlanes* const list[] = {&planes};
    return Wavelets(workers).workBytes(list);
  };
  EXPECT_EQ(0, asked(0));
  EXPECT_LT(1000 * 1000, asked(1000));
  // Half of its samples are more than 2 GiB. Where memory is short it is refused before.
  EXPECT_ANY_THROW(asked(46400));
}

TEST(Threads, TakeHardlyMoreMemoryThanOne) {
  // 4 MiB of coefficients, which all threads lift where they are.
  Picture picture = j2kkit::waves(1024, 1024, 1);
  Options options;
  options.wavelet = Wavelet::irreversible97;
  options.memoryMiB = 1024;
  const j2kkit::Bytes file = j2kkit::encoded(picture, options);
  const auto least = [&](int threads) {
    for (options.memoryMiB = 2;; ++options.memoryMiB) {
      options.threads = threads;
      j2kkit::Messages messages;
      if (!j2kkit::decoded(file, options, messages).planes.empty()) return options.memoryMiB;
    }
  };
  const auto one = least(1);
  EXPECT_LE(least(2), one + 1);
}

/// What a file gives with so many threads: samples, and all that is told.
std::pair<Picture, std::string> madeWith(int threads, const j2kkit::Bytes& file, Options options) {
  options.threads = threads;
  j2kkit::Messages messages;
  Picture picture = j2kkit::decoded(file, options, messages);
  return {std::move(picture), messages.text};
}

TEST(Threads, GiveTheSameOfLargePlanesAndOfARegionWithPlanesOfItsOwn) {
  Picture picture = j2kkit::waves(1100, 1300, 3);
  Options options;
  options.wavelet = Wavelet::irreversible97;
  options.ratios = {10};
  const j2kkit::Bytes file = j2kkit::encoded(picture, options);
  for (const bool region : {false, true}) {
    if (region) options.crop = {33, 50, 1050, 1240};
    const auto one = madeWith(1, file, options);
    ASSERT_FALSE(one.first.planes.empty()) << one.second;
    for (const int threads : {2, 5}) {
      EXPECT_EQ(one.first.planes, madeWith(threads, file, options).first.planes) << threads;
    }
  }
}

// ---- tiles ----

/// So many tiles that threads take whole ones.
Options manyTiles() {
  Options options;
  options.rawStream = true;
  options.tileWidth = 20;
  options.tileHeight = 17;
  options.levels = 2;
  options.blockWidth = options.blockHeight = 8;
  return options;
}

TEST(Threads, ThatTakeWholeTilesChangeNoByteAndNoSample) {
  Picture picture = j2kkit::photograph(170, 130);
  for (const bool lossy : {false, true}) {
    for (const char parts : {char(0), 'R'}) {
      Options options = manyTiles();
      options.tileParts = parts;
      options.plt = options.tlm = true;
      options.ratios = {20, lossy ? 3.0 : 1.0};
      if (lossy) options.wavelet = Wavelet::irreversible97;
      const j2kkit::Bytes one = j2kkit::encoded(picture, options);
      Options region;
      region.crop = {11, 9, 140, 100};
      for (const int threads : {2, 5}) {
        options.threads = threads;
        EXPECT_EQ(one, j2kkit::encoded(picture, options)) << threads;
        for (const Options& how : {Options(), region}) {
          const auto [want, nothing] = madeWith(1, one, how);
          const auto [got, told] = madeWith(threads, one, how);
          EXPECT_EQ("", told);
          EXPECT_EQ(want.planes, got.planes) << threads;
        }
      }
    }
  }
}

TEST(Threads, ThatTakeWholeTilesTellOfDamageInTheOrderOfTiles) {
  Picture picture = j2kkit::photograph(170, 130);
  // 63 tiles; 374, which are more than two threads are given at a time.
  for (const int tile : {20, 8}) {
    Options coding = manyTiles();
    coding.tileWidth = coding.tileHeight = tile;
    coding.sop = true;
    const j2kkit::Bytes whole = j2kkit::encoded(picture, coding);
    std::mt19937 random(5);
    for (int turn = 0; turn < 6; ++turn) {
      j2kkit::Bytes file = whole;
      for (int i = 0; i < 40; ++i) file[200 + random() % (file.size() - 200)] = uint8_t(random());
      for (const bool strict : {false, true}) {
        Options options;
        options.strict = strict;
        const auto [want, wanted] = madeWith(1, file, options);
        const auto [got, told] = madeWith(tile == 8 ? 2 : 4, file, options);
        EXPECT_NE("", wanted);
        EXPECT_EQ(wanted, told);
        EXPECT_EQ(want.planes, got.planes);
      }
    }
  }
}

TEST(Threads, AreNotRefusedMemoryForWhatOthersAreRefused) {
  j2k::Budget budget(1000);
  std::atomic<bool> isOver = false;
  std::thread greedy([&] {
    for (int i = 0; i < 20'000; ++i) EXPECT_THROW(budget.take(100'000), j2k::Failure);
    isOver = true;
  });
  while (!isOver) {
    EXPECT_NO_THROW(budget.take(10));
    budget.giveBack(10);
  }
  greedy.join();
  EXPECT_EQ(1000, budget.left());
}

TEST(Threads, ThatTakeWholeTilesOpenWhatOneOpensInTheSameMemory) {
  // Precincts and blocks of a tile take many times what its samples do.
  Picture picture = j2kkit::photograph(384, 256);
  Options coding = manyTiles();
  coding.tileWidth = coding.tileHeight = 64;
  coding.levels = 1;
  coding.blockWidth = coding.blockHeight = 4;
  coding.precincts = {{0, 0, 2, 2}};
  const j2kkit::Bytes file = j2kkit::encoded(picture, coding);
  for (int mib = 1; mib < 5; ++mib) {
    Options options;
    options.memoryMiB = mib;
    const auto [want, wanted] = madeWith(1, file, options);
    const auto [got, told] = madeWith(6, file, options);
    EXPECT_EQ(wanted, told) << mib;
    EXPECT_EQ(want.planes, got.planes) << mib;
  }
}

}  // namespace
