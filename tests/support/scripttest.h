/// @file
/// A test of the harness whose every step is scripted, and the state that a run of it needs.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "capture.h"
#include "tziterator.h"
#include "tztest.h"
#include "tzwatch.h"

/// What the timed loop does, run by run: the last entry repeats.
struct ScriptedRun {
  long long clocks = 100;
  tzResult result = TZ_OK;
  std::function<void()> action = {};
};

/// A test of "stubFunction" with what parameters the case gives it. Its steps are noted by their
/// names in `calls`, and each throws when `throwIn` names it.
class ScriptTest : public tzTest {
 public:
  explicit ScriptTest(const char* function = "stubFunction")
      : tzTest(nullptr, nullptr, loop, nullptr, function, "src/p_stub", "TimjStub//RK_REG") {}

  bool canStart() override {
    note("canStart");
    for (tzParameter* parm : declared) regParm(*parm);
    if (declare) declare(*this);
    return startable;
  }
  void flushStart() override { note("flushStart"); }
  bool initData() override {
    note("initData");
    return !build || build();
  }
  void flushData() override {
    note("flushData");
    if (drop) drop();
  }
  double getDivisor() const override { return divisor; }
  tzString getUnit() const override { return "px"; }
  void beginTest() override { note("beginTest"); }
  void endTest() override { note("endTest"); }
  bool isHotLine() const override { return hotLine ? hotLine() : tzTest::isHotLine(); }
  tzResult runTiming() override { return undefinedTiming ? TZ_UNDEFINED : tzTest::runTiming(); }

  using tzTest::runNotSupported;

  std::vector<tzParameter*> declared;
  std::function<void(ScriptTest&)> declare;
  std::function<bool()> build;
  std::function<void()> drop;
  std::function<bool()> hotLine;
  bool startable = true;
  bool undefinedTiming = false;
  double divisor = 1;
  std::string throwIn;
  std::string calls;

  static inline std::vector<ScriptedRun> script;
  static inline size_t runs = 0;

 private:
  static tzResult loop(int n, long long* clocks) {
    const ScriptedRun& run = script[std::min(runs++, script.size() - 1)];
    if (run.action) run.action();
    *clocks = run.clocks * n;
    return run.result;
  }
  void note(const std::string& name) {
    calls += name + " ";
    if (name != throwIn) return;
    g_ostrm << L_DATA;  // in the middle of a message, with levels of its own
    g_ostrm.setOutLevel(L_WARN);
    throw tzException(tzString("no luck"));
  }
};

/// The process-wide state of a run with one repetition a measurement, a console of errors, warnings
/// and performance, and a result table; the state before comes back at the end. The watch sees a
/// machine that does nothing else: a row that it has measured again would take the next run of the
/// script.
class ScriptedRunState {
 public:
  explicit ScriptedRunState(std::vector<ScriptedRun> script = {{}}, int mask = 7)
      : m_tool(g_tool), m_mask(g_ostrm.outLevel()) {
    ScriptTest::script = std::move(script);
    ScriptTest::runs = 0;
    tzWatch::m_pLook = [] { return tzMoment(); };
    tzWatch::m_pSteal = [] { return 0.0; };
    g_tool.setMethodLoop(1);
    g_ostrm.setOutLevel(mask);
  }
  ~ScriptedRunState() {
    g_tool = m_tool;
    g_ostrm.setOutLevel(m_mask);
    tzWatch::m_pLook = nullptr;
    tzWatch::m_pSteal = nullptr;
    tzTest::m_hot = 0;
    tzTest::m_cache = false;
    tzTest::m_verifyMode = VERIFY_OFF;
  }
  ScriptedRunState(const ScriptedRunState&) = delete;
  ScriptedRunState& operator=(const ScriptedRunState&) = delete;

  Capture<tzOStream> console{g_ostrm};
  Capture<tzCStream> table{g_cstrm};

 private:
  tzTool m_tool;
  int m_mask;
};

namespace scripted {

/// `parm` with these values appended.
inline tzIterator<int>& filled(tzIterator<int>& parm, std::initializer_list<int> values) {
  for (int value : values) parm.add(value);
  return parm;
}

/// How often `part` stands in `text`.
inline int countOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace scripted
