// Sampling by two beside libjpeg-turbo's vector routines, image against image.
#include <memory>
#include <string>

#include "bench_peerrows.h"
#include "benchkit.h"
#include "rkd/rkdjpeg_sample.h"

// Of libjpeg.a, in the calling convention of its assembly.
extern "C" {
void jsimd_h2v1_downsample_avx2(unsigned width, int maxVertical, unsigned vertical, unsigned blocks,
                                uint8_t** from, uint8_t** to);
void jsimd_h2v2_downsample_avx2(unsigned width, int maxVertical, unsigned vertical, unsigned blocks,
                                uint8_t** from, uint8_t** to);
void jsimd_h2v1_fancy_upsample_avx2(int maxVertical, unsigned width, uint8_t** from, uint8_t*** to);
void jsimd_h2v2_fancy_upsample_avx2(int maxVertical, unsigned width, uint8_t** from, uint8_t*** to);
}

namespace bench {
namespace {

constexpr const char* kPeer = "libjpeg-turbo";

// A whole image and its halves.
struct Images {
  RkdiSize size, narrow, small;
  PlaneRows whole, half, out;
  explicit Images(RkdiSize s)
      : size(s),
        narrow{s.width / 2, s.height},
        small{s.width / 2, s.height / 2},
        whole(s.width, s.height),
        half(s.width / 2, s.height),
        out(s.width, s.height) {
    unsigned seed = 1;
    for (int y = 0; y < s.height; ++y) {
      for (int x = 0; x < s.width; ++x) {
        seed = seed * 69069 + 1;
        whole.rows()[y][x] = static_cast<uint8_t>((x / 2 + y + (seed >> 26)) % 256);
        half.rows()[y][x / 2] = whole.rows()[y][x];
      }
    }
  }
  double pixels() const { return double(size.width) * size.height; }
};

void benchDown(Table& table, Images& i) {
  table.run({"SampleDownH2V1_8u_C1R", "px", i.pixels(), 1.0, 0.7,
             [&i] {
               rkdiSampleDownH2V1_JPEG_8u_C1R(i.whole.data(), i.whole.step(), i.size, i.out.data(),
                                              i.out.step(), i.narrow);
             },
             kPeer,
             [&i] {
               jsimd_h2v1_downsample_avx2(i.size.width, 1, i.size.height, i.size.width / 16,
                                          i.whole.rows(), i.out.rows());
             }});
  table.run({"SampleDownH2V2_8u_C1R", "px", i.pixels(), 1.0, 0.7,
             [&i] {
               rkdiSampleDownH2V2_JPEG_8u_C1R(i.whole.data(), i.whole.step(), i.size, i.out.data(),
                                              i.out.step(), i.small);
             },
             kPeer,
             [&i] {
               jsimd_h2v2_downsample_avx2(i.size.width, 2, i.size.height / 2, i.size.width / 16,
                                          i.whole.rows(), i.out.rows());
             }});
}

// Triangle up-sampling; `which` completes the name.
void benchUp(Table& table, Images& i, const std::string& which, double must, double aim) {
  table.run({"SampleUpH2V1_8u_C1R" + which, "px", i.pixels(), must, aim,
             [&i] {
               rkdiSampleUpH2V1_JPEG_8u_C1R(i.half.data(), i.half.step(), i.narrow, i.out.data(),
                                            i.out.step(), i.size);
             },
             kPeer,
             [&i] {
               uint8_t** to = i.out.rows();
               jsimd_h2v1_fancy_upsample_avx2(i.size.height, i.narrow.width, i.half.rows(), &to);
             }});
  table.run({"SampleUpH2V2_8u_C1R" + which, "px", i.pixels(), must, aim,
             [&i] {
               rkdiSampleUpH2V2_JPEG_8u_C1R(i.half.data(), i.half.step(), i.small, i.out.data(),
                                            i.out.step(), i.size);
             },
             kPeer,
             [&i] {
               uint8_t** to = i.out.rows();
               jsimd_h2v2_fancy_upsample_avx2(i.size.height, i.narrow.width, i.half.rows(), &to);
             }});
}

}  // namespace

void benchSample(Table& table) {
  const auto large = std::make_unique<Images>(RkdiSize{512, 256});
  benchDown(table, *large);
  benchUp(table, *large, "", 0.5, 0.25);
  // Rows of 32 samples, shorter than a vector of the widest level.
  const auto narrow = std::make_unique<Images>(RkdiSize{64, 1024});
  benchUp(table, *narrow, ", narrow", 1.0, 0.5);
}

}  // namespace bench
