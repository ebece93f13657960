// Settings of a measurement: asked, clamped, told.
#include "tzsettings.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <limits>
#include <type_traits>
#include <utility>

#include "tzistream.h"
#include "tzmemory.h"
#include "tzostream.h"
#include "tzparm.h"
#include "tztool.h"

namespace {

constexpr int kMaxLoops = 100'000'000;
constexpr int kMaxSteps = 1'000'000;
constexpr int kMaxAlign = 63;
constexpr int kShiftUnit = 64;
constexpr int kMaxShift = 32768 - kShiftUnit;  // a shift of 32768 wraps to none
constexpr double kMinAccuracy = 0.01;
constexpr double kMaxAccuracy = 100;
constexpr double kPercent = 100;
constexpr double kMinTimeLimit = 0.1;
constexpr double kMaxTimeLimit = 86400;

/// A number held to a range.
template <typename T>
class BoundedParm : public tzDefault<T> {
 public:
  BoundedParm(const tzString& name, const tzString& prompt, T value, T lowest, T highest)
      : tzDefault<T>(name, prompt, value), m_lowest(lowest), m_highest(highest) {}

  void translate(const tzString& text) override {
    if (this->isNothing(text)) return;
    T limit{};
    const bool beyond = isBeyond(text, limit);
    const T wanted = beyond ? limit : this->validItem(text);
    const T allowed = nearest(wanted);
    this->setValue(allowed);
    if (beyond || allowed != wanted) {
      this->setReplaced();
      g_ostrm << L_WARN
              << "-- " + this->name() + " = " + text +
                     " is not allowed: " + this->valueToString(allowed) + " is taken\n"
              << L_END;
    }
  }

 protected:
  /// The lowest value also stands for what is no number.
  virtual T nearest(T wanted) const {
    return wanted > m_lowest ? std::min(wanted, m_highest) : m_lowest;
  }

 private:
  // Whether the text is a number that no T holds; then `limit` is the end of T on its side.
  static bool isBeyond(const tzString& text, T& limit) {
    if constexpr (std::is_integral_v<T>) {
      double number = 0;
      number << text;
      if (text.fail() ||
          (number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max())) {
        return false;
      }
      limit = number < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
      return std::isdigit(static_cast<unsigned char>(text.c_str()[text.find("-") == 0])) != 0;
    }
    return false;
  }

  T m_lowest;
  T m_highest;
};

using BoundedInt = BoundedParm<int>;

/// A count: at least 1.
class CountParm : public BoundedInt {
 public:
  CountParm(const tzString& name, int value, int highest)
      : BoundedInt(name, "", value, 1, highest) {}
};

/// Bytes in whole units of kShiftUnit.
class ShiftParm : public BoundedInt {
 public:
  using BoundedInt::BoundedInt;

 protected:
  int nearest(int wanted) const override {
    const int inRange = BoundedInt::nearest(wanted);
    return (inRange + kShiftUnit / 2) / kShiftUnit * kShiftUnit;
  }
};

bool s_alignByElement = false;

template <typename Parm>
auto settle(Parm&& parm) {
  parm.fromIStream(g_istrm);
  return parm.value();
}

void putHeading(const char* heading) {
  if (g_istrm.hasIStream()) c_out << tzString("\n ") + heading + "\n";
}

int clampToInt(long long value) {
  return static_cast<int>(std::clamp<long long>(value, 1, INT_MAX));
}

void readManual(const tzTool& fresh) {
  int loops = 0;
  fresh.getMethodLoop(loops);
  g_tool.setMethodLoop(settle(CountParm("NumLoops", loops, INT_MAX)));
}

void readStatistic(const tzTool& fresh) {
  int calls = 0;
  long long clocks = 0;
  fresh.getMethodStat(calls, clocks);
  calls = settle(CountParm("NumCalls", calls, INT_MAX));
  clocks = settle(CountParm("TotalCpuClocks", clampToInt(clocks), INT_MAX));
  g_tool.setMethodStat(calls, clocks);
}

void readIterative(const tzTool& fresh) {
  int from = 0;
  int to = 0;
  long long clocks = 0;
  fresh.getMethodBest(from, to, clocks);
  from = settle(CountParm("StartNumLoops", from, kMaxLoops));
  to = settle(CountParm("StopNumLoops", to, kMaxLoops));
  g_tool.setMethodBest(from, to, clocks);
}

// Whether somebody gave a value: parameters of which nobody is asked.
bool isGiven(const char* name) {
  if (g_istrm.presets().find(name) != nullptr) return true;
  return g_istrm.hasIniFile() &&
         !g_istrm.iniFile()->read(tzIStream::COMMON_SECTION, name, "").empty();
}

/// A parameter of two choices; the names stand for 0 and 1.
int settleChoice(const tzString& name, const char* zero, const char* one, bool isOne) {
  tzMapDefault<int> choice(name, "", isOne ? 1 : 0);
  choice[zero] = 0;
  choice[one] = 1;
  return settle(choice);
}

}  // namespace

void readTimingMethod() {
  putHeading("Specify timing method, please");
  tzMapDefault<int> method("Method", "", g_tool.getMethod());
  method["Auto"] = tzTool::AUTO;
  method["Manual"] = tzTool::LOOP;
  method["Statistic"] = tzTool::STAT;
  method["Iterative"] = tzTool::BEST;
  method["Spread"] = tzTool::SPREAD;
  const tzTool fresh;
  switch (settle(method)) {
    case tzTool::LOOP:
      readManual(fresh);
      break;
    case tzTool::STAT:
      readStatistic(fresh);
      break;
    case tzTool::BEST:
      readIterative(fresh);
      break;
    case tzTool::SPREAD:
      g_tool.setMethodSpread();
      if (isGiven("Clock")) {
        g_tool.setCoreClock(settleChoice("Clock", "counter", "core", g_tool.coreClock()) != 0);
      }
      break;
    default:
      g_tool.setMethodAuto();
      break;
  }
  if (isGiven("StartSteps")) {
    g_tool.setStartSteps(settle(BoundedInt("StartSteps", "", g_tool.startSteps(), 0, kMaxSteps)));
  }
}

void readDataOffset() {
  putHeading("Specify vectors alignment, please");
  s_alignByElement = settleChoice("AlignVectorsBy", "byte", "element", s_alignByElement) != 0;
  const tzString prompt =
      s_alignByElement ? "VectorAlign by Element, 0..63" : "VectorAlign by Byte, 0..63";
  VectorAlign = settle(BoundedInt("VectorAlign", prompt, VectorAlign, 0, kMaxAlign));
  AlignSrc = settleChoice("MisalignFirstVectorOnly", "yes", "no", !AlignSrc) == 0;
  VectorShift = settle(ShiftParm("MutualVectorShift", "MutualVectorShift in Bytes, divisible by 64",
                                 VectorShift, 0, kMaxShift));
}

void readAccuracy() {
  BoundedParm<double> accuracy("Accuracy", "Accuracy, %", g_tool.accuracyLimit() * kPercent,
                               kMinAccuracy, kMaxAccuracy);
  g_tool.setAccuracyLimit(settle(accuracy) / kPercent);
}

void readTimeLimit() {
  BoundedParm<double> limit("TimeLimit", "TimeLimit of a row, s", g_tool.timeLimit(), kMinTimeLimit,
                            kMaxTimeLimit);
  g_tool.setTimeLimit(settle(limit));
}

tzTool tzPreviewTool() {
  const tzTool before = g_tool;
  const int mistakes = tzMistakes::count();
  const int outLevel = g_ostrm.outLevel();
  g_ostrm.setOutLevel(0);
  readTimingMethod();
  readAccuracy();
  g_ostrm.setOutLevel(outLevel);
  tzMistakes::reset(mistakes);
  return std::exchange(g_tool, before);
}

bool tzIsAlignByElement() { return s_alignByElement; }
