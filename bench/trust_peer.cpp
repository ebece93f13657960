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

// The side of the image that tools/trust finds to fill half of the second-level cache.
#ifndef TRUST_CACHE_SIDE
#define TRUST_CACHE_SIDE 288
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
  constexpr int count = 64 * 64;
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

void dct(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const int step = stepOf(side);
  std::vector<uint8_t> from = randomBytes(static_cast<size_t>(step) * side + 64);
  std::vector<uint8_t> to(static_cast<size_t>(side) * side * 2 + 64);
  alignas(64) uint16_t table[RKD_QUANT_TABLE_LENGTH];
  uint8_t raw[64];
  rkdiGetQuantisers_JPEG_8u(0, raw);
  uint8_t scaled[64];
  rkdiScaleQuantisers_JPEG_8u(raw, 75, scaled);
  rkdiQuantFwdTableInit_JPEG_8u16u(scaled, table);
  const auto perform = [&] {
    int16_t* dst = aligned<int16_t>(to);
    for (int y = 0; y < side; y += 8) {
      for (int x = 0; x < side; x += 8, dst += 64) {
        rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(aligned<uint8_t>(from) + y * step + x, step, dst,
                                            table);
      }
    }
  };
  perform();  // short repetitions must not begin in cold caches
  const double rate = coreRate();
  for (auto _ : state) perform();
  finish(state, rate, int64_t{side} * side);
}

void color(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const int srcStep = stepOf(3 * side);
  const int dstStep = stepOf(side);
  std::vector<uint8_t> from = randomBytes(static_cast<size_t>(srcStep) * side + 64);
  std::vector<uint8_t> to[3];
  uint8_t* planes[3];
  for (int i = 0; i < 3; ++i) {
    to[i].resize(static_cast<size_t>(dstStep) * side + 64);
    planes[i] = aligned<uint8_t>(to[i]);
  }
  const auto perform = [&] {
    rkdiRGBToYCbCr_JPEG_8u_C3P3R(aligned<uint8_t>(from), srcStep, planes, dstStep, {side, side});
  };
  perform();
  const double rate = coreRate();
  for (auto _ : state) perform();
  finish(state, rate, int64_t{3} * side * side);
}

BENCHMARK(dct)->Name("core")->Arg(80);
BENCHMARK(color)->Name("cache")->Arg(TRUST_CACHE_SIDE);
BENCHMARK(color)->Name("memory")->Arg(3000);

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
