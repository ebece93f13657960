// Wavelets of JPEG 2000 beside OpenJPEG; then every one of these functions by itself beside a copy
// of the same bytes.
//
// The peer's transforms have no interface of their own, but its static archive holds them. What
// they read of the structures around them, a few numbers and pointers, is declared here by its
// place in memory, which is that of release 2.5.0; results are compared before anything is timed.
// Debian builds the archive without AVX2: the peer's vector paths are those of SSE2.
#include <openjpeg.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "benchkit.h"
#include "planes.h"
#include "rkd/rkdjpeg_wavelet.h"

namespace bench::peer {

struct Resolution {
  int32_t x0, y0, x1, y1;
  uint8_t unused[176];
};
struct Component {
  int32_t x0, y0, x1, y1;
  uint32_t index, resolutions, wantedResolutions;
  Resolution* resolution;
  size_t unused;
  void* data;
  uint8_t unused2[64];
};
struct Tile {
  uint8_t unused[0x40];
  void* threads;
  uint8_t unused2[0x10];
  int32_t isWhole;
  uint8_t unused3[0x40];
};
static_assert(sizeof(Resolution) == 0xC0);
static_assert(offsetof(Component, resolutions) == 0x14 && offsetof(Component, resolution) == 0x20);
static_assert(offsetof(Component, data) == 0x30 && offsetof(Tile, isWhole) == 0x58);

extern "C" {
void* opj_thread_pool_create(int threads);
void opj_thread_pool_destroy(void* pool);
int opj_dwt_encode(Tile* tile, Component* component);
int opj_dwt_encode_real(Tile* tile, Component* component);
int opj_dwt_decode(Tile* tile, Component* component, uint32_t resolutions);
int opj_dwt_decode_real(Tile* tile, Component* component, uint32_t resolutions);
}

}  // namespace bench::peer

namespace bench {
namespace {

constexpr int kSide = 1024;
constexpr int kLevels = 5;
constexpr size_t kSamples = size_t{kSide} * kSide;

// ---- five levels ----

/// The peer's transforms of a tile of kSide by kSide samples, in place.
class PeerTransform {
 public:
  explicit PeerTransform(void* data) {
    for (int r = 0; r <= kLevels; ++r)
      m_resolution[r].x1 = m_resolution[r].y1 = kSide >> (kLevels - r);
    m_component.x1 = m_component.y1 = kSide;
    m_component.resolutions = m_component.wantedResolutions = kLevels + 1;
    m_component.resolution = m_resolution;
    m_component.data = data;
    m_tile.threads = peer::opj_thread_pool_create(0);
    m_tile.isWhole = 1;
  }
  ~PeerTransform() { peer::opj_thread_pool_destroy(m_tile.threads); }
  PeerTransform(const PeerTransform&) = delete;
  PeerTransform& operator=(const PeerTransform&) = delete;

  void forward53() { require(peer::opj_dwt_encode(&m_tile, &m_component) != 0, kFails); }
  void forward97() { require(peer::opj_dwt_encode_real(&m_tile, &m_component) != 0, kFails); }
  void inverse53() {
    require(peer::opj_dwt_decode(&m_tile, &m_component, kLevels + 1) != 0, kFails);
  }
  void inverse97() {
    require(peer::opj_dwt_decode_real(&m_tile, &m_component, kLevels + 1) != 0, kFails);
  }

 private:
  static constexpr const char* kFails = "the peer's transform fails";
  peer::Resolution m_resolution[kLevels + 1] = {};
  peer::Component m_component = {};
  peer::Tile m_tile = {};
};

constexpr RkdiSize sideAt(int level) { return {kSide >> level, kSide >> level}; }

/// Five levels of 5/3. The first one forward and the last one back are out of place, so that a
/// repetition has the same samples to begin with; the others are in place, among the coefficients.
template <class T>
struct Five53 {
  using Tile = RkdStatus (*)(const T*, int, T*, int, RkdiSize, int, int, void*);
  using InPlace = RkdStatus (*)(T*, int, RkdiSize, int, int, void*);
  Tile tileForward, tileInverse;
  InPlace inPlaceForward, inPlaceInverse;
  static constexpr int kStep = kSide * int(sizeof(T));
  Plane<T> picture{kSamples}, coefficients{kSamples}, decoded{kSamples};
  std::vector<uint8_t> buffer;

  Five53(Tile f, InPlace fi, Tile i, InPlace ii)
      : tileForward(f), tileInverse(i), inPlaceForward(fi), inPlaceInverse(ii) {
    int bytes = 0;
    rkdiWTGetBufSize_JPEG2K(sideAt(0), sizeof(T) == 2 ? rkd16s : rkd32s, &bytes);
    buffer.resize(size_t(bytes));
    fillPicture(picture);
    forward();
    inverse();
    require(distance(picture, decoded) == 0, "5/3 does not come back");
  }
  void forward() {
    tileForward(picture.data(), kStep, coefficients.data(), kStep, sideAt(0), 0, 0, buffer.data());
    for (int level = 1; level < kLevels; ++level) {
      inPlaceForward(coefficients.data(), kStep, sideAt(level), 0, 0, buffer.data());
    }
  }
  void inverse() {
    for (int level = kLevels; --level > 0;) {
      inPlaceInverse(coefficients.data(), kStep, sideAt(level), 0, 0, buffer.data());
    }
    tileInverse(coefficients.data(), kStep, decoded.data(), kStep, sideAt(0), 0, 0, buffer.data());
  }
};

/// Five levels of 9/7 in floating point: columns step by step down the rows, every finished row
/// through the transform of rows. A level's lows go into one half of a plane of their own; the
/// coefficients lie as the peer's do.
struct Five97 {
  Plane<float> picture{kSamples}, coefficients{kSamples}, decoded{kSamples};
  Plane<float> lows{kSamples}, work{8 * kWorkStep};

  Five97() {
    fillPicture(picture);
    forward();
    inverse();
    require(distance(picture, decoded) < 0.01, "9/7 does not come back");
  }

  // Where the lows of a level are: the picture, a place between, at last among the coefficients.
  float* lowsAt(int level) const {
    if (level == kLevels) return coefficients.data();
    return lows.data() + (level % 2 == 0 ? kSide / 2 : 0) + size_t{kSide / 2} * kSide;
  }
  static constexpr int kStep = kSide * int(sizeof(float));
  template <class T>
  static T* row(T* plane, int y) {
    return plane + ptrdiff_t{y} * kSide;
  }
  // Rows in work lie apart so that they do not meet in the same few lines of the cache.
  static constexpr size_t kWorkStep = kSide + 80;
  float* workRow(int i) const { return work.data() + size_t(i) * kWorkStep; }
  static int mirrored(int y, int height) {
    return y < 0 ? -y : y < height ? y : 2 * (height - 1) - y;
  }

  void forward() {
    for (int level = 0; level < kLevels; ++level) {
      const int side = kSide >> level, half = side / 2;
      const float* const from = level == 0 ? picture.data() : lowsAt(level);
      const auto line = [&](const float* samples, float* low, float* high) {
        rkdiWTFwdRow_D97_JPEG2K_32f_C1R(samples, kStep, low, kStep, high, kStep, {side, 1},
                                        rkdWTFirstLow);
      };
      float* const state[4] = {workRow(0), workRow(1), workRow(2), workRow(3)};
      std::copy_n(row(from, 4), side, state[0]);  // the mirrored even row before the first step
      for (int n = -2; n <= half; ++n) {
        rkdiWTFwdColLift_D97_JPEG2K_32f_C1(row(from, mirrored(2 * n + 1, side)),
                                           row(from, mirrored(2 * n + 2, side)), state, workRow(4),
                                           workRow(5), side);
        if (n < 1) continue;
        float* const high = row(coefficients.data(), half + n - 1);
        line(workRow(4), row(lowsAt(level + 1), n - 1), row(coefficients.data(), n - 1) + half);
        line(workRow(5), high, high + half);
      }
    }
  }
  void inverse() {
    for (int level = kLevels; level-- > 0;) {
      const int side = kSide >> level, half = side / 2;
      float* const to = level == 0 ? decoded.data() : lowsAt(level);
      const auto line = [&](const float* low, const float* high, float* samples) {
        rkdiWTInvRow_D97_JPEG2K_32f_C1R(low, kStep, high, kStep, samples, kStep, {side, 1},
                                        rkdWTFirstLow);
      };
      float* const state[4] = {workRow(0), workRow(1), workRow(2), workRow(3)};
      for (int n = -2; n <= half + 1; ++n) {
        const int low = mirrored(2 * n, side) / 2, high = mirrored(2 * n + 1, side) / 2;
        const float* const below = row(coefficients.data(), half + high);
        line(row(lowsAt(level + 1), low), row(coefficients.data(), low) + half, workRow(4));
        line(below, below + half, workRow(5));
        const auto out = [&](int y, float* dropped) {
          return y >= 0 && y < side ? row(to, y) : dropped;
        };
        float* const odd = out(2 * n - 3, workRow(6));
        float* const even = out(2 * n - 2, workRow(7));
        rkdiWTInvColLift_D97_JPEG2K_32f_C1(workRow(4), workRow(5), state, odd, even, side);
      }
    }
  }
};

/// The peer works in place: its samples are put back before each turn, and that time is taken off.
template <class T, class Ours, class Work>
void againstPeer(Table& table, const std::string& name, Asked asked, Ours ours,
                 const Plane<T>& from, const Plane<T>& work, Work peerWork) {
  table.run({name, "sample", double(kSamples), asked.must, asked.aim, ours,
             std::string("OpenJPEG ") + opj_version(),
             [&from, &work, peerWork] {
               work.copyFrom(from);
               peerWork();
             },
             [&from, &work] { work.copyFrom(from); }});
}

#define FIVE_53(kind)                                                    \
  rkdiWTFwd_B53_JPEG2K_##kind##_C1R, rkdiWTFwd_B53_JPEG2K_##kind##_C1IR, \
      rkdiWTInv_B53_JPEG2K_##kind##_C1R, rkdiWTInv_B53_JPEG2K_##kind##_C1IR

void benchFiveLevels53(Table& table) {
  Five53<int32_t> wide(FIVE_53(32s));
  Five53<int16_t> narrow(FIVE_53(16s));
  Plane<int32_t> work(kSamples), coefficients(kSamples);
  PeerTransform peer(work.data());
  wide.forward();
  coefficients.copyFrom(wide.coefficients);
  work.copyFrom(wide.picture);
  peer.forward53();
  require(distance(work, coefficients) == 0, "5/3 differs from the peer's");
  peer.inverse53();
  require(distance(work, wide.picture) == 0, "the peer's 5/3 does not come back");

  const auto peerForward = [&] { peer.forward53(); };
  const auto peerInverse = [&] { peer.inverse53(); };
  againstPeer(
      table, "wavelet 5/3 32s forward, 5 levels", {.3, .15}, [&] { wide.forward(); }, wide.picture,
      work, peerForward);
  againstPeer(
      table, "wavelet 5/3 32s inverse, 5 levels", {.6, .33}, [&] { wide.inverse(); }, coefficients,
      work, peerInverse);
  againstPeer(
      table, "wavelet 5/3 16s forward, 5 levels", {.15, .08}, [&] { narrow.forward(); },
      wide.picture, work, peerForward);
  againstPeer(
      table, "wavelet 5/3 16s inverse, 5 levels", {.3, .17}, [&] { narrow.inverse(); },
      coefficients, work, peerInverse);
}

/// On the way back the peer wants highs of half the size, once for either direction.
void halveHighs(const Plane<float>& coefficients) {
  for (int level = 1; level <= kLevels; ++level) {
    const int half = kSide >> level;
    for (int y = 0; y < 2 * half; ++y) {
      float* const row = coefficients.data() + size_t(y) * kSide;
      for (int x = 0; x < 2 * half; ++x) row[x] *= (x < half ? 1 : .5F) * (y < half ? 1 : .5F);
    }
  }
}

void benchFiveLevels97(Table& table) {
  Five97 ours;
  Plane<float> work(kSamples), coefficients(kSamples);
  PeerTransform peer(work.data());
  work.copyFrom(ours.picture);
  peer.forward97();
  require(distance(work, ours.coefficients) < 0.01, "9/7 differs from the peer's");
  coefficients.copyFrom(work);
  halveHighs(coefficients);
  work.copyFrom(coefficients);
  peer.inverse97();
  require(distance(work, ours.picture) < 0.01, "the peer's 9/7 does not come back");

  againstPeer(
      table, "wavelet 9/7 32f forward, 5 levels", {.3, .17}, [&] { ours.forward(); }, ours.picture,
      work, [&] { peer.forward97(); });
  againstPeer(
      table, "wavelet 9/7 32f inverse, 5 levels", {.3, .17}, [&] { ours.inverse(); }, coefficients,
      work, [&] { peer.inverse97(); });
}

// ---- every function by itself ----

/// A function's line beside a copy of the samples. No ratio is asked for: a copy has no arithmetic.
template <class T>
class ByItself {
 public:
  explicit ByItself(Table& table) : m_table(table) {}

  using Forward = RkdStatus (*)(const T*, int, T*, int, T*, int, RkdiSize, int);
  using Inverse = RkdStatus (*)(const T*, int, const T*, int, T*, int, RkdiSize, int);
  /// The high band follows the low one in memory, by rows or by columns.
  void bands(const char* name, Forward function, bool byRows) {
    T* const high = m_b.data() + highAt(byRows);
    line(name, [=, this] {
      function(m_a.data(), kStep, m_b.data(), kStep, high, kStep, kPart, rkdWTFirstLow);
    });
  }
  void bands(const char* name, Inverse function, bool byRows) {
    const T* const high = m_a.data() + highAt(byRows);
    line(name, [=, this] {
      function(m_a.data(), kStep, high, kStep, m_b.data(), kStep, kPart, rkdWTFirstLow);
    });
  }

  using Tile = RkdStatus (*)(const T*, int, T*, int, RkdiSize, int, int, void*);
  using TileInPlace = RkdStatus (*)(T*, int, RkdiSize, int, int, void*);
  void tile(const char* name, Tile function) {
    line(name, [=, this] {
      function(m_a.data(), kStep, m_b.data(), kStep, kPart, 0, 0, m_buffer.data());
    });
  }
  void tile(const char* name, TileInPlace function) {
    line(name, [=, this] { function(m_a.data(), kStep, kPart, 0, 0, m_buffer.data()); });
  }

  /// Every call takes two rows further on and gives two.
  using Step53 = RkdStatus (*)(const T*, const T*, const T*, const T*, T*, T*, int);
  using Step97 = RkdStatus (*)(const T*, const T*, T* const*, T*, T*, int);
  void step(const char* name, Step53 function) {
    line(name, [=, this] {
      for (int y = 0; y + 2 < kPart.height; y += 2) {
        function(row(m_a, y), row(m_a, y + 1), row(m_a, y + 2), row(m_b, y), row(m_b, y + 1),
                 row(m_b, y + 2), kPart.width);
      }
    });
  }
  void step(const char* name, Step97 function) {
    line(name, [=, this] {
      T* const state[4] = {row(m_buffer, 0), row(m_buffer, 1), row(m_buffer, 2), row(m_buffer, 3)};
      for (int y = 0; y < kPart.height; y += 2) {
        function(row(m_a, y), row(m_a, y + 1), state, row(m_b, y), row(m_b, y + 1), kPart.width);
      }
    });
  }

 private:
  static constexpr int kStep = kPart.width * int(sizeof(T));
  static size_t highAt(bool byRows) { return byRows ? kPart.width / 2 : kPartPixels / 2; }
  static T* row(const Plane<T>& plane, int y) { return plane.data() + y * kPart.width; }

  template <class Body>
  void line(const char* name, Body body) {
    m_table.run({name, "sample", double(kPartPixels) * kRepeat, 0, 0, repeated(body), "copy",
                 repeated([this] { m_b.copyFrom(m_a); })});
  }

  Table& m_table;
  // Samples are zero, so that those in place neither decay nor grow.
  Plane<T> m_a{kPartPixels}, m_b{kPartPixels}, m_buffer{2 * kPartPixels};
};

#define LINE(object, way, name, ...) object.way(#name, rkdi##name __VA_OPT__(, ) __VA_ARGS__)

void benchByThemselves(Table& table) {
  ByItself<int16_t> narrow(table);
  ByItself<int32_t> wide(table);
  ByItself<float> floating(table);
  LINE(narrow, tile, WTFwd_B53_JPEG2K_16s_C1R);
  LINE(narrow, tile, WTFwd_B53_JPEG2K_16s_C1IR);
  LINE(narrow, tile, WTInv_B53_JPEG2K_16s_C1R);
  LINE(narrow, tile, WTInv_B53_JPEG2K_16s_C1IR);
  LINE(wide, tile, WTFwd_B53_JPEG2K_32s_C1R);
  LINE(wide, tile, WTFwd_B53_JPEG2K_32s_C1IR);
  LINE(wide, tile, WTInv_B53_JPEG2K_32s_C1R);
  LINE(wide, tile, WTInv_B53_JPEG2K_32s_C1IR);
  LINE(narrow, tile, WTFwd_D97_JPEG2K_16s_C1R);
  LINE(narrow, tile, WTFwd_D97_JPEG2K_16s_C1IR);
  LINE(narrow, tile, WTInv_D97_JPEG2K_16s_C1R);
  LINE(narrow, tile, WTInv_D97_JPEG2K_16s_C1IR);
  LINE(wide, tile, WTFwd_D97_JPEG2K_32s_C1R);
  LINE(wide, tile, WTFwd_D97_JPEG2K_32s_C1IR);
  LINE(wide, tile, WTInv_D97_JPEG2K_32s_C1R);
  LINE(wide, tile, WTInv_D97_JPEG2K_32s_C1IR);
  LINE(narrow, bands, WTFwdRow_B53_JPEG2K_16s_C1R, true);
  LINE(narrow, bands, WTInvRow_B53_JPEG2K_16s_C1R, true);
  LINE(narrow, bands, WTFwdCol_B53_JPEG2K_16s_C1R, false);
  LINE(narrow, bands, WTInvCol_B53_JPEG2K_16s_C1R, false);
  LINE(wide, bands, WTFwdRow_B53_JPEG2K_32s_C1R, true);
  LINE(wide, bands, WTInvRow_B53_JPEG2K_32s_C1R, true);
  LINE(wide, bands, WTFwdCol_B53_JPEG2K_32s_C1R, false);
  LINE(wide, bands, WTInvCol_B53_JPEG2K_32s_C1R, false);
  LINE(narrow, bands, WTFwdRow_D97_JPEG2K_16s_C1R, true);
  LINE(narrow, bands, WTInvRow_D97_JPEG2K_16s_C1R, true);
  LINE(wide, bands, WTFwdRow_D97_JPEG2K_32s_C1R, true);
  LINE(wide, bands, WTInvRow_D97_JPEG2K_32s_C1R, true);
  LINE(floating, bands, WTFwdRow_D97_JPEG2K_32f_C1R, true);
  LINE(floating, bands, WTInvRow_D97_JPEG2K_32f_C1R, true);
  LINE(floating, bands, WTFwdCol_D97_JPEG2K_32f_C1R, false);
  LINE(floating, bands, WTInvCol_D97_JPEG2K_32f_C1R, false);
  LINE(narrow, step, WTFwdColLift_B53_JPEG2K_16s_C1);
  LINE(narrow, step, WTInvColLift_B53_JPEG2K_16s_C1);
  LINE(wide, step, WTFwdColLift_B53_JPEG2K_32s_C1);
  LINE(wide, step, WTInvColLift_B53_JPEG2K_32s_C1);
  LINE(narrow, step, WTFwdColLift_D97_JPEG2K_16s_C1);
  LINE(narrow, step, WTInvColLift_D97_JPEG2K_16s_C1);
  LINE(wide, step, WTFwdColLift_D97_JPEG2K_32s_C1);
  LINE(wide, step, WTInvColLift_D97_JPEG2K_32s_C1);
  LINE(floating, step, WTFwdColLift_D97_JPEG2K_32f_C1);
  LINE(floating, step, WTInvColLift_D97_JPEG2K_32f_C1);
}

}  // namespace

void benchWavelet(Table& table) {
  benchFiveLevels53(table);
  benchFiveLevels97(table);
  benchByThemselves(table);
}

}  // namespace bench
