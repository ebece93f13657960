// Runs of one side against runs of another, row by row.
#include "report/compare.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "report/error.h"
#include "report/grouping.h"
#include "report/text.h"

namespace report {

namespace {

// A row in all runs of a side.
struct Observed {
  const Row* best = nullptr;  // with the smallest figure, or any when none has one
  std::vector<double> logs;   // of the observations
};

struct Side {
  std::vector<std::string> order;
  std::map<std::string, Observed> rows;
};

void observe(const Row& row, Observed& observed) {
  const bool better =
      observed.best == nullptr || !observed.best->clocksPerElement ||
      (row.clocksPerElement && *row.clocksPerElement < *observed.best->clocksPerElement);
  if (better) observed.best = &row;
  if (!row.clocksPerElement || *row.clocksPerElement <= 0) return;
  const std::size_t before = observed.logs.size();
  if (row.elements.value_or(0) > 0) {
    for (const double clocks : row.passMinima) {
      if (clocks > 0) observed.logs.push_back(std::log(clocks / *row.elements));
    }
  }
  if (observed.logs.size() == before) observed.logs.push_back(std::log(*row.clocksPerElement));
}

// Every observation meets every other one: many of one row would take all memory.
constexpr std::size_t kMaxObservations = 2000;
constexpr std::size_t kMaxPairs = 100'000'000;

Side sideOf(const std::vector<Run>& runs, const std::string& filter) {
  Side side;
  for (const Run& run : runs) {
    for (const Row& row : run.rows) {
      if (!passes(row, filter)) continue;
      const std::string key = rowKey(row);
      const auto [place, isNew] = side.rows.try_emplace(key);
      if (isNew) side.order.push_back(key);
      observe(row, place->second);
      if (place->second.logs.size() > kMaxObservations) {
        throw Error(run.file, row.line,
                    "more than " + std::to_string(kMaxObservations) + " observations of a row");
      }
    }
  }
  return side;
}

void refuseUnlike(const std::vector<Run>& before, const std::vector<Run>& after, Compared& result,
                  bool anyway) {
  std::set<std::string> names;
  for (const auto* runs : {&before, &after}) {
    for (const Run& run : *runs) {
      for (const Row& row : run.rows) {
        for (const Named& parameter : row.parameters) names.insert(parameter.name);
      }
    }
  }
  const Run& model = before.at(0);
  for (const auto* runs : {&before, &after}) {
    for (const Run& run : *runs) {
      const std::string difference = unlike(model, run, names);
      if (difference.empty()) continue;
      if (!anyway) {
        throw Error(run.file, "is from " + difference + " than " + model.file +
                                  "; --anyway compares them all the same");
      }
      result.notes.push_back(run.file + " is from " + difference + " than " + model.file);
    }
  }
}

LoneRow lone(const Observed& here, const Side& other, const std::string& key) {
  LoneRow row{here.best, false, {}};
  const auto found = other.rows.find(key);
  if (found == other.rows.end()) return row;
  const Row& there = *found->second.best;
  row.failed = there.result > Result::warning;
  row.reason =
      std::string(resultName(there.result)) + (there.reason.empty() ? "" : ": ") + there.reason;
  return row;
}

// Rows of both sides, with the logarithms of their ratios in place of ratios.
void join(const Side& before, const Side& after, const std::string& file, Compared& result) {
  std::size_t pairs = 0;
  for (const std::string& key : before.order) {
    const Observed& a = before.rows.at(key);
    if (a.logs.empty()) continue;
    const auto found = after.rows.find(key);
    if (found == after.rows.end() || found->second.logs.empty()) {
      result.gone.push_back(lone(a, after, key));
      continue;
    }
    const Observed& b = found->second;
    ComparedRow row{.before = a.best, .after = b.best};
    row.beforeCount = a.logs.size();
    row.afterCount = b.logs.size();
    pairs += row.beforeCount * row.afterCount;
    if (pairs > kMaxPairs) {
      throw Error(file, "more than " + std::to_string(kMaxPairs) +
                            " pairs of observations; compare fewer rows (--filter) or runs");
    }
    result.rows.push_back(row);
  }
  for (const std::string& key : after.order) {
    const Observed& b = after.rows.at(key);
    if (b.logs.empty()) continue;
    const auto found = before.rows.find(key);
    if (found == before.rows.end() || found->second.logs.empty()) {
      result.added.push_back(lone(b, before, key));
    }
  }
}

std::optional<Interval> shiftOf(const std::vector<ShiftEstimate>& rows, double alpha) {
  if (rows.size() < kShiftRows) return std::nullopt;
  std::vector<double> middles;
  middles.reserve(rows.size());
  for (const ShiftEstimate& row : rows) middles.push_back(row.middle());
  return medianInterval(middles, alpha);
}

// Whether the rows' own passes bear a shift out: at least half of those with enough of them tell it
// by themselves, at half of alpha. Rows are slow together, so that their number is no proof of
// anything; but on the average at most a share of alpha / 2 tells by chance what is not so, and
// half of them do in at most a share of alpha of comparisons, however they hang together.
bool isBorneOut(const std::vector<ShiftEstimate>& rows, double alpha, bool isSlower) {
  std::size_t able = 0;
  std::size_t telling = 0;
  for (const ShiftEstimate& row : rows) {
    if (row.leastAlpha() > alpha / 2) continue;
    ++able;
    telling += (isSlower ? row.alphaAbove(0) : row.alphaBelow(0)) <= alpha / 2 ? 1 : 0;
  }
  return 2 * telling >= able;
}

/// Which tests of all rows may be believed, and the alpha at which each of them holds.
struct Believed {
  std::vector<bool> rows;
  double alpha = 0;
};

Believed believedOf(const std::vector<double>& p, const CompareOptions& options) {
  Believed result;
  result.alpha = 1 - options.confidence;
  if (options.eachRow) {
    for (const double value : p) result.rows.push_back(believed({value}, result.alpha).front());
    return result;
  }
  result.rows = believed(p, result.alpha);
  const auto count = std::count(result.rows.begin(), result.rows.end(), true);
  result.alpha *= static_cast<double>(std::max<std::ptrdiff_t>(1, count)) /
                  static_cast<double>(std::max<std::size_t>(1, p.size()));
  return result;
}

// Changes and their absence are two questions of their own to each row. An interval is that of the
// verdict, so that it lies as the verdict says; of no verdict, the wider one.
void settle(const std::vector<ShiftEstimate>& estimates, const Interval& shift,
            const CompareOptions& options, Compared& result) {
  const double gate = std::log1p(options.gate);
  std::vector<double> isOther;
  std::vector<double> isSame;
  for (const ShiftEstimate& row : estimates) {
    const bool isWithin = std::abs(row.middle() - shift.middle) < gate;
    isOther.push_back(isWithin ? 1
                               : std::min(row.alphaAbove(shift.high), row.alphaBelow(shift.low)));
    isSame.push_back(std::max(row.alphaAbove(shift.high - gate), row.alphaBelow(shift.low + gate)));
  }
  const Believed other = believedOf(isOther, options);
  const Believed same = believedOf(isSame, options);
  for (std::size_t i = 0; i < estimates.size(); ++i) {
    ComparedRow& row = result.rows[i];
    if (other.rows[i]) {
      row.verdict = estimates[i].middle() > shift.middle ? Verdict::slower : Verdict::faster;
    } else if (same.rows[i]) {
      row.verdict = Verdict::same;
    }
    const double alpha = row.verdict == Verdict::same         ? same.alpha
                         : row.verdict == Verdict::unresolved ? std::min(same.alpha, other.alpha)
                                                              : other.alpha;
    const Interval interval = estimates[i].interval(alpha);
    row.ratio = std::exp(interval.middle - shift.middle);
    row.low = std::exp(interval.low - shift.high);
    row.high = std::exp(interval.high - shift.low);
    row.bounded = interval.bounded;
  }
}

// How the cores ran on both sides may explain what all rows have in common.
void explainShift(const std::vector<Run>& before, const std::vector<Run>& after, Compared& result) {
  const auto speed = [](const std::vector<Run>& runs) {
    return runs[0].context.number("core_clocks_a_counter_clock", 0);
  };
  // Clocks of the core do not depend on it.
  if (before[0].context.clock == "core") return;
  const double a = speed(before);
  const double b = speed(after);
  if (a > 0 && b > 0 && std::abs(a / b - 1) > 0.002) {
    result.notes.push_back("the core made " + figureText(a) +
                           " clocks a clock of the counter on the old side, " + figureText(b) +
                           " on the new one: that alone is a ratio of " + formatted("%.3f", a / b));
  }
}

}  // namespace

const char* verdictName(Verdict verdict) {
  static constexpr const char* kNames[] = {"slower", "faster", "unresolved", "same"};
  return kNames[static_cast<int>(verdict)];
}

Verdict verdictOf(double ratio, double low, double high, bool bounded, double gate) {
  if (!bounded) return Verdict::unresolved;
  if (low > 1 && ratio >= 1 + gate) return Verdict::slower;
  if (high < 1 && ratio <= 1 / (1 + gate)) return Verdict::faster;
  if (low >= 1 / (1 + gate) && high <= 1 + gate) return Verdict::same;
  return Verdict::unresolved;
}

std::size_t Compared::count(Verdict verdict) const {
  return static_cast<std::size_t>(std::count_if(
      rows.begin(), rows.end(), [&](const ComparedRow& row) { return row.verdict == verdict; }));
}

bool Compared::isSlower(bool countShift) const {
  const bool fails =
      std::any_of(gone.begin(), gone.end(), [](const LoneRow& row) { return row.failed; });
  const bool shifted = countShift && shift && shift->verdict == Verdict::slower;
  return count(Verdict::slower) > 0 || fails || shifted;
}

Compared compareRuns(const std::vector<Run>& before, const std::vector<Run>& after,
                     const CompareOptions& options) {
  Compared result;
  refuseUnlike(before, after, result, options.anyway);
  const Side old = sideOf(before, options.filter);
  const Side now = sideOf(after, options.filter);
  join(old, now, after.at(0).file, result);
  const double alpha = 1 - options.confidence;
  const double rows =
      options.eachRow ? 1 : static_cast<double>(std::max<std::size_t>(1, result.rows.size()));
  result.valuesNeeded = valuesNeeded(alpha / rows);
  std::vector<ShiftEstimate> estimates;
  for (ComparedRow& row : result.rows) {
    const std::string key = rowKey(*row.before);
    const Observed& a = old.rows.at(key);
    const Observed& b = now.rows.at(key);
    estimates.emplace_back(a.logs, b.logs);
    const auto [leastOld, mostOld] = std::minmax_element(a.logs.begin(), a.logs.end());
    const auto [leastNew, mostNew] = std::minmax_element(b.logs.begin(), b.logs.end());
    row.apart = *mostOld < *leastNew || *mostNew < *leastOld;
  }
  Interval shift;
  if (const auto found = shiftOf(estimates, alpha)) {
    result.shift = Shift{std::exp(found->middle), std::exp(found->low), std::exp(found->high)};
    Shift& told = *result.shift;
    told.verdict = verdictOf(told.ratio, told.low, told.high, found->bounded, options.gate);
    const bool isChange = told.verdict == Verdict::slower || told.verdict == Verdict::faster;
    if (isChange && !isBorneOut(estimates, alpha, told.verdict == Verdict::slower)) {
      told.verdict = Verdict::unresolved;
    }
    if (!options.keepShift) shift = *found;
    explainShift(before, after, result);
  }
  settle(estimates, shift, options, result);
  return result;
}

}  // namespace report
