// Side-by-side measurement: ours and a peer in turns within one run, the minimum of each, and the
// ratio. Absolute clocks move from machine to machine; the ratio is what counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// For plain loops that stand in for a peer: compiled for the level that runs on this machine. Such
// functions are never inlined, which one of the compilers wants to be told and the other does not.
#ifdef __clang__
#define RKD_BENCH_WIDE __attribute__((target_clones("arch=icelake-server", "avx2", "default")))
#else
#define RKD_BENCH_WIDE \
  __attribute__((noinline, target_clones("arch=icelake-server", "avx2", "default")))
#endif

namespace bench {

// One primitive beside its best peer. A performance covers `units` elements and should take some
// ten thousand clocks or more, so that reading the counter costs nothing.
struct Case {
  std::string name;
  std::string unit;  // "block", "px"
  double units;
  double must;  // largest ratio ours / peer that is acceptable; 0: the peer is only shown
  double aim;
  std::function<void()> ours;
  std::string peerName;  // "libjpeg-turbo 2.1.5"; empty: no peer in this program
  std::function<void()> peer;
  // What the peer's function does beside the primitive: its clocks are taken away. May be empty.
  std::function<void()> peerWithout = nullptr;
};

// A function and the level that is selected, untimed, before each of its turns.
constexpr int kBestLevel = -1;
struct Turn {
  std::function<void()> function;
  int level = kBestLevel;
};

// Minimum time-stamp clocks of one performance of each, run in turns.
std::vector<double> minimaInTurns(const std::vector<Turn>& turns);

class Table {
 public:
  // Only cases whose name contains `filter` run.
  explicit Table(std::string filter) : m_filter(std::move(filter)) {}
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  // Measures a case and prints its line: clocks of both, ratio, verdict; then our own clocks at the
  // lowest level, at AVX2 and at AVX-512.
  void run(const Case& c);

  // Prints how many cases missed "must", reached it, reached "aim", and were not measured.
  void summary() const;
  bool allReached() const { return m_missed == 0; }

 private:
  std::string m_filter;
  int m_missed = 0, m_reached = 0, m_aimed = 0, m_unmeasured = 0;
};

// The families, each in its bench_*.cpp.
void benchBands(Table& table);
void benchCodeBlock(Table& table);
void benchColor(Table& table);
void benchComponent(Table& table);
void benchDct(Table& table);
void benchHuffman(Table& table);
void benchSample(Table& table);
void benchPct(Table& table);
void benchTiff(Table& table);
void benchTexture(Table& table);
void benchWavelet(Table& table);

}  // namespace bench
