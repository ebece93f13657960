// What the page's script draws.
#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>

#include "report/page.h"
#include "report/text.h"
#include "report/units.h"

namespace report {

namespace {

// More dots than this in a strip cannot be told apart.
constexpr std::size_t kMostSamples = 150;

void writeRun(std::ostream& out, const Run& run, const std::string& label) {
  out << "{\"label\":" << jsonText(label) << ",\"caches\":[";
  bool isFirst = true;
  for (const auto& [fact, name] :
       {std::pair{"cache_l1", "L1"}, {"cache_l2", "L2"}, {"cache_l3", "L3"}}) {
    const double bytes = run.context.number(fact, 0);
    if (bytes <= 0) continue;
    out << (isFirst ? "" : ",") << "[\"" << name << "\"," << exactText(bytes) << ']';
    isFirst = false;
  }
  out << "]}";
}

// Pairs of pass and hundredths of a percent above the smallest, in the order of their taking.
void writeSamples(std::ostream& out, const Row& row) {
  const Samples& samples = row.samples;
  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (!samples.disturbed[i]) kept.push_back(i);
  }
  if (kept.empty()) return;
  double least = samples.clocks[kept[0]];
  for (const std::size_t i : kept) least = std::min(least, samples.clocks[i]);
  if (least <= 0) return;
  const std::size_t step = (kept.size() + kMostSamples - 1) / kMostSamples;
  out << ",\"q\":[";
  for (std::size_t k = 0; k < kept.size(); k += step) {
    const std::size_t i = kept[k];
    const double above = std::min(1e9, std::round((samples.clocks[i] / least - 1) * 10000));
    out << (k > 0 ? "," : "") << '[' << samples.pass[i] << ',' << exactText(above) << ']';
  }
  out << ']';
}

void writeSeries(std::ostream& out, const Series& series, const Context& context, bool byBytes) {
  out << "{\"r\":" << series.run << ",\"l\":" << jsonText(series.label) << ",\"p\":[";
  bool isFirst = true;
  for (std::size_t i = 0; i < series.rows.size(); ++i) {
    const Row& row = *series.rows[i];
    if (!row.clocksPerElement) continue;
    const double x = byBytes ? *row.workingSet : sizeOf(series.sizes[i]).value_or(1);
    out << (isFirst ? "" : ",") << "{\"x\":" << exactText(x)
        << ",\"z\":" << jsonText(series.sizes[i]) << ",\"c\":" << exactText(*row.clocksPerElement)
        << ",\"b\":" << exactText(bytesOf(row)) << ",\"m\":" << exactText(clockMhz(context, row));
    writeSamples(out, row);
    out << '}';
    isFirst = false;
  }
  out << "]}";
}

}  // namespace

std::string jsonText(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (std::string_view("\"\\<>&").find(c) == std::string_view::npos) {
      quoted += c;
      continue;
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(c);
    quoted += std::string("\\u00") + kDigits[code >> 4] + kDigits[code & 15];
  }
  return quoted + '"';
}

void writePageData(std::ostream& out, const PageContent& content,
                   const std::vector<FunctionView>& views) {
  const std::vector<std::string> labels = runLabels(content.runs);
  out << "{\"runs\":[";
  for (std::size_t i = 0; i < content.runs.size(); ++i) {
    if (i > 0) out << ',';
    writeRun(out, content.runs[i], labels[i]);
  }
  out << "],\"views\":[";
  for (std::size_t i = 0; i < views.size(); ++i) {
    const FunctionView& view = views[i];
    out << (i > 0 ? "," : "") << "{\"u\":" << jsonText(view.unit)
        << ",\"z\":" << jsonText(view.parameter)
        << ",\"x\":" << (view.byBytes ? "\"bytes\"" : "\"size\"") << ",\"n\":" << view.sizes.size()
        << ",\"s\":[";
    bool isFirst = true;
    for (const Series& series : view.series) {
      const bool any = std::any_of(series.rows.begin(), series.rows.end(), [](const Row* row) {
        return row->clocksPerElement.has_value();
      });
      if (!any) continue;
      if (!isFirst) out << ',';
      isFirst = false;
      writeSeries(out, series, content.runs[series.run].context, view.byBytes);
    }
    out << "]}";
  }
  out << ']';
  if (content.past != nullptr) writePastData(out, *content.past);
  out << '}';
}

}  // namespace report
