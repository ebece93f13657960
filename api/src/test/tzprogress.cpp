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
// What an earlier rate weighs against the present one, and the least that must be done without it:
// shares of a pass.
constexpr double kPrior = 0.05;
constexpr double kLeastDone = 0.02;

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

}  // namespace

tzEstimate::tzEstimate(double work, bool known, int passes, double apart)
    : m_work(work), m_passes(std::max(passes, 1)), m_apart(apart), m_rate(known ? 1 : 0) {}

void tzEstimate::beginPass(int pass, double now) {
  if (m_done > 0) m_rate = (m_last - m_begin) / m_done;
  m_pass = pass;
  m_begin = m_last = now;
  m_done = 0;
}

double tzEstimate::left(double now) const {
  if (m_work <= 0) return 0;
  const double elapsed = now - m_begin;
  const double prior = m_rate > 0 ? kPrior * m_work : 0;
  if (prior <= 0 && m_done < kLeastDone * m_work) return -1;
  const double rate = (elapsed + m_rate * prior) / (m_done + prior);
  const double rest = rate * std::max(0.0, m_work - m_done);
  if (m_pass >= m_passes) return rest;
  const double wholePass = elapsed + rest;
  const double between = std::max(wholePass, m_apart);
  return std::max(rest, m_apart - elapsed) + (m_passes - m_pass - 1) * between + wholePass;
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

// Rows that the earlier run lacks are taken for as long as the others.
void tzProgress::begin(const std::vector<tzTest*>& tests) {
  if (!s_on) return;
  std::map<std::string, double> times;
  double sum = 0;
  for (const tzKnownRow& row : s_times.rows) {
    if (row.seconds > 0 && times.emplace(row.identity, row.seconds).second) sum += row.seconds;
  }
  const bool known = !times.empty();
  const double usual = known ? sum / static_cast<double>(times.size()) : 1;
  double work = 0;
  const tzQuiet quiet;
  for (tzTest* test : tests) {
    Test& entry = s_tests[test];
    entry.place = static_cast<int>(s_tests.size());
    entry.before = work;
    if (g_request.asksTests || test->kind() == tzString("Information")) continue;
    double done = 0;
    for (const std::string& identity : test->rowsToMeasure()) {
      const auto time = times.find(identity);
      if (!identity.empty()) done += time != times.end() ? time->second : usual;
      entry.done.push_back(done);
    }
    work += done;
  }
  s_estimate = tzEstimate(work, known, g_plan.passes, g_plan.apart);
  s_begin = tzTool::seconds();
}

void tzProgress::beginTest(const tzTest& test) {
  if (!s_on) return;
  const double now = tzTool::seconds();
  if (s_pass != g_plan.pass) s_estimate.beginPass(s_pass = g_plan.pass, now);
  s_current = &test;
  s_estimate.setDone(s_tests[s_current].before, now);
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
  if (number < test.done.size()) {
    s_estimate.setDone(test.before + test.done[number], tzTool::seconds());
  }
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
  const double left = s_estimate.left(now);
  line += left < 0 ? std::string("time left not known yet") : "about " + clockText(left) + " left";
  return line + "  " + s_current->funcName().str();
}
