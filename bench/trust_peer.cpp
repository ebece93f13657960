// The kernels of tools/trust measured by Google Benchmark: same libraries, same shapes, data random
// over the whole range, elements as the suites count them. One line a kernel: its name and the
// clocks of an element, those of the counter and those of the core, each the smallest of nine
// repetitions.
#include <benchmark/benchmark.h>
#include <x86intrin.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "rkd/rkdcolor.h"
#include "rkd/rkdcore.h"
#include "rkd/rkdjpeg.h"

// The width of the image that tools/trust finds to fill half of the second-level cache.
#ifndef TRUST_CACHE_WIDTH
#define TRUST_CACHE_WIDTH 288
#endif

namespace {

std::vector<uint8_t> randomBytes(size_t count) {
  std::vector<uint8_t> bytes(count);
  std::minstd_rand random(1);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

// Steps of 64 bytes, as the suites have them.
int stepOf(int bytes) { return (bytes + 63) & ~63; }

// Buffers begin on 64 bytes.
template <class T>
T* aligned(std::vector<uint8_t>& bytes) {
  return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(bytes.data()) + 63) & ~uintptr_t{63});
}

// Core clocks in one of the counter: additions that wait for one another take one each. Of several
// tries the fastest, since whatever comes between makes one slower.
double coreRate() {
  constexpr int count = 64 * 1024;
  unsigned long long least = ~0ULL;
  for (int tries = 0; tries < 3; ++tries) {
    unsigned long sum = 1;
    const unsigned long term = 3;
    const unsigned long long first = __rdtsc();
    for (int i = 0; i < count; i += 64) {
      asm volatile(".rept 64\n\tadd %1, %0\n\t.endr" : "+r"(sum) : "r"(term));
    }
    least = std::min(least, __rdtsc() - first);
  }
  return count / static_cast<double>(least);
}

void finish(benchmark::State& state, double rateBefore, int64_t elements) {
  state.counters["rate"] = std::max(rateBefore, coreRate());
  state.SetItemsProcessed(state.iterations() * elements);
}

// Soft shapes under noise, as the suite paints them.
void paint(uint8_t* image, int step, RkdiSize size) {
  std::minstd_rand random(1);
  for (int y = 0; y < size.height; ++y) {
    for (int i = 0; i < 4 * size.width; ++i) {
      const int x = i / 4, c = i % 4;
      const double shape = std::sin(x * (0.043 + 0.007 * c)) * std::cos(y * 0.031 + c);
      const double value = (c == 3 ? 190 + 90 * shape : 116 + 100 * shape) + (random() >> 8) % 25;
      image[y * step + i] = static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
    }
  }
}

void texture(benchmark::State& state) {
  const RkdiSize size = {static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
  const int srcStep = stepOf(4 * size.width);
  const int dstStep = stepOf(2 * size.width);
  std::vector<uint8_t> from(static_cast<size_t>(srcStep) * size.height + 64);
  std::vector<uint8_t> to(static_cast<size_t>(dstStep) * size.height / 4 + 64);
  paint(aligned<uint8_t>(from), srcStep, size);
  const auto perform = [&] {
    rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(aligned<uint8_t>(from), srcStep,
                                                 aligned<uint8_t>(to), dstStep, size);
  };
  perform();  // short repetitions must not begin in cold caches
  const double rate = coreRate();
  for (auto _ : state) perform();
  finish(state, rate, int64_t{size.width} * size.height);
}

void color(benchmark::State& state) {
  const RkdiSize size = {static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
  const int srcStep = stepOf(3 * size.width);
  const int dstStep = stepOf(size.width);
  std::vector<uint8_t> from = randomBytes(static_cast<size_t>(srcStep) * size.height + 64);
  std::vector<uint8_t> to[3];
  uint8_t* planes[3];
  for (int i = 0; i < 3; ++i) {
    to[i].resize(static_cast<size_t>(dstStep) * size.height + 64);
    planes[i] = aligned<uint8_t>(to[i]);
  }
  const auto perform = [&] {
    rkdiRGBToYCbCr_JPEG_8u_C3P3R(aligned<uint8_t>(from), srcStep, planes, dstStep, size);
  };
  perform();
  const double rate = coreRate();
  for (auto _ : state) perform();
  finish(state, rate, int64_t{3} * size.width * size.height);
}

BENCHMARK(texture)->Name("core")->Args({16, 400});
BENCHMARK(color)->Name("cache")->Args({TRUST_CACHE_WIDTH, 300});
BENCHMARK(color)->Name("memory")->Args({4000, 3000});

// The counter's clocks a nanosecond of the benchmark's own clock.
double counterRate() {
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  const unsigned long long first = __rdtsc();
  while (Clock::now() - begin < std::chrono::milliseconds(50)) {
  }
  const std::chrono::duration<double, std::nano> passed = Clock::now() - begin;
  return static_cast<double>(__rdtsc() - first) / passed.count();
}

class Smallest : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    double counter = INFINITY;
    double core = INFINITY;
    const double clocksASecond = 1e9 * counterRate();
    for (const Run& run : runs) {
      const auto speed = run.counters.find("items_per_second");
      const auto rate = run.counters.find("rate");
      if (run.run_type != Run::RT_Iteration || speed == run.counters.end()) continue;
      const double clocks = clocksASecond / static_cast<double>(speed->second);
      counter = std::min(counter, clocks);
      core = std::min(core, clocks * static_cast<double>(rate->second));
    }
    const std::string name = runs[0].run_name.function_name;
    if (core < INFINITY) std::printf("%s %.6f %.6f\n", name.c_str(), counter, core);
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  rkdInit();
  Smallest reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
}
