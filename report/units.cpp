// Figures in the units that users ask for.
#include "report/units.h"

#include <algorithm>

namespace report {

const std::vector<std::string>& unitWords() {
  static const std::vector<std::string> kWords{"clocks", "ns", "GB/s", "Mpx/s"};
  return kWords;
}

Unit unitOf(const std::string& word) {
  const auto& words = unitWords();
  return static_cast<Unit>(std::find(words.begin(), words.end(), word) - words.begin());
}

double counterMhz(const Context& context) {
  const double counter = context.number("counter_mhz", 0);
  return counter > 0 ? counter : std::max(0.0, context.number("mhz", 0));
}

double clockMhz(const Context& context, const Row& row) {
  const double counter = counterMhz(context);
  if (context.clock != "core") return counter;
  const double core = context.number("core_clocks_a_counter_clock", 0);
  if (core <= 0) return 0;
  const double memory = std::min(1.0, row.memoryShare.value_or(0));
  return counter * (memory + (1 - memory) * core);
}

double bytesOf(const Row& row) { return row.bytesRead.value_or(0) + row.bytesWritten.value_or(0); }

std::optional<double> figureIn(Unit unit, const Row& row, double mhz) {
  if (unit == Unit::clocks || !row.clocksPerElement) return row.clocksPerElement;
  if (mhz <= 0 || *row.clocksPerElement <= 0) return std::nullopt;
  const double nanoseconds = *row.clocksPerElement * 1000 / mhz;
  switch (unit) {
    case Unit::gigabytes:
      if (!row.bytesRead && !row.bytesWritten) return std::nullopt;
      return bytesOf(row) / nanoseconds;
    case Unit::megapixels:
      return 1000 / nanoseconds;
    default:
      return nanoseconds;
  }
}

std::string unitText(Unit unit, const std::string& element) {
  switch (unit) {
    case Unit::gigabytes:
      return "GB/s";
    case Unit::megapixels:
      return "M" + element + "/s";
    case Unit::nanoseconds:
      return "ns/" + element;
    default:
      return "clocks/" + element;
  }
}

}  // namespace report
