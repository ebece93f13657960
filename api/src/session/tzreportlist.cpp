// Functions of the library beside the tests that measure them.
#include "tzreportlist.h"

#include <cctype>
#include <cstdio>
#include <string_view>

#include "tzconditions.h"
#include "tzcstream.h"
#include "tzostream.h"
#include "tzregistry.h"
#include "tzsymbols.h"
#include "tztest.h"

namespace {

// Words in the name of a function that makes, frees, fills or queries what measured functions work
// on, or that is a variant of no interest. A word counts where it stands as a whole: not followed
// by a lower-case letter, so that "Get" is found in "GetSize" but not in "Gettysburg".
constexpr std::string_view kHelperWords[] = {
    "Init",        "Close", "Alloc", "Malloc", "Free", "PutVal",  "RotateCenter",
    "ResizeShift", "Get",   "Get_",  "Set",    "Set_", "DrawText"};

bool holdsWord(std::string_view name, std::string_view word) {
  for (size_t at = name.find(word); at != name.npos; at = name.find(word, at + 1)) {
    const size_t after = at + word.size();
    if (after == name.size() || !std::islower(static_cast<unsigned char>(name[after]))) return true;
  }
  return false;
}

}  // namespace

tzReportList::tzReportList(const tzTestList& tests, tzConditions& conditions, int mode)
    : m_tests(tests), m_conditions(conditions), m_mode(mode) {
  if (m_mode == LIST_TESTS) {
    for (const tzTest* test : m_tests) {
      if (test->tobeRun(m_conditions)) {
        m_entries.push_back({test->funcName(), test->regInfo(), test->source()});
      }
    }
    return;
  }
  createFuncList();
  for (const tzString& name : m_functions) addFunction(name);
}

void tzReportList::createFuncList() {
  tzStringList names;
  tzListExportedFunctions(names, "rkd");
  for (const tzString& name : names) {
    // A test makes a measured function of whatever its name sounds like.
    const bool helper = isHelperFunction(name) && !presentInTestList(name, m_tests);
    (helper ? m_helpers : m_functions).push_back(name);
  }
}

bool tzReportList::presentInTestList(const tzString& name, const tzTestList& tests) {
  for (const tzTest* test : tests) {
    if (test->funcName() == name) return true;
  }
  return false;
}

bool tzReportList::isHelperFunction(const tzString& name) {
  for (const std::string_view word : kHelperWords) {
    if (holdsWord(name.c_str(), word)) return true;
  }
  return false;
}

// A tested function is selected with any of its tests, an untested one by its name alone.
bool tzReportList::isSelected(const tzString& name, bool exists) const {
  if (!exists) {
    const tzTest probe(nullptr, nullptr, nullptr, nullptr, name, "", "");
    return m_conditions.tobeRun(&probe);
  }
  for (const tzTest* test : m_tests) {
    if (test->funcName() == name && test->tobeRun(m_conditions)) return true;
  }
  return false;
}

void tzReportList::addFunction(const tzString& name) {
  const bool exists = presentInTestList(name, m_tests);
  if (exists && m_mode == LIST_UNTESTED) return;
  if (!isSelected(name, exists)) return;
  m_entries.push_back({name, exists ? "yes" : "no", ""});
  ++(exists ? m_numTested : m_numUntested);
}

namespace {

tzString numberText(int number) {
  char text[16];
  std::snprintf(text, sizeof text, "%4d", number);
  return text;
}

tzStringList headings(const tzReportList& report) {
  if (report.mode() == LIST_TESTS) return {"   #", "Function", "Test", "Source"};
  return {"   #", "Function", "Exist"};
}

// Calls line(cells) for the headings and every entry.
template <class Line>
void forEachLine(const tzReportList& report, Line line) {
  line(headings(report));
  int number = 0;
  for (const tzReportListEntry& entry : report.entries()) {
    tzStringList cells = {numberText(++number), entry.function, entry.second};
    if (report.mode() == LIST_TESTS) cells.push_back(entry.source);
    line(cells);
  }
}

}  // namespace

tzOStream& operator<<(tzOStream& os, const tzReportList& report) {
  os << L_PERF << "\n";
  forEachLine(report, [&os](const tzStringList& cells) {
    const char* separator = "";
    for (const tzString& cell : cells) {
      os << separator << cell;
      separator = "\t";
    }
    os << "\n";
  });
  if (report.mode() != LIST_TESTS) {
    os << "\nFunctions with a test: " << report.numTested() << ", without: " << report.numUntested()
       << ", helper functions (not listed): " << report.helpers().count() << "\n";
  }
  return os << L_ENDFLUSH;
}

tzCStream& operator<<(tzCStream& table, const tzReportList& report) {
  if (!table.hasTargets()) return table;
  forEachLine(report, [&table](const tzStringList& cells) {
    for (tzString cell : cells) {
      cell.trim();
      table << cell;
    }
    table << "\n";
  });
  return table;
}
