// Whole codecs beside the peers' libraries in one process, on photographs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Interleaved RGB, or grey.
struct Photo {
  std::string name;
  int width = 0, height = 0, channels = 3;
  std::vector<uint8_t> pixels;
  double pixelCount() const { return double(width) * height; }
};

// One workload over all photographs: performances prepared by `prepare`, ours and the peer's.
struct Work {
  std::function<void()> ours, peer;
};
struct Workload {
  std::string name;
  double must, aim, mustAtAvx2;
  std::function<Work(const Photo&)> prepare;
};

// Measures in turns at AVX-512 and AVX2, prints a line, and returns whether "must" was reached.
bool runWorkload(const Workload& workload, const std::vector<Photo>& photos,
                 const std::string& filter);

// The codecs, each in its bench_*.cpp.
bool benchJpegCodec(const std::vector<Photo>& photos, const std::string& filter);
bool benchCodec2k(const std::vector<Photo>& photos, const std::string& filter);

}  // namespace bench
