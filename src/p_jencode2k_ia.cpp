/// Code-block coding of JPEG 2000: blocks of one HL band, one call each.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "base/owner.h"
#include "rkd/rkdjpeg.h"
#include "ref_wavelet.h"
#include "rkpicture.h"
#include "rksuite.h"
#include "tzostream.h"

namespace {

/// What a performance codes: so many samples that no branch predictor learns the blocks by heart.
constexpr int kSamples = 1 << 16;
constexpr int kMostBlocks = 256;
constexpr int kComparedBlocks = 4;  ///< enough where nothing is timed
int numBlocks;

/// Standard deviation's relation to the quantiser, in per cent: fine detail of an 8-bit photograph
/// kept exactly, and at some twenty to one.
/// Or a sample picture's.
enum DataKind : int { LOSSLESS = 320, LOSSY = 150, ROSE = 1, BIKERS = 2 };

tzIterator<RkdiSize> blockSize("BlockSize");
tzMapIterator<int> dataKind("Data");
tzHMapIterator<int> codeStyle("Style");

rkVector src;    ///< the blocks, row by row, one behind the other
rkVector dst;    ///< decoded blocks, and what Load has found out
rkVector bytes;  ///< StoreBits writes here
bool comparing;  ///< the effect on opaque states is to be seen

/// What a decoder is given, made by the plain coder, so that a library's own encoder has no part
/// in the figures of its decoder.
struct Coded {
  std::vector<uint8_t> bytes;
  std::vector<int> segments;
  int bitPlanes = 0, passes = 0;
};
Coded coded[kMostBlocks];

RkdiSize size() { return blockSize.value(); }
int samples() { return size().width * size().height; }
int step() { return size().width * int(sizeof(int32_t)); }
constexpr int kBand = rkdBandHL;
constexpr int kMaxBytes = 1 << 15;  ///< of a coded block

// ---- the coder's objects, one set for each binding ----

/// Blocks that keep a state of their own.
int numStates;
int stateOf(int block) { return block % numStates; }

/// The states, and the support functions under the same names. As in a codec, one state loads, and
/// one decodes, one block after the other; StoreBits alone has a state for each block, as it is to
/// find them loaded.
template <class B>
struct Coder;
#define CODE2K_BINDING(B, Scope)                                                                 \
  template <>                                                                                    \
  struct Coder<B> {                                                                              \
    static inline base::Made<Scope RkdiEncodeCodeBlockState,                                     \
                             &Scope rkdiEncodeCodeBlockStateFree_JPEG2K>                         \
        encoders[kMostBlocks];                                                                   \
    static inline base::Made<Scope RkdiDecodeCodeBlockState,                                     \
                             &Scope rkdiDecodeCodeBlockStateFree_JPEG2K>                         \
        decoder;                                                                                 \
    static auto& encoder(int block) { return encoders[stateOf(block)]; }                         \
    static bool alloc() {                                                                        \
      bool good = decoder.make(Scope rkdiDecodeCodeBlockStateInitAlloc_JPEG2K) >= 0;             \
      for (int i = 0; i < numStates && good; ++i) {                                              \
        good = encoders[i].make(Scope rkdiEncodeCodeBlockStateInitAlloc_JPEG2K) >= 0;            \
      }                                                                                          \
      return good;                                                                               \
    }                                                                                            \
    static void free() {                                                                         \
      decoder.reset();                                                                           \
      for (auto& state : encoders) state.reset();                                                \
    }                                                                                            \
    static int load(int i) {                                                                     \
      return Scope rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(src.data32s() + i * samples(), step(), \
                                                          size(), kBand, codeStyle.value(),      \
                                                          rkdCodeBlockMaxPasses, encoder(i));    \
    }                                                                                            \
    static int store(int i) {                                                                    \
      int planes = 0, passes = 0, position = 0;                                                  \
      Scope rkdiEncodeGetCodeBlockInfo_JPEG2K(&planes, &passes, encoder(i));                     \
      return Scope rkdiEncodeStoreBits_JPEG2K_1u(bytes.data8u() + i * kMaxBytes, kMaxBytes,      \
                                                 &position, passes, encoder(i));                 \
    }                                                                                            \
    static int start(int i) {                                                                    \
      const Coded& c = coded[i];                                                                 \
      return Scope rkdiDecodeCBProgrStart_JPEG2K(                                                \
          int(c.bytes.size()), c.segments.data(), int(c.segments.size()), size(), kBand,         \
          codeStyle.value(), c.bitPlanes, c.passes, decoder);                                    \
    }                                                                                            \
    static int get(int i) {                                                                      \
      return Scope rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(dst.data32s() + i * samples(), step(),    \
                                                       decoder);                                 \
    }                                                                                            \
  };
CODE2K_BINDING(rkLibrary, ::)
CODE2K_BINDING(rkReference, ref::)
#undef CODE2K_BINDING

/// Walks the blocks; stops at the first negative status.
template <class Block>
int perBlock(Block block) {
  int status = 0;
  for (int i = 0; i < numBlocks && status >= 0; ++i) status = block(i);
  return status;
}

/// Leaves a started decoder; a performance starts it anew for each block.
template <class B>
int startFirst() {
  return Coder<B>::start(0);
}

// ---- data like a photograph's wavelet coefficients ----

/// Values between random corners eight samples apart: detail gathers where there are edges.
class Activity {
 public:
  Activity(RkdiSize area, std::mt19937& random) : m_across(area.width / kCell + 2) {
    m_corner.resize(size_t(m_across) * size_t(area.height / kCell + 2));
    std::normal_distribution<double> corner(0, 1.1);
    for (double& c : m_corner) c = corner(random);
  }
  double at(int x, int y) const {
    const double fx = double(x % kCell) / kCell;
    const double fy = double(y % kCell) / kCell;
    const double* const c = &m_corner[size_t(y / kCell) * size_t(m_across) + size_t(x / kCell)];
    const double top = c[0] * (1 - fx) + c[1] * fx;
    const double bottom = c[m_across] * (1 - fx) + c[m_across + 1] * fx;
    return std::exp(top * (1 - fy) + bottom * fy);
  }

 private:
  static constexpr int kCell = 8;
  int m_across;
  std::vector<double> m_corner;
};

/// Two-sided exponential values, wider where the picture is active.
void fillBlock(int32_t* block, RkdiSize area, double scale, std::mt19937& random) {
  const Activity activity(area, random);
  std::exponential_distribution<double> magnitude(1);
  for (int y = 0; y < area.height; ++y) {
    for (int x = 0; x < area.width; ++x) {
      const int value = int(std::min(scale * activity.at(x, y) * magnitude(random), 32767.0));
      *block++ = (random() & 1) != 0 ? -value : value;
    }
  }
}

/// The HL band of a sample picture's first level of 5/3, cut into blocks from its middle on; what
/// is left where the picture ends comes from its beginning.
bool fillFromPicture(const char* name) {
  constexpr RkdiSize kWhole = {1024, 512};
  constexpr RkdiSize kHalf = {kWhole.width / 2, kWhole.height};
  constexpr RkdiSize kQuarter = {kHalf.width, kHalf.height / 2};
  constexpr int kWholeStep = kWhole.width * 4, kHalfStep = kHalf.width * 4;
  rkImage image;
  image.init(rk8u, 1, false);
  if (!image.createImage(kWhole) || !rkFillPicture(image, name)) return false;
  std::vector<int32_t> all(size_t(kWhole.width) * size_t(kWhole.height));
  std::vector<int32_t> low(all.size() / 2), high(all.size() / 2), band(all.size() / 4),
      rest(all.size() / 4);
  for (int y = 0; y < kWhole.height; ++y) {
    const auto* const row = static_cast<const uint8_t*>(image.getRowPointer(y));
    std::copy(row, row + kWhole.width, all.begin() + std::ptrdiff_t{kWhole.width} * y);
  }
  if (ref::rkdiWTFwdRow_B53_JPEG2K_32s_C1R(all.data(), kWholeStep, low.data(), kHalfStep,
                                           high.data(), kHalfStep, kWhole, 0) < 0 ||
      ref::rkdiWTFwdCol_B53_JPEG2K_32s_C1R(high.data(), kHalfStep, band.data(), kHalfStep,
                                           rest.data(), kHalfStep, kHalf, 0) < 0) {
    return false;
  }
  int32_t* to = src.data32s();
  for (int i = 0; i < numBlocks; ++i) {
    const int across = std::max(kQuarter.width / size().width, 1);
    const int left = i % across * size().width, top = i / across * size().height;
    for (int y = 0; y < size().height; ++y) {
      for (int x = 0; x < size().width; ++x) {
        const int row = (top + y) % kQuarter.height, column = (left + x) % kQuarter.width;
        *to++ = band[size_t(row) * kQuarter.width + size_t(column)];
      }
    }
  }
  return true;
}

class TimjCode2K : public rkTest {
 public:
  RK_TEST_CLASS(TimjCode2K)

 protected:
  bool canStart() override {
    regSizeParm(blockSize);
    blockSize.init("BlockSize", "columns x rows, at most 4096");
    blockSize.add({64, 64});
    blockSize.add({32, 32});
    regParm(dataKind);
    dataKind.init("Data", "what the coefficients are like");
    dataKind.resetMap();
    dataKind.addName(LOSSLESS, "lossless");
    dataKind.addName(LOSSY, "lossy");
    dataKind.addName(ROSE, "rose");
    dataKind.addName(BIKERS, "sbikers2");
    dataKind.add(LOSSLESS);
    dataKind.add(LOSSY);
    regParm(codeStyle);
    codeStyle.init("Style", "a name, or the sum of several styles' numbers");
    codeStyle.resetMap();
    nameStyles();
    codeStyle.add(0);
    return true;
  }

  tzString refusal() const override {
    const bool fits = size().width <= 1024 && size().height <= 1024 && samples() <= 4096;
    return fits ? emptyRefusal() : "a code block has at most 1024 rows or columns and 4096 samples";
  }

  bool initData() override {
    comparing = verifying();
    tool().setLoopFactor(3);  // long performances: at most 2048 >> 3
    // A size that the coder refuses makes one block, or none.
    const int fitting = std::clamp(kSamples / std::max(samples(), 1), 1, kMostBlocks);
    numBlocks = comparing ? kComparedBlocks : fitting;
    const bool stores = func().baseName().find("StoreBits", 0) >= 0;
    numStates = stores ? numBlocks : 1;
    src.init(rk32s);
    dst.init(rk32s);
    bytes.init(rk8u);
    if (!src.createVector(numBlocks * samples(), rkModeZero) ||
        !dst.createVector(numBlocks * samples(), rkModeZero) ||
        !bytes.createVector(numBlocks * kMaxBytes, rkModeZero)) {
      return false;
    }
    return fill() && makeObjects();
  }

  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
    bytes.deleteVector();
    Coder<rkLibrary>::free();
    Coder<rkReference>::free();
  }

  double getDivisor() const override { return double(numBlocks) * samples(); }
  tzString getUnit() const override { return "px"; }

 private:
  static bool fill() {
    if (dataKind.value() == ROSE) return fillFromPicture("rose");
    if (dataKind.value() == BIKERS) return fillFromPicture("sbikers2");
    std::mt19937 random(rkVector::START_SEED);
    for (int i = 0; i < numBlocks; ++i) {
      fillBlock(src.data32s() + i * samples(), size(), dataKind.value() / 100.0, random);
    }
    return true;
  }

  static void nameStyles() {
    codeStyle.addName(0, "none");
    codeStyle.addName(rkdCodeBlockBypass, "bypass");
    codeStyle.addName(rkdCodeBlockReset, "reset");
    codeStyle.addName(rkdCodeBlockTermAll, "termall");
    codeStyle.addName(rkdCodeBlockCausal, "causal");
    codeStyle.addName(rkdCodeBlockPredTerm, "predterm");
    codeStyle.addName(rkdCodeBlockSegSym, "segsym");
  }

  /// States of both bindings with the blocks loaded, and the coded blocks. StoreBits times what
  /// Load has left, the decoders what the plain coder made.
  bool makeObjects() const {
    if (!Coder<rkLibrary>::alloc() || !Coder<rkReference>::alloc()) return false;
    long decisions = 0, length = 0;
    for (int i = 0; i < numBlocks; ++i) {
      if (Coder<rkReference>::load(i) < 0) return false;
      const auto& state = *Coder<rkReference>::encoder(i).get();
      Coded& c = coded[i];
      c = {state.bytes, {}, state.bitPlanes, int(state.passes.size())};
      int end = 0;
      for (const RkdiCodeBlockPass& pass : state.passes) {
        if (pass.terminated == 0) continue;
        c.segments.push_back(pass.length - end);
        end = pass.length;
      }
      decisions += state.decisions;
      length += long(c.bytes.size());
    }
    g_ostrm << L_INFO << "Code blocks: " << double(decisions) / getDivisor() << " decisions and "
            << 8.0 * double(length) / getDivisor() << " bits a coefficient\n"
            << L_END;
    return perBlock(Coder<rkLibrary>::load) >= 0;
  }
};

RK_SUITE(TimjCode2K, "src/p_jencode2k_ia",
         RK_NEEDS(rkdiEncodeCodeBlockStateInitAlloc_JPEG2K, rkdiEncodeCodeBlockStateFree_JPEG2K,
                  rkdiDecodeCodeBlockStateInitAlloc_JPEG2K, rkdiDecodeCodeBlockStateFree_JPEG2K,
                  rkdiEncodeGetCodeBlockInfo_JPEG2K, rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R,
                  rkdiEncodeStoreBits_JPEG2K_1u, rkdiDecodeCBProgrStart_JPEG2K,
                  rkdiDecodeCBProgrGet_JPEG2K_32s_C1R));

RK_REG_X(rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R, perBlock([](int i) {
           const int status = F(src.data32s() + i * samples(), step(), size(), kBand,
                                codeStyle.value(), rkdCodeBlockMaxPasses, Coder<B>::encoder(i));
           return comparing && status >= 0 ? Coder<B>::store(i) : status;
         }));

RK_REG_X(rkdiEncodeStoreBits_JPEG2K_1u, perBlock([](int i) {
           int position = 0;
           return F(bytes.data8u() + i * kMaxBytes, kMaxBytes, &position, coded[i].passes,
                    Coder<B>::encoder(i));
         }));

RK_REG_X(rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R, perBlock([](int i) {
           const Coded& c = coded[i];
           return F(c.bytes.data(), int(c.bytes.size()), c.segments.data(), int(c.segments.size()),
                    dst.data32s() + i * samples(), step(), size(), kBand, codeStyle.value(),
                    c.bitPlanes, c.passes, Coder<B>::decoder);
         }));

RK_REG_I_X(rkdiDecodeCBProgrStep_JPEG2K, startFirst, perBlock([](int i) {
             const Coded& c = coded[i];
             int status = Coder<B>::start(i);
             for (int pass = 0; pass < c.passes && status >= 0; ++pass) {
               status = F(c.bytes.data(), int(c.bytes.size()), 1, Coder<B>::decoder);
             }
             return comparing && status >= 0 ? Coder<B>::get(i) : status;
           }));

}  // namespace
