// Tests dealt out like cards.
#include "tzshard.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

#include "tzregistry.h"
#include "tztest.h"

tzShard g_shard;

bool tzShard::parse(const tzString& text) {
  const std::string& words = text.str();
  const char* const end = words.data() + words.size();
  int part = 0;
  int of = 0;
  const auto first = std::from_chars(words.data(), end, part);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != '/') return false;
  const auto second = std::from_chars(first.ptr + 1, end, of);
  if (second.ec != std::errc() || second.ptr != end) return false;
  if (part < 1 || part > of || of > MOST) return false;
  index = part;
  count = of;
  return true;
}

RunCondition_shard::RunCondition_shard(tzTestList& tests, tzConditions& others, tzShard& shard)
    : RunCondition(ALL_OF, "") {
  std::vector<const tzTest*> selected;
  for (const tzTest* test : tests) {
    if (test->tobeRun(others)) selected.push_back(test);
  }
  std::stable_sort(selected.begin(), selected.end(),
                   [](const tzTest* a, const tzTest* b) { return a->compareFunc(b) < 0; });
  // -F in the order of names, as a sorted run has it: parts that ran it by themselves would each
  // look for a test that only one of them has.
  const tzString start = tzTest::m_startFunc;
  tzTest::m_startFunc = "";
  if (!start.empty()) {
    selected.erase(selected.begin(),
                   std::find_if(selected.begin(), selected.end(), [&](const tzTest* test) {
                     return test->funcName().find(start) >= 0;
                   }));
  }
  for (std::size_t i = static_cast<std::size_t>(shard.index - 1); i < selected.size();
       i += static_cast<std::size_t>(shard.count)) {
    m_tests.insert(selected[i]);
  }
  shard.tests = static_cast<int>(m_tests.size());
  shard.selected = static_cast<int>(selected.size());
}
