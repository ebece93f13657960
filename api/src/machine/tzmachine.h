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

/// All facts: processor, caches, counter, system, and how busy the machine is now. Measures the
/// counter (some 20 ms) when nobody has yet.
tzFacts tzMachineFacts();
/// Those that the system tells in files, which lie below `root` instead of "/" when it is given.
tzFacts tzSystemFacts(const tzString& root = "");
/// The facts as lines "  name   value", each ended.
tzString tzFactsText(const tzFacts& facts);

/// @name The processors that this process may run on
/// @{
/// Their numbers, in ascending order.
std::vector<int> tzAllowedProcessors();
/// Keeps the process, and the processes that it makes, on one processor.
/// @return false when the system refuses
bool tzPinTo(int processor);
/// @}
