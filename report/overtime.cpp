// Steps in rows over many runs.
#include "report/overtime.h"

#include "report/statistics.h"
#include "report/text.h"

namespace report {

namespace {

constexpr double kAlpha = 0.05;

}  // namespace

SteppedRow stepsOfRow(const HistorySeries& series, double gate) {
  SteppedRow row{&series, {}, {}, 1};
  for (const HistoryPoint& point : series.points) row.values.push_back(point.clocks);
  row.p = changePoint(row.values).p;
  if (row.p <= kAlpha) row.steps = findSteps(row.values, kAlpha, gate);
  return row;
}

std::vector<SteppedRow> stepsOfRows(const std::vector<HistorySeries>& series, double gate) {
  std::vector<SteppedRow> rows;
  std::vector<double> p;
  for (const HistorySeries& one : series) {
    rows.push_back(stepsOfRow(one, gate));
    p.push_back(rows.back().p);
  }
  const std::vector<bool> real = believed(p, kAlpha);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (!real[i]) rows[i].steps.clear();
  }
  return rows;
}

std::string runText(const HistoryRun& run) {
  return '#' + std::to_string(run.id) + ' ' + run.started +
         (run.label.empty() ? std::string() : ' ' + run.label);
}

std::string rowText(const HistorySeries& series) {
  return series.function + (series.parameters.empty() ? "" : ' ' + series.parameters);
}

std::string changeText(double ratio) { return formatted("%+.1f %%", (ratio - 1) * 100); }

}  // namespace report
