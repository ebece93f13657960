// The rows that deserve a look.
#include "tzrunsummary.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "tzostream.h"
#include "tzregistry.h"
#include "tztest.h"

namespace {

constexpr size_t kMostDoubtful = 20;
constexpr size_t kMostSpread = 5;

struct Entry {
  const tzTest* test;
  const tzRow* row;
};

tzString nameOf(const Entry& entry) {
  return tzString("  ") + entry.test->funcName() + "  " + entry.row->parameters + "  ";
}

void tellMore(size_t all, size_t shown) {
  if (all > shown) g_ostrm << "  ... and " << static_cast<int>(all - shown) << " more\n";
}

void tellDoubtful(const std::vector<Entry>& entries) {
  g_ostrm << "\n Rows that are not OK: " << static_cast<int>(entries.size()) << "\n";
  const size_t shown = std::min(entries.size(), kMostDoubtful);
  for (size_t i = 0; i < shown; ++i) {
    g_ostrm << nameOf(entries[i]) + tzResultName(entries[i].row->result) + ": " +
                   entries[i].row->measurement.reason + "\n";
  }
  tellMore(entries.size(), shown);
}

void tellSpread(std::vector<Entry> entries) {
  const size_t shown = std::min(entries.size(), kMostSpread);
  const auto wider = [](const Entry& a, const Entry& b) {
    return a.row->measurement.statistics.spread > b.row->measurement.statistics.spread;
  };
  std::partial_sort(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(shown),
                    entries.end(), wider);
  if (shown == 0) return;
  g_ostrm << " The widest spreads of samples:\n";
  for (size_t i = 0; i < shown; ++i) {
    char spread[64];
    std::snprintf(spread, sizeof spread, "%.1f%%\n",
                  entries[i].row->measurement.statistics.spread * 100);
    g_ostrm << nameOf(entries[i]) + spread;
  }
}

}  // namespace

void tzPutRunSummary(const tzTestList& tests) {
  std::vector<Entry> doubtful;
  std::vector<Entry> measured;
  bool any = false;
  for (const tzTest* test : tests) {
    for (const tzRow& row : test->rows()) {
      if (row.result == TZ_UNDEFINED) continue;
      any = true;
      if (row.result != TZ_OK) doubtful.push_back({test, &row});
      if (row.measurement.statistics.spread > 0) measured.push_back({test, &row});
    }
  }
  if (!any) return;
  g_ostrm << L_PERF;
  tellDoubtful(doubtful);
  tellSpread(measured);
  g_ostrm << L_ENDFLUSH;
}
