/// @file
/// Figures in the units that users ask for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/model.h"

namespace report {

enum class Unit { clocks, nanoseconds, gigabytes, megapixels };

/// The words of an option, in the order of the enumeration.
const std::vector<std::string>& unitWords();
Unit unitOf(const std::string& word);

/// How fast the counter runs, in MHz: against the system's clock where that is told, else the
/// estimate of the title; 0 where neither is.
double counterMhz(const Context& context);

/// Clocks of the row in a microsecond. Where a run counts clocks of the core, that is how fast the
/// core ran by the run's context, but for the part of the time that memory takes; 0 where that is
/// not told.
double clockMhz(const Context& context, const Row& row);

/// Bytes read and written an element; 0 where they are not told.
double bytesOf(const Row& row);

/// The row's figure in a unit; none where the run does not tell what it takes.
std::optional<double> figureIn(Unit unit, const Row& row, double mhz);
/// "clocks/px", "ns/px", "GB/s", "Mpx/s".
std::string unitText(Unit unit, const std::string& element);

}  // namespace report
