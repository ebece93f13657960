/// @file
/// What is known of the machine that a figure was measured on.
#pragma once

#include <vector>

#include "tzstring.h"

/// One fact: a short name in lower case with underscores, and its value in words.
struct tzFact {
  tzString name;          ///< "counter_step", "governor"
  tzString value;         ///< "26", "performance"; "unknown" where the machine does not tell
  bool isNumber = false;  ///< the value is one decimal number
};

/// In the order in which reports show them.
using tzFacts = std::vector<tzFact>;
