/// @file
/// Entry points on operands beside pages that nobody may access, from one line a function.
///
/// The line is GUARDED(function, shape), where the shape has one word an argument:
///   p3wxh   samples: 3 * width in each of height rows. Without rows: one. A const operand is a
///           source and may be read only
///   v64     the same, with small values above zero: quantisers, counts
///   P3*wxh  array of 3 planes; P128,64,64: of planes of so many samples
///   s       step of the operand before
///   z       RkdiSize of width x height; z:cxh: of other sides; z/4x4: sizes are multiples of 4
///   n       width; n:2w: another length
///   f F     phase of rows, of columns
///   q       table of forward quantisation: built, plain, or ones
///   b       work memory of the wavelets
///   =5      any other parameter; =1-7: one value after the other
/// Lengths are a number, a letter, or both:
///   w h     width, height of the case          c r     half of them, rounded up
///   l g     lows and highs of a line of width  L G     of a line of height
///   k       a quarter of the height            e       of the width, rounded up
///
/// Functions that need more than data of any kind are called by hand, through GUARDED_CALL.
#pragma once

#include <set>

#include "entrypoint.h"
#include "guardpages.h"
#include "rkdkit.h"

namespace guarded {

/// The functions that were called, and whether a few sizes will do.
inline std::set<std::string> g_called;
inline bool g_briefly = false;

struct Case {
  RkdiSize size;
  int turn;
  int phase(int bit) const { return turn >> bit & 1; }
};

inline std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.size << " turn " << c.turn;
}

/// Sizes around those of vectors and tiles, which none of them fills.
std::vector<Case> cases();

/// The operands of all calls: mapped once.
inline Memory& sharedMemory() {
  static Memory memory;
  return memory;
}

testing::AssertionResult noFault(const Fault& fault, const Memory& memory);

/// All cases of a function at both sides; the first that fails is the last.
void runCases(const entrypoint::Function& function, const char* shape);

/// A call by hand on operands of sharedMemory().
template <class Call>
RkdStatus callGuarded(const char* name, Call&& call) {
  g_called.insert(name);
  RkdStatus status = rkdStsErr;
  const Fault fault = faultOf([&] { status = call(); });
  EXPECT_TRUE(noFault(fault, sharedMemory())) << name;
  return status;
}

/// The tables of functions, each a test of its own at every level.
inline std::vector<void (*)()>& families() {
  static std::vector<void (*)()> all;
  return all;
}

}  // namespace guarded

#define GUARDED(function, shape) guarded::runCases(entrypoint::describe(#function, function), shape)
#define GUARDED_CALL(function, ...) \
  guarded::callGuarded(#function, [&] { return function(__VA_ARGS__); })

#define GUARDED_FAMILY(name)                                                                    \
  void guard##name();                                                                           \
  [[maybe_unused]] const bool g_has##name = (guarded::families().push_back(guard##name), true); \
  TEST(Guard, name) { rkdkit::forEachLevel(guard##name); }                                      \
  void guard##name()
