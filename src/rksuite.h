#pragma once
/// @file
/// How a suite unit is written. A unit holds its file-scope data objects, its test class
/// (canStart, initData, flushData, getDivisor, getUnit), one RK_SUITE line, and then one line per
/// measured function:
///
///     RK_SUITE(TimjAdd, "src/p_jadd_ia");
///     RK_REG(rkdiAdd128_JPEG_16s8u_C1R, F(src.data16s(), srcStep, dst.data8u(), dstStep, size));
///
/// The expression is one performance of the measured operation, written over the function `F`. It
/// is bound twice: to the loaded library (that is what is timed) and to the plain version of the
/// same name in namespace `ref` (the judge of a verified run). An expression that needs support
/// functions or opaque objects finds the binding as the type `B` (rkLibrary or rkReference) and
/// keeps one set of such objects for each.
///
/// The macros only forward: what the wrappers do is in the templates below, once.

#include <type_traits>

#include "rktest.h"
#include "rkcommon.h"
#include "reference.h"
#include "tzclock.h"
#include "tzregistry.h"
#include "tzwatch.h"

/// Bindings of a performance.
struct rkLibrary {};
struct rkReference {};

/// @name The timed wrappers
/// `Op` is one performance; `Restore`, where given, runs before every performance and inside the
/// timed stretch: that is the entropy coders' rule, whose state must be fresh for each.
/// @{

/// Times n performances in one stretch, after one untimed warm-up.
template <int (*Op)(), int (*Restore)() = nullptr>
tzResult rkTimeLoop(int n, long long* clocks, const char* name) {
  rkTest::restoreOperands();
  if constexpr (Restore != nullptr) Restore();
  int status = Op();
  tzStretch::begin();
  const unsigned long long start = rkd_get_quorvex_counter();
  for (int i = 0; i < n; ++i) {
    if constexpr (Restore != nullptr) Restore();
    status = Op();
  }
  const unsigned long long stop = rkd_get_quorvex_counter();
  tzStretch::end();
  *clocks = tzCpuTicker::getClockFactor() * static_cast<long long>(stop - start);
  return rkTest::checkStatus(status, name);
}

/// Times single performances until at least *n were made and *clocks are used up; the first one,
/// number -1, is the warm-up whose time is dropped. Writes back the count and the sum.
template <int (*Op)(), int (*Restore)() = nullptr>
tzResult rkTimeStat(int* n, long long* clocks, const char* name) {
  rkTest::restoreOperands();
  const long long factor = tzCpuTicker::getClockFactor();
  long long sum = 0;
  int reported = 0;
  int i = -1;
  for (;; ++i) {
    if (i == 0) sum = 0;
    if (i >= *n && factor * sum >= *clocks) break;
    const unsigned long long start = rkd_get_quorvex_counter();
    if constexpr (Restore != nullptr) Restore();
    const int status = Op();
    sum += static_cast<long long>(rkd_get_quorvex_counter() - start);
    if (status != 0) reported = status;
    if (status < 0) break;
  }
  *n = i;
  *clocks = factor * sum;
  return rkTest::checkStatus(reported, name);
}
/// @}

/// True when the loaded library has every one of these functions.
template <class... Functions>
bool rkPresent(Functions*... functions) {
  return (... && (functions != nullptr));
}

/// What RK_SUITE starts from: no further needs, no counters.
struct rkPlainSuite {
  static bool present() { return true; }
  static void counters(rkCounters&) {}
};

/// Registers one measured line; returns the handle of tzRegTest.
template <class Suite>
int rkRegister(const rkLine& line) {
  auto* test = new typename Suite::Test(line);
  return tzRegTest(test);
}

/// Gives a suite's test class the constructor that registration uses.
#define RK_TEST_CLASS(Class) \
 public:                     \
  explicit Class(const rkLine& line) : rkTest(line) {}

/// Names the unit's class and source. Further arguments are members of the suite's description:
/// RK_NEEDS and RK_COUNTERS.
#define RK_SUITE(Class, sourceName, ...)              \
  struct RkSuite : rkPlainSuite {                     \
    using Test = Class;                               \
    static constexpr const char* className = #Class;  \
    static constexpr const char* source = sourceName; \
    __VA_ARGS__                                       \
  }

/// Support functions of the library without which the suite's tests cannot run.
#define RK_NEEDS(...) \
  static bool present() { return rkPresent(__VA_ARGS__); }

/// File-scope plain objects that a performance changes (positions, predictions, markers): a
/// verified run compares them like any operand.
#define RK_COUNTERS(...) \
  static void counters(rkCounters& list) { list.add(#__VA_ARGS__, __VA_ARGS__); }

/// One line: `text` is the registration text behind the class name, `call` and `init` are what the
/// tool gets as call and initialisation function, `Restore` is the restore in the timed stretch (a
/// function template over the binding) or rkNoRestore. The last argument may be the largest
/// difference from the judge that counts as equal.
#define RK_REG_AS(text, call, init, Restore, X, expression, ...)                                  \
  template <auto F, class B>                                                                      \
  static int perform_##X() {                                                                      \
    return expression;                                                                            \
  }                                                                                               \
  static int tcall_##X() { return perform_##X<&::X, rkLibrary>(); }                               \
  static int tref_##X() { return perform_##X<&ref::X, rkReference>(); }                           \
  static tzResult tim_##X##_loop(int n, long long* clocks) {                                      \
    return rkTimeLoop<tcall_##X, rkRestore<Restore<rkLibrary>>()>(n, clocks, #X);                 \
  }                                                                                               \
  static tzResult tim_##X##_stat(int* n, long long* clocks) {                                     \
    return rkTimeStat<tcall_##X, rkRestore<Restore<rkLibrary>>()>(n, clocks, #X);                 \
  }                                                                                               \
  [[maybe_unused]] static const int reg_##X = rkRegister<RkSuite>(                                \
      {call, init, tim_##X##_loop, tim_##X##_stat, #X, RkSuite::source, RkSuite::className, text, \
       [] { return rkPresent(&::X) && RkSuite::present(); }, tcall_##X,                           \
       rkRestore<Restore<rkLibrary>>(), tref_##X, rkRestore<Restore<rkReference>>(),              \
       RkSuite::counters, rkTolerance{__VA_ARGS__}})

/// @name Registration lines: RK_REG...(function, [Init,] expression [, tolerance])
/// `Init` is a function template over the binding that makes the coder's state fresh; it is the
/// tool's initialisation function and the restore before every timed performance.
/// @{

/// One call of the function over the whole data.
#define RK_REG(X, ...) RK_REG_AS("//RK_REG", tcall_##X, nullptr, rkNoRestore, X, __VA_ARGS__)
/// A performance of several calls.
#define RK_REG_X(X, ...) RK_REG_AS("//RK_REG_X", tcall_##X, nullptr, rkNoRestore, X, __VA_ARGS__)
/// One call in place: the initialisation function restores the operands.
#define RK_REG_Ibs(X, ...) \
  RK_REG_AS("//RK_REG_Ibs", tcall_##X, rkTest::restoreOperands, rkNoRestore, X, __VA_ARGS__)
/// One call, with an initialisation function.
#define RK_REG_I(X, Init, ...) \
  RK_REG_AS("//RK_REG_I", tcall_##X, Init<rkLibrary>, Init, X, __VA_ARGS__)
/// A performance of several calls, with an initialisation function.
#define RK_REG_I_X(X, Init, ...) \
  RK_REG_AS("//RK_REG_I_X", tcall_##X, Init<rkLibrary>, Init, X, __VA_ARGS__)
/// Loop and statistical wrappers only; the registration text ends behind one slash.
#define RK_REG_LOOPS(X, Init, ...) RK_REG_AS("/", nullptr, nullptr, Init, X, __VA_ARGS__)
/// @}

/// The restore of lines that have none.
template <class B>
int rkNoRestore() {
  return 0;
}
/// Whether two functions are the same one. As types: with the undefined-behaviour sanitizer the
/// compiler takes no comparison of addresses for a constant.
template <int (*A)(), int (*B)()>
inline constexpr bool rkSameFunction =
    std::is_same_v<std::integral_constant<int (*)(), A>, std::integral_constant<int (*)(), B>>;
/// Turns "no restore" into no call at all.
template <int (*Restore)()>
constexpr auto rkRestore() -> int (*)() {
  if constexpr (rkSameFunction<Restore, rkNoRestore<rkLibrary>> ||
                rkSameFunction<Restore, rkNoRestore<rkReference>>) {
    return nullptr;
  } else {
    return Restore;
  }
}

/// Walks the current blocks: calls block(i) for i = 0, 64, 128 ... below 64 * count and stops at
/// the first negative status; the status is that of the last call, 0 when there is none.
template <class Block>
int rkPerBlock(int count, Block block) {
  int status = 0;
  for (int b = 0; b < count && status >= 0; ++b) status = block(64 * b);
  return status;
}
