// Component transforms of JPEG 2000 beside OpenJPEG's, whose static archive holds them without an
// interface of their own; then every one of these functions by itself beside a plain loop.
#include <openjpeg.h>

#include <cstring>
#include <string>
#include <type_traits>

#include "benchkit.h"
#include "planes.h"
#include "rkd/rkdcolor.h"

namespace bench::peer {

extern "C" {
void opj_mct_encode(int32_t* c0, int32_t* c1, int32_t* c2, size_t n);
void opj_mct_decode(int32_t* c0, int32_t* c1, int32_t* c2, size_t n);
void opj_mct_encode_real(float* c0, float* c1, float* c2, size_t n);
void opj_mct_decode_real(float* c0, float* c1, float* c2, size_t n);
}

}  // namespace bench::peer

namespace bench {
namespace {

template <class T>
struct Three {
  Plane<T> plane[3] = {Plane<T>(kPartPixels), Plane<T>(kPartPixels), Plane<T>(kPartPixels)};
  T* data[3] = {plane[0].data(), plane[1].data(), plane[2].data()};
  static constexpr int kStep = kPart.width * int(sizeof(T));
};

/// Where samples are of the peer's kind, ours and its agree on a picture.
template <class T, class P, class Way>
void requireSameComponents(Way way, void (*peerWay)(P*, P*, P*, size_t)) {
  if constexpr (std::is_same_v<T, P>) {
    Three<T> ours, theirs;
    for (int p = 0; p < 3; ++p) {
      fillPicture(ours.plane[p]);
      for (size_t i = 0; i < kPartPixels; ++i) ours.data[p][i] *= T(p + 1);
      theirs.plane[p].copyFrom(ours.plane[p]);
    }
    way(ours.data, Three<T>::kStep, kPart);
    peerWay(theirs.data[0], theirs.data[1], theirs.data[2], kPartPixels);
    for (int p = 0; p < 3; ++p) {
      require(distance(ours.plane[p], theirs.plane[p]) < .01, "components differ from the peer's");
    }
  }
}

/// Samples are zero, and stay it in place however often: floating point neither decays nor grows.
template <class T, class P, class Way>
void benchComponents(Table& table, const char* name, Asked asked, Way forward, Way inverse,
                     void (*peerForward)(P*, P*, P*, size_t),
                     void (*peerInverse)(P*, P*, P*, size_t)) {
  Three<T> ours;
  Three<P> theirs;
  const std::string peer = std::string("OpenJPEG ") + opj_version();
  requireSameComponents<T>(forward, peerForward);
  requireSameComponents<T>(inverse, peerInverse);
  for (const bool isForward : {true, false}) {
    const Way way = isForward ? forward : inverse;
    const auto peerWay = isForward ? peerForward : peerInverse;
    table.run({std::string(name) + (isForward ? " forward" : " inverse"), "px",
               double(kPartPixels) * kRepeat, asked.must, asked.aim,
               repeated([&ours, way] { way(ours.data, Three<T>::kStep, kPart); }), peer,
               repeated([&theirs, peerWay] {
                 peerWay(theirs.data[0], theirs.data[1], theirs.data[2], kPartPixels);
               })});
  }
}

// ---- every function by itself ----

RKD_BENCH_WIDE void plainUpdate(uint32_t* a, uint32_t* b, uint32_t* c, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    ++a[i];
    ++b[i];
    ++c[i];
  }
}

/// From one stretch of memory to three, a cache line to each in turns, and back: the loads and
/// stores of pixels to planes, without the order of samples.
RKD_BENCH_WIDE void plainPart(const uint8_t* pixels, uint8_t* const* planes, size_t bytes) {
  for (size_t i = 0; i < bytes; i += 64) {
    for (int p = 0; p < 3; ++p) std::memcpy(planes[p] + i, pixels + 3 * i + 64 * p, 64);
  }
}
RKD_BENCH_WIDE void plainJoin(const uint8_t* const* planes, uint8_t* pixels, size_t bytes) {
  for (size_t i = 0; i < bytes; i += 64) {
    for (int p = 0; p < 3; ++p) std::memcpy(pixels + 3 * i + 64 * p, planes[p] + i, 64);
  }
}

/// Component transforms beside plain loops over the same bytes. Those that hardly do more than move
/// memory are held to them.
template <class T>
class Components {
 public:
  explicit Components(Table& table) : m_table(table) {}

  void line(const char* name, RkdStatus (*function)(T* const*, int, RkdiSize)) {
    run(
        name, [=, this] { function(m_three.data, kStep, kPart); }, "plain loop",
        [this] {
          const auto words = [this](int p) { return reinterpret_cast<uint32_t*>(m_plain.data[p]); };
          plainUpdate(words(0), words(1), words(2), kPartPixels * sizeof(T) / sizeof(uint32_t));
        });
  }
  void line(const char* name, RkdStatus (*function)(const T*, int, T* const*, int, RkdiSize)) {
    run(
        name, [=, this] { function(m_pixels.data(), 3 * kStep, m_three.data, kStep, kPart); },
        kFloor, [this] { plainPart(bytes(m_copy.data()), m_planes, m_plain.plane[0].bytes()); });
  }
  void line(const char* name, RkdStatus (*function)(const T* const*, int, T*, int, RkdiSize)) {
    run(
        name, [=, this] { function(m_three.data, kStep, m_pixels.data(), 3 * kStep, kPart); },
        kFloor, [this] { plainJoin(m_planes, bytes(m_copy.data()), m_plain.plane[0].bytes()); });
  }

 private:
  static constexpr int kStep = Three<T>::kStep;

  static constexpr const char* kFloor = "floor, same accesses";
  static uint8_t* bytes(T* samples) { return reinterpret_cast<uint8_t*>(samples); }

  template <class Ours, class Plain>
  void run(const std::string& name, Ours ours, const char* loop, Plain plain) {
    // ICT multiplies up to nine times a pixel.
    const bool moves = name.starts_with("RCT");
    m_table.run({name, "px", double(kPartPixels) * kRepeat, moves ? 1.5 : 0, moves ? 1.1 : 0,
                 repeated(ours), loop, repeated(plain)});
  }

  Table& m_table;
  Three<T> m_three, m_plain;
  Plane<T> m_pixels{3 * kPartPixels}, m_copy{3 * kPartPixels};
  uint8_t* const m_planes[3] = {bytes(m_plain.data[0]), bytes(m_plain.data[1]),
                                bytes(m_plain.data[2])};
};

void benchByThemselves(Table& table) {
#define LINE(object, name) object.line(#name, rkdi##name)
  Components<int16_t> narrowPlanes(table);
  Components<int32_t> widePlanes(table);
  Components<float> floatingPlanes(table);
  LINE(narrowPlanes, RCTFwd_JPEG2K_16s_P3IR);
  LINE(narrowPlanes, RCTInv_JPEG2K_16s_P3IR);
  LINE(narrowPlanes, RCTFwd_JPEG2K_16s_C3P3R);
  LINE(narrowPlanes, RCTInv_JPEG2K_16s_P3C3R);
  LINE(widePlanes, RCTFwd_JPEG2K_32s_P3IR);
  LINE(widePlanes, RCTInv_JPEG2K_32s_P3IR);
  LINE(widePlanes, RCTFwd_JPEG2K_32s_C3P3R);
  LINE(widePlanes, RCTInv_JPEG2K_32s_P3C3R);
  LINE(narrowPlanes, ICTFwd_JPEG2K_16s_P3IR);
  LINE(narrowPlanes, ICTInv_JPEG2K_16s_P3IR);
  LINE(widePlanes, ICTFwd_JPEG2K_32s_P3IR);
  LINE(widePlanes, ICTInv_JPEG2K_32s_P3IR);
  LINE(floatingPlanes, ICTFwd_JPEG2K_32f_P3IR);
  LINE(floatingPlanes, ICTInv_JPEG2K_32f_P3IR);
  LINE(floatingPlanes, ICTFwd_JPEG2K_32f_C3P3R);
  LINE(floatingPlanes, ICTInv_JPEG2K_32f_P3C3R);
#undef LINE
}

}  // namespace

void benchComponent(Table& table) {
  constexpr Asked wide = {1.05, 1}, narrow = {.5, .45};
  using namespace peer;
  benchComponents<int32_t>(table, "RCT 32s", wide, rkdiRCTFwd_JPEG2K_32s_P3IR,
                           rkdiRCTInv_JPEG2K_32s_P3IR, opj_mct_encode, opj_mct_decode);
  benchComponents<float>(table, "ICT 32f", wide, rkdiICTFwd_JPEG2K_32f_P3IR,
                         rkdiICTInv_JPEG2K_32f_P3IR, opj_mct_encode_real, opj_mct_decode_real);
  benchComponents<int16_t>(table, "RCT 16s", narrow, rkdiRCTFwd_JPEG2K_16s_P3IR,
                           rkdiRCTInv_JPEG2K_16s_P3IR, opj_mct_encode, opj_mct_decode);
  benchComponents<int16_t>(table, "ICT 16s", narrow, rkdiICTFwd_JPEG2K_16s_P3IR,
                           rkdiICTInv_JPEG2K_16s_P3IR, opj_mct_encode_real, opj_mct_decode_real);
  benchByThemselves(table);
}

}  // namespace bench
