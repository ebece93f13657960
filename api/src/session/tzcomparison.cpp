// Sides in turns, set by set.
#include "tzcomparison.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "tzarena.h"
#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzkeys.h"
#include "tzostream.h"
#include "tzparm.h"
#include "tzregistry.h"
#include "tztest.h"

namespace {

constexpr double kAlpha = 0.05;  // for all rows and looks of a set of processes together
constexpr int kFewestSets = 3;
constexpr int kMostSets = 99;
constexpr int kPatience = 6;  // times the sets asked for, for rows that seem to differ
constexpr double kMostGate = 100;

// Keys that choose tests, data and code; all others are about files, consoles and methods.
const char* const kPassedOn = "dipPftFYHNTSs";

template <class T>
T read(const char* name, const char* prompt, T value, T lowest, T highest) {
  tzDefault<T> parm(name, prompt, value);
  parm.fromIStream(g_istrm);
  const T given = parm.value();
  const T used = given >= lowest ? std::min(given, highest) : lowest;
  if (used != given) {
    g_ostrm << L_WARN << "-- " << name << " = " << given << " is not allowed: " << used
            << " is taken\n"
            << L_END;
    tzMistakes::add();
  }
  return used;
}

long secondLevelCache() {
  const long size = sysconf(_SC_LEVEL2_CACHE_SIZE);
  return size > 0 ? size : 1L << 20;
}

}  // namespace

void tzComparison::compareBuilds(const tzString& folder) {
  m_kinds = {{"loaded", "", ""}, {folder, folder, ""}};
  m_paths = false;
}

void tzComparison::comparePaths(const tzStringList& processors) {
  m_kinds.clear();
  for (const tzString& name : processors) m_kinds.push_back({name, "", "-T" + name});
  m_paths = true;
}

void tzComparison::setCall(const tzString& program, const tzCommandList& keys) {
  m_program = program;
  for (const tzCommandKey& key : keys) {
    const bool ownPath = m_paths && key.key == 'T';
    if (tzString(kPassedOn).find(key.key) >= 0 && !ownPath) m_keys.push_back(key.word());
  }
}

void tzComparison::readSettings() {
  m_gate = read<double>("Gate", "Gate, %", 1, 0, kMostGate) / 100;
  m_numSets = read<int>("ProcessSets", "", kFewestSets, kFewestSets, kMostSets);
}

void tzComparison::tellSides() const {
  g_ostrm << L_PERF << "\n Compared   : " << m_kinds[0].name << " with ";
  for (size_t i = 1; i < m_kinds.size(); ++i) g_ostrm << (i > 1 ? ", " : "") << m_kinds[i].name;
  g_ostrm << "; gate " << 100 * m_gate << "%, " << m_numSets << " sets of processes on processor "
          << tzLastProcessor() << "\n"
          << L_ENDFLUSH;
}

double tzComparison::alpha() const {
  return tzLookAlpha(kAlpha, m_numRows * static_cast<int>(m_kinds.size() - 1));
}

// --- all rows ------------------------------------------------------------------------------------

int tzComparison::run(tzConditions& conditions) {
  countRows(conditions);
  bool started = true;
  bool due = true;
  for (int set = 0; due && tzInterrupt::signal() == 0; ++set) {
    started = startSides();
    if (!started) break;
    if (set == 0) checkLibraries();
    compareRows(set);
    endSides();
    due = set + 1 < m_numSets || std::any_of(m_rows.begin(), m_rows.end(),
                                             [this](const auto& row) { return isDue(row.second); });
  }
  endSides();
  // Whatever ended the sets: a row that has those asked for is told.
  for (auto& [place, row] : m_rows) {
    const bool isMeasured = static_cast<int>(row.sets.size()) >= m_numSets && !row.failed;
    if (isMeasured && !row.told) report(row);
  }
  if (!m_rows.empty()) reportTotals();
  return !started || tzGetTestList().counts[TZ_FAIL] != 0 ? 1 : 0;
}

bool tzComparison::isOpen(const Row& row) const {
  return std::any_of(row.ratios.begin(), row.ratios.end(),
                     [this](const auto& ratios) { return tzIsOpen(ratios, m_gate); });
}

// One that seems to differ gets further sets: three of three say so of identical code, too, and one
// that met a slow spell of the machine hides what the others saw.
bool tzComparison::isDue(const Row& row) const {
  const int sets = static_cast<int>(row.sets.size());
  if (row.failed || row.told) return false;
  return sets < m_numSets || (sets < kPatience * m_numSets && isOpen(row));
}

// Alpha is divided among them. What parameters have to say, the sides' run has said or will not.
void tzComparison::countRows(tzConditions& conditions) {
  const int outLevel = g_ostrm.outLevel();
  const int mistakes = tzMistakes::count();
  g_ostrm.setOutLevel(L_ERR);
  for (tzTest* test : tzGetTestList()) {
    if (test->tobeRun(conditions)) m_numRows += test->countRows();
  }
  g_ostrm.setOutLevel(outLevel);
  tzMistakes::reset(mistakes);
}

// Every set has memory of its own, so that sets tell of different pages.
bool tzComparison::startSides() {
  const int processor = tzLastProcessor();
  endSides();
  m_arena = tzArena::create();
  for (const tzSideKind& kind : m_kinds) {
    m_sides.push_back(std::make_unique<tzSide>(kind, m_program, m_keys, processor, m_arena));
    if (m_sides.back()->start()) continue;
    g_ostrm << L_ERR << "-- The program does not run with " << kind.name << ": "
            << m_sides.back()->failureText() << "\n"
            << L_ENDFLUSH;
    return false;
  }
  return true;
}

void tzComparison::endSides() {
  m_sides.clear();
  if (m_arena >= 0) close(m_arena);
  m_arena = -1;
}

// A comparison of something with itself is allowed, and told.
void tzComparison::checkLibraries() const {
  for (size_t i = 0; i < m_sides.size(); ++i) {
    const tzSideHello& hello = m_sides[i]->hello();
    g_ostrm << L_PERF << "  " << m_kinds[i].name << ": code path " << hello.codePath << "\n"
            << L_END;
    const tzSideHello& first = m_sides[0]->hello();
    if (i == 0 || hello.libraries != first.libraries || hello.codePath != first.codePath) continue;
    g_ostrm << L_WARN << "-- " << m_kinds[i].name << " and " << m_kinds[0].name
            << (m_paths ? " have the same code path\n" : " load the same libraries\n") << L_END;
  }
  g_ostrm.flush();
}

// All sides go through one list; a row that one of them lacks is left out by the others.
void tzComparison::compareRows(int set) {
  for (;;) {
    const tzSide* first = nullptr;
    size_t there = 0;
    for (const auto& side : m_sides) {
      if (!side->hasRow()) continue;
      const bool earlier = first == nullptr || side->row().place < first->row().place;
      if (earlier) there = 0;
      if (earlier) first = side.get();
      if (side->row().place == first->row().place) ++there;
    }
    if (first == nullptr || tzInterrupt::signal() != 0) return;
    const tzSideRow facts = first->row();
    Row& row = m_rows[facts.place];
    row.facts = facts;
    const bool lacks = there != m_sides.size();
    if (!lacks && isDue(row)) {
      compareRow(row);
      continue;
    }
    if (lacks && set + 1 >= m_numSets && !row.failed && !row.told) {
      row.told = true;
      g_ostrm << L_WARN << "-- not compared: " << facts.text << "- a side lacks it\n" << L_ENDFLUSH;
    }
    for (const auto& side : m_sides) {
      if (side->hasRow() && side->row().place == facts.place) side->skip();
    }
  }
}

// --- one row -------------------------------------------------------------------------------------

void tzComparison::compareRow(Row& row) {
  int calls = 0;
  int firstLook = 0;
  Rounds rounds(m_sides.size());
  const bool measured =
      prepareRow(row, calls, firstLook) && measureRow(row, calls, firstLook, rounds);
  for (const auto& side : m_sides) side->finish();
  if (!measured) return;
  keep(row, rounds, calls);
  reportSettled();
}

// In the order of the tests, whichever is settled first.
void tzComparison::reportSettled() {
  for (auto& [place, row] : m_rows) {
    if (isDue(row)) return;
    if (!row.told && !row.failed) report(row);
  }
}

// The slowest side says how many calls a sample has.
bool tzComparison::prepareRow(Row& row, int& calls, int& firstLook) {
  double bytes = 0;
  bool good = true;
  for (const auto& side : m_sides) {
    tzSideReady ready;
    if (!side->prepare(ready)) {
      if (good) fail(row, *side);
      good = false;
      continue;
    }
    calls = calls == 0 ? ready.calls : std::min(calls, ready.calls);
    row.elements = ready.elements;
    bytes = std::max(bytes, ready.bytes);
  }
  firstLook = bytes > static_cast<double>(secondLevelCache()) ? 1 : 0;
  return good;
}

// @return false when a side failed
bool tzComparison::measureRow(Row& row, int calls, int firstLook, Rounds& rounds) {
  const double deadline = tzTool::seconds() + g_tool.timeLimit();
  const size_t count = m_sides.size();
  for (int round = 0; round < kTzLooks[kTzNumLooks - 1]; ++round) {
    for (size_t turn = 0; turn < count; ++turn) {
      const size_t i = round % 2 == 0 ? turn : count - 1 - turn;
      const double clocks = m_sides[i]->sample(calls);
      if (clocks <= 0) {
        fail(row, *m_sides[i]);
        return false;
      }
      rounds[i].push_back(clocks);
    }
    if (tzInterrupt::signal() != 0) return false;
    if (g_tool.timeLimit() > 0 && tzTool::seconds() > deadline) return true;
    const bool look =
        std::find(kTzLooks + firstLook, std::end(kTzLooks), round + 1) != std::end(kTzLooks);
    if (look && isResolved(rounds)) return true;
  }
  return true;
}

bool tzComparison::isResolved(const Rounds& rounds) const {
  for (size_t i = 1; i < rounds.size(); ++i) {
    const tzRatio ratio = tzPairedRatio(rounds[0], rounds[i], alpha());
    if (tzJudgeRatio(ratio, m_gate) == VERDICT_UNRESOLVED) return false;
  }
  return true;
}

void tzComparison::keep(Row& row, const Rounds& rounds, int calls) {
  row.ratios.resize(rounds.size() - 1);
  row.best.resize(rounds.size());
  tzJson set;
  std::vector<tzJson> sides;
  for (size_t i = 0; i < rounds.size(); ++i) {
    const double best = *std::min_element(rounds[i].begin(), rounds[i].end());
    row.best[i] = row.best[i] > 0 ? std::min(row.best[i], best) : best;
    tzJson side;
    side.put("side", m_kinds[i].name).putArray("clocks", rounds[i]);
    if (i > 0) {
      const tzRatio ratio = tzPairedRatio(rounds[0], rounds[i], alpha());
      row.ratios[i - 1].push_back(ratio);
      side.put("ratio", ratio.ratio).put("low", ratio.low).put("high", ratio.high);
    }
    sides.push_back(side);
  }
  row.sets.push_back(set.put("calls", calls).putArray("sides", sides));
}

void tzComparison::fail(Row& row, const tzSide& side) {
  if (row.failed || tzInterrupt::signal() != 0) return;
  row.failed = true;
  ++m_failures;
  g_ostrm << L_ERR << "-- " << tzResultName(side.failure()) << ": " << row.facts.text << "- "
          << side.kind().name << ": " << side.failureText() << "\n"
          << L_ENDFLUSH;
  tzGetTestList().plus(side.failure());
}
