/// @file
/// Rows put together for the eye: by function, with sizes side by side.
#pragma once

#include <string>
#include <vector>

#include "report/model.h"

namespace report {

/// Rows that differ in their size alone.
struct SizeLine {
  std::string function;
  std::vector<Named> others;  ///< the parameters besides the size
  std::string unit;
  std::vector<const Row*> rows;  ///< one a size of the section; null where there is none
};

/// Lines of the same sizes.
struct SizeSection {
  std::string parameter;           ///< "ImageSize"; empty for rows without a size
  std::vector<std::string> sizes;  ///< from small to large
  std::vector<SizeLine> lines;     ///< in the order of their first rows
};

/// A line with the sizes that it has.
struct SizedLine {
  std::string parameter;
  SizeLine line;
  std::vector<std::string> sizes;  ///< one a row, from small to large
};

/// Rows into lines, in the order of their first rows. The rows must outlive them.
std::vector<SizedLine> sizedLines(const std::vector<const Row*>& rows);

/// The rows must outlive the sections.
std::vector<SizeSection> groupBySize(const std::vector<const Row*>& rows);

/// The rows in which every word of the filter occurs: in function, parameters, unit or result.
std::vector<const Row*> filtered(const std::vector<Row>& rows, const std::string& filter);
bool passes(const Row& row, const std::string& filter);

}  // namespace report
