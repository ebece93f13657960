// The method Spread: many short samples, taken in several passes, of which the smallest counts.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <vector>

#include "tzcache.h"
#include "tzcounter.h"
#include "tzinterrupt.h"
#include "tzpace.h"
#include "tzplan.h"
#include "tzreference.h"
#include "tztool.h"
#include "tztoollog.h"

namespace {

constexpr double kLeastSteps = 1000;        // of a sample: the counter then tells .1 %
constexpr double kSampleMicroseconds = 50;  // of a sample of short calls
constexpr int kMostCalls = 100'000'000;
constexpr int kLeastSamples = 3;   // of the only pass; of several, one will do
constexpr int kMostSamples = 256;  // of a pass
constexpr int kMostOfRow = 768;    // of all passes, about
constexpr double kPatience = 4;    // times its share that a row out of line may take
constexpr int kReferences = 3;     // looks at the reference stream in a pass, and one at its end
constexpr double kMemoryLimit = 0.05;  // memory that others use, too, is hardly ever steadier

tzString percent(double share) { return tzTool::getAccuracyStr(share); }

}  // namespace

/// One row in one pass.
class tzTool::Spread {
 public:
  explicit Spread(tzTool& tool)
      : m_tool(tool), m_row(tool.m_measurement), m_pass(g_plan.pass), m_begin(tzTool::seconds()) {}

  void run();

 private:
  bool settleCalls();
  void takeSamples();
  bool takeSample();
  void takeReference();
  bool goesOn(double share);
  bool isOutOfLine() const;
  void weigh();
  void judge();
  void doubt(const tzString& reason);
  void judgeDisturbed();
  void judgePasses();
  void judgeReference();
  double spent() const { return tzTool::seconds() - m_begin; }

  tzTool& m_tool;
  tzMeasurement& m_row;
  tzToolLog m_log;
  int m_pass;
  double m_begin;
  int m_calls = 1;
  int m_tried = 0;              // samples of this pass
  int m_taken = 0;              // undisturbed samples of this pass
  int m_alone = 0;              // of these, with the core for themselves
  double m_least = 0;           // of them
  double m_leastBefore = 0;     // of earlier passes
  double m_leastDisturbed = 0;  // for want of a better one
  tzPace m_pace;                // at the end of the last sample
};

void tzTool::spreadTiming() { Spread(*this).run(); }

void tzTool::Spread::run() {
  m_row = m_tool.m_earlier;
  m_tool.m_earlier = {};
  m_row.reason.clear();
  if (!m_tool.m_funcStat && !m_tool.m_funcCall) m_tool.m_statMode = false;
  if (!m_tool.m_funcLoop && !m_tool.m_funcCall) m_tool.m_statMode = true;
  m_row.coreClock = m_tool.m_coreClock;
  weigh();
  m_leastBefore = m_row.statistics.minimum;
  m_log << "    Spread method: pass " << m_pass << "\n";
  try {
    if (!g_plan.writesOnly && settleCalls()) takeSamples();
  } catch (const tzInterrupted&) {
    // What there is will be written.
    if (m_row.samples.empty()) throw;
  }
  m_row.seconds += spent();
  m_row.emptyCall = m_emptyCall;
  m_tool.updateResult(TZ_OK);
  if (!tzIsFailure(m_tool.m_result)) judge();
  m_log << "        numLoops   = " << m_tool.m_numLoops << "\n"
        << "        samples    = " << static_cast<int>(m_row.samples.size()) << "\n"
        << "        funcClocks = " << m_tool.m_funcClocks << "\n"
        << "        result     = " << tzResultString(m_tool.m_result) << "\n";
  m_log.writeInfo();
}

// As many calls as fill a sample, but for functions whose data do not bear so many in a row. The
// first runs find cold caches: their pace is a lower bound of what is to come.
bool tzTool::Spread::settleCalls() {
  const int most = m_tool.m_autoMaxLoops != 0 ? m_tool.m_autoMaxLoops : kMostCalls;
  if (!m_row.samples.empty()) {
    m_calls = static_cast<int>(m_row.samples.back().calls);
    return true;
  }
  const tzDisturbances before = m_row.disturbances;
  const tzCounterFacts& counter = tzCounter();
  const double sample = std::max(kLeastSteps * static_cast<double>(counter.resolution()),
                                 kSampleMicroseconds * counter.mhz);
  double leastOfCall = INFINITY;
  for (;;) {
    double clocks = 0;
    m_tool.runTimFunc(m_calls, clocks, false);
    if (tzIsFailure(m_tool.m_result)) return false;
    if (clocks > 0) leastOfCall = std::min(leastOfCall, clocks);
    const double wanted = clocks > 0 ? std::ceil(sample / leastOfCall) : most;
    if (m_calls >= most || m_calls >= 0.9 * wanted) break;
    m_calls = static_cast<int>(std::min({wanted, 30.0 * m_calls, static_cast<double>(most)}));
  }
  m_row.disturbances = before;  // what met these runs says nothing about samples
  if (leastOfCall < INFINITY) return true;
  m_tool.updateResult(TZ_ACCURFAIL);
  return false;
}

void tzTool::Spread::takeSamples() {
  m_row.referenceBytes = tzReferenceStream::sizeFor(tzCacheIterator::getTotalSize());
  const double share = g_plan.share(m_begin);
  int references = 0;
  do {
    if (spent() >= references * share / kReferences && references < kReferences) {
      takeReference();
      ++references;
      m_pace = tzPace::look();
    }
    if (!takeSample()) return;
  } while (goesOn(share));
  takeReference();
}

void tzTool::Spread::takeReference() {
  if (m_row.referenceBytes == 0) return;
  const double clocks = tzReferenceStream::measure(m_row.referenceBytes);
  tzReferenceStream::note(m_row.referenceBytes, clocks);
  double& least = m_row.referenceClocks;
  if (clocks > 0 && (least <= 0 || clocks < least)) least = clocks;
}

bool tzTool::Spread::takeSample() {
  double clocks = 0;
  ++m_tried;
  m_tool.runTimFunc(m_calls, clocks, false);
  if (tzIsFailure(m_tool.m_result)) return false;
  const tzPace before = m_pace;
  m_pace = tzPace::look();
  if (m_tool.m_runDisturbed || !(clocks > 0)) {
    ++m_row.dropped;
    if (clocks > 0 && (m_leastDisturbed <= 0 || clocks < m_leastDisturbed)) {
      m_leastDisturbed = clocks;
    }
    return true;
  }
  const tzPace pace = tzPace::between(before, m_pace);
  m_row.samples.push_back({clocks, m_calls, m_pass, false, clocks, pace.rate, pace.width});
  ++m_taken;
  if (m_row.isShared(m_row.samples.back())) return true;
  const double figure = m_row.clocksAt(clocks, pace.rate);
  m_least = m_alone == 0 ? figure : std::min(m_least, figure);
  ++m_alone;
  return true;
}

// A slow spell may end: whoever does not reach what an earlier pass reached gets some more time.
bool tzTool::Spread::isOutOfLine() const {
  return m_alone == 0 ||
         (m_leastBefore > 0 && m_least > m_leastBefore * (1 + m_tool.m_accuracyLimit));
}

bool tzTool::Spread::goesOn(double share) {
  if (tzInterrupt::signal() != 0) return false;
  const double passed = spent();
  const double limit = m_tool.m_timeLimit;
  if (limit > 0 && passed >= limit) return false;
  if (m_taken < (g_plan.passes > 1 ? 1 : kLeastSamples)) {
    // Calls that are longer than a time slice of a busy machine will not be left alone.
    return m_tried < kLeastSamples || passed < kPatience * share;
  }
  if (isOutOfLine()) return m_taken < kMostSamples && passed < kPatience * share;
  return m_taken < std::min(kMostSamples, kMostOfRow / g_plan.passes) && passed < share;
}

// What the run knows by now about the core and the memory decides what the samples say.
void tzTool::Spread::weigh() {
  m_row.sharedBelow = tzPace::sharedBelow();
  m_row.memoryShare = 0;
  const double stream = tzReferenceStream::best(m_row.referenceBytes);
  double least = 0;
  for (const tzSample& sample : m_row.samples) {
    if (least <= 0 || sample.counted < least) least = sample.counted;
  }
  if (stream > 0 && least > 0) {
    const double part = static_cast<double>(tzCacheIterator::getTotalSize()) / m_row.referenceBytes;
    m_row.memoryShare = std::min(1.0, stream * part / least);
  }
  m_row.summarise();
}

void tzTool::Spread::judge() {
  if (m_row.samples.empty() && m_leastDisturbed > 0 && g_plan.isLast()) {
    m_row.samples.push_back({m_leastDisturbed, m_calls, m_pass, true, 0, 0, 0});
  }
  weigh();
  tzPace::note(m_row.width);
  m_tool.m_funcClocks = m_row.statistics.minimum;
  m_tool.m_numLoops = m_row.samples.empty() ? m_calls : static_cast<int>(m_row.samples[0].calls);
  m_tool.m_accuracy = m_row.reach();
  if (!g_plan.isLast() || m_row.samples.empty()) return;
  char note[96];
  std::snprintf(note, sizeof note, "nSmp=%d med=+%.1f%% mad=%.1f%% slow=%.0f%%",
                m_row.statistics.count,
                (m_row.statistics.median / m_row.statistics.minimum - 1) * 100,
                m_row.statistics.spread * 100, m_row.statistics.tail * 100);
  m_tool.m_infoText = note;
  judgeDisturbed();
  judgePasses();
  judgeReference();
}

void tzTool::Spread::doubt(const tzString& reason) {
  if (!m_row.reason.empty()) m_row.reason += "; ";
  m_row.reason += reason.str();
  if (m_tool.m_result > TZ_ACCURWRN) return;
  m_tool.m_result = TZ_ACCURWRN;
  m_tool.m_resultText = m_row.reason;
}

void tzTool::Spread::judgeDisturbed() {
  if (m_row.dropped > 0) m_tool.m_infoText << " dropped=" << m_row.dropped;
  if (!m_row.samples[0].disturbed) return;
  m_tool.m_infoText << " disturbed";
  doubt("every sample was disturbed");
}

// Delays only add, so the smallest figure is what counts, if others confirm it: passes at other
// times and with other places of the buffers. Passes without the core for themselves have no say.
void tzTool::Spread::judgePasses() {
  const int sampled = m_row.passesSampled;
  const int alone = sampled - m_row.passesShared;
  const int due = g_plan.passesOf(m_row.costly);
  if (due > 1 && sampled < (g_plan.writesOnly ? due : 2)) {
    tzString reason;
    reason << "samples of " << sampled << " of " << due << " passes";
    m_tool.m_infoText << " passes=" << sampled << "/" << due;
    doubt(reason);
  }
  if (m_row.passesShared > 0) {
    m_tool.m_infoText << " shared=" << m_row.passesShared << "/" << sampled;
  }
  if (m_row.passesShared > 0 && alone < std::min(sampled, m_row.passesNeeded())) {
    tzString reason("the core was shared in ");
    doubt(reason << m_row.passesShared << " of " << sampled << (sampled > 1 ? " passes" : " pass"));
  }
  const double accuracy = m_tool.m_accuracy;
  if (accuracy <= m_tool.m_accuracyLimit) return;
  m_tool.m_infoText << " acc=" << percent(accuracy);
  if (m_row.statistics.count < 2) {
    if (m_row.reason.empty()) {
      doubt(m_row.samples.size() < 2 ? "there is one sample only"
                                     : "one sample only had the core for itself");
    }
    return;
  }
  doubt(tzString(m_row.passMinima.size() > 1 ? "passes differ by " : "halves differ by ") +
        percent(accuracy));
}

void tzTool::Spread::judgeReference() {
  const double best = tzReferenceStream::best(m_row.referenceBytes);
  if (m_row.referenceBytes == 0 || !(best > 0) || !(m_row.referenceClocks > 0)) return;
  m_row.referenceRatio = m_row.referenceClocks / best;
  const double slower = m_row.referenceRatio - 1;
  if (slower <= std::max(m_tool.m_accuracyLimit, kMemoryLimit)) return;
  m_tool.m_infoText << " memory=+" << percent(slower);
  doubt(tzString("the memory was slower than at best by ") + percent(slower));
}
