// How far a run is.
#include "tzprogress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tzplan.h"
#include "tzrequest.h"
#include "tzquiet.h"
#include "tzstatusline.h"
#include "tztest.h"
#include "tztool.h"

namespace {

constexpr double kBetweenLines = 0.1;  // seconds
// What times of an earlier run weigh against the present ones: a share of a pass.
constexpr double kPrior = 0.05;
// The least that must be done without them, and while most of what comes is of kinds not met yet:
// shares of the rows of a pass.
constexpr double kLeastDone = 0.02;
constexpr double kLeastKinds = 0.1;
// Times are skewed to the long side. A figure is shown alone when it is hardly off by more.
constexpr double kErrorsBelow = 2;
constexpr double kErrorsAbove = 4;
constexpr double kSure = 0.25;
// Of its budget a run needs at most this, with what it does beside taking samples.
constexpr double kOver = 1.1;

std::string clockText(double seconds) {
  const auto whole = std::llround(seconds);
  char text[32];
  if (whole < 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  }
  return text;
}

std::string leftText(const tzEstimate::Left& left) {
  if (left.about < 0) return "time left not known yet";
  if (left.isSure) return "about " + clockText(left.about) + " left";
  return clockText(left.least) + " to " + clockText(left.most) + " left";
}

// The value of the first parameter, which is the size of the data.
std::string kindOf(const std::string& identity) {
  const std::size_t begin = identity.rfind('{');
  return begin == std::string::npos ? ""
                                    : identity.substr(begin, identity.find(',', begin) - begin);
}

}  // namespace

tzEstimate::tzEstimate(const std::vector<Row>& rows, int passes, double apart, double most)
    : m_passes(std::max(passes, 1)), m_apart(apart), m_most(most) {
  std::map<std::string, std::size_t> kinds;
  for (const Row& row : rows) {
    const std::size_t kind = kinds.emplace(row.kind, kinds.size()).first->second;
    m_rows.push_back({kind, row.before, -1});
  }
  m_before.resize(kinds.size());
  m_took.resize(kinds.size());
}

// What a pass took is what the next one will.
void tzEstimate::beginPass(int pass, double now) {
  if (m_runBegin < 0) m_runBegin = now;
  if (m_next > 0) {
    for (Entry& row : m_rows) row.before = std::max(row.took, 0.0);
  }
  m_before.assign(m_before.size(), {});
  m_took.assign(m_took.size(), {});
  for (Entry& row : m_rows) {
    row.took = -1;
    if (row.before >= 0) m_before[row.kind].add(row.before);
  }
  m_done = {};
  m_pass = pass;
  m_begin = m_last = now;
  m_next = 0;
}

void tzEstimate::goTo(std::size_t row) { m_next = std::max(m_next, row); }

void tzEstimate::rowDone(std::size_t row, double now) {
  if (row < m_next || row >= m_rows.size()) return;
  Entry& entry = m_rows[row];
  entry.took = now - m_last;
  m_took[entry.kind].add(entry.took);
  m_done.add(entry.took);
  m_last = now;
  m_next = row + 1;
}

// Seconds for a row, at the pace of whatever tells most of it.
double tzEstimate::usual(const Entry& row) const {
  if (row.before >= 0) return row.before;
  if (m_took[row.kind].count > 0) return m_took[row.kind].mean();
  return m_before[row.kind].count > 0 ? m_before[row.kind].mean() : m_done.mean();
}

// Whether too little is done to tell anything.
bool tzEstimate::isEarly() const {
  const auto all = static_cast<double>(m_rows.size());
  const auto done = static_cast<double>(m_done.count);
  std::size_t strange = 0;
  std::size_t known = 0;
  for (std::size_t i = m_next; i < m_rows.size(); ++i) {
    const Entry& row = m_rows[i];
    known += row.before >= 0 ? 1 : 0;
    strange += row.before < 0 && m_took[row.kind].count + m_before[row.kind].count == 0 ? 1 : 0;
  }
  if (known == 0 && (done < 1 || done < kLeastDone * all)) return true;
  return 4 * strange > m_rows.size() - m_next && done < kLeastKinds * all;
}

tzEstimate::Rest tzEstimate::restOfPass(double now) const {
  double rest = 0;
  double done = 0;
  double known = 0;
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    const double seconds = usual(m_rows[i]);
    if (m_rows[i].before >= 0) known += seconds;
    if (i >= m_next) rest += seconds;
    if (m_rows[i].took >= 0) done += seconds;
  }
  const double prior = kPrior * known;
  const double pace = done + prior > 0 ? (m_done.seconds + prior) / (done + prior) : 1;
  double squares = 0;
  for (const Entry& row : m_rows) {
    if (row.took >= 0) squares += std::pow(row.took - pace * usual(row), 2);
  }
  const auto count = static_cast<double>(m_done.count);
  const auto left = static_cast<double>(m_rows.size() - m_next);
  const double underWay = m_next < m_rows.size() ? pace * usual(m_rows[m_next]) : 0;
  const double error = count < 2 ? 0 : std::sqrt(squares / (count - 1) * left * (1 + left / count));
  return {pace * rest - std::min(now - m_last, underWay), error};
}

double tzEstimate::wholeRest(double restOfPass, double now) const {
  const double rest = std::max(restOfPass, 0.0);
  if (m_pass >= m_passes) return rest;
  const double elapsed = now - m_begin;
  const double wholePass = elapsed + rest;
  const double between = std::max(wholePass, m_apart);
  const double whole =
      std::max(rest, m_apart - elapsed) + (m_passes - m_pass - 1) * between + wholePass;
  if (m_most <= 0) return whole;
  // Passes that come late take less for each row, so a slow one does not make the run longer.
  return std::min(whole, std::max(rest, m_runBegin + kOver * m_most - now));
}

tzEstimate::Left tzEstimate::left(double now) const {
  if (m_rows.empty()) return {0, 0, 0, true};
  if (isEarly()) return {};
  const Rest rest = restOfPass(now);
  Left left;
  left.about = wholeRest(rest.seconds, now);
  left.least = wholeRest(rest.seconds - kErrorsBelow * rest.error, now);
  left.most = wholeRest(rest.seconds + kErrorsAbove * rest.error, now);
  left.isSure = left.about - left.least <= kSure * (now - m_runBegin + left.about);
  return left;
}

bool tzProgress::s_on = false;
tzKnownRuns tzProgress::s_times;
std::map<const tzTest*, tzProgress::Test> tzProgress::s_tests;
const tzTest* tzProgress::s_current = nullptr;
int tzProgress::s_pass = 0;
tzEstimate tzProgress::s_estimate;
double tzProgress::s_begin = 0;
double tzProgress::s_shown = 0;

bool tzProgress::enable() { return s_on = tzStatusLine::enable(); }

bool tzProgress::keepTimesOf(const tzRunFacts& own) {
  std::vector<bool> alike;
  for (const tzRunFacts& run : s_times.runs) {
    const auto same = [&](const auto& fact) {
      const bool decides = fact.first == "settings" || fact.first == "keys";
      return !decides || std::find(own.begin(), own.end(), fact) != own.end();
    };
    alike.push_back(std::all_of(run.begin(), run.end(), same));
  }
  std::erase_if(s_times.rows, [&](const tzKnownRow& row) { return !alike[row.run]; });
  return hasTimes();
}

void tzProgress::begin(const std::vector<tzTest*>& tests) {
  if (!s_on) return;
  std::map<std::string, double> times;
  for (const tzKnownRow& row : s_times.rows) {
    if (row.seconds > 0) times.emplace(row.identity, row.seconds);
  }
  std::vector<tzEstimate::Row> rows;
  const tzQuiet quiet;
  for (tzTest* test : tests) {
    Test& entry = s_tests[test];
    entry.place = static_cast<int>(s_tests.size());
    entry.first = rows.size();
    if (g_request.asksTests || test->kind() == tzString("Information")) continue;
    for (const std::string& identity : test->rowsToMeasure()) {
      entry.rows.push_back(rows.size());
      if (identity.empty()) continue;
      const auto time = times.find(identity);
      rows.push_back({kindOf(identity), time != times.end() ? time->second : -1});
    }
  }
  s_estimate = tzEstimate(rows, g_plan.passes, g_plan.apart, g_plan.runBudget);
  s_begin = tzTool::seconds();
}

void tzProgress::beginTest(const tzTest& test) {
  if (!s_on) return;
  if (s_pass != g_plan.pass) s_estimate.beginPass(s_pass = g_plan.pass, tzTool::seconds());
  s_current = &test;
  s_estimate.goTo(s_tests[s_current].first);
}

void tzProgress::beginRow() {
  if (!s_on || s_current == nullptr) return;
  const double now = tzTool::seconds();
  if (now < s_shown + kBetweenLines) return;
  s_shown = now;
  tzStatusLine::show(text(now));
}

void tzProgress::rowDone(std::size_t number) {
  if (!s_on || s_current == nullptr) return;
  const Test& test = s_tests[s_current];
  if (number < test.rows.size()) s_estimate.rowDone(test.rows[number], tzTool::seconds());
}

void tzProgress::end() {
  s_current = nullptr;
  tzStatusLine::hide();
}

std::string tzProgress::text(double now) {
  std::string line =
      " test " + std::to_string(s_tests[s_current].place) + " of " + std::to_string(s_tests.size());
  if (g_plan.passes > 1) {
    line += ", pass " + std::to_string(g_plan.pass) + " of " + std::to_string(g_plan.passes);
  }
  line += ", " + clockText(now - s_begin) + " gone, ";
  return line + leftText(s_estimate.left(now)) + "  " + s_current->funcName().str();
}
