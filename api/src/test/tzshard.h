/// @file
/// One part of the selected tests (key -K), so that several processes or machines share a run.
#pragma once

#include <set>

#include "tzconditions.h"

class tzTestList;

/// Which part of how many, and what that comes to.
struct tzShard {
  static constexpr int MOST = 10000;

  int index = 0;     ///< from 1
  int count = 0;     ///< 0: the run has no parts
  int tests = 0;     ///< of this part
  int selected = 0;  ///< of all parts

  bool isOn() const { return count > 0; }
  /// "2/4".
  /// @return false, with nothing changed, for anything but two numbers 1 <= index <= count <= MOST
  bool parse(const tzString& text);
};

/// The shard of this run.
extern tzShard g_shard;

/// Holds for every `count`-th of the tests that other conditions, -HONLY and -F select, in the
/// order of their names: whatever order they run in, each is in one part.
class RunCondition_shard : public RunCondition {
 public:
  /// Settles the part, and what g_shard tells of it. The start of -F is used up.
  RunCondition_shard(tzTestList& tests, tzConditions& others, tzShard& shard);
  bool tobeRun(const tzTest* test) const override { return m_tests.count(test) != 0; }

 private:
  std::set<const tzTest*> m_tests;
};
