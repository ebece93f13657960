// Patterns of function and test names.
#include "tzconditions.h"

#include "tzistream.h"
#include "tzrequest.h"

tzStringList* g_hotList = nullptr;

namespace tzcondition {

bool contains(const tzString& text, const tzString& pattern) { return text.find(pattern) >= 0; }

bool lacks(const tzString& text, const tzString& pattern) { return !contains(text, pattern); }

bool equals(const tzString& text, const tzString& pattern) { return text == pattern; }

}  // namespace tzcondition

tzConditions::~tzConditions() {
  for (RunCondition* condition : *this) delete condition;
}

void tzConditions::add(RunCondition* condition) { push_back(condition); }

bool tzConditions::tobeRun(const tzTest* test) const {
  bool anyAsked = false;
  bool anyHolds = false;
  for (const RunCondition* condition : *this) {
    if (!condition->isAnyOf()) {
      if (!condition->tobeRun(test)) return false;
    } else if (!anyHolds) {
      anyAsked = true;
      anyHolds = condition->tobeRun(test);
    }
  }
  return anyHolds || !anyAsked;
}

int getCondition(tzString& arg) {
  if (arg.empty()) return CONDITION_EMPTY;
  int form = CONDITION_PLAIN;
  switch (arg.c_str()[0]) {
    case '=':
      form = CONDITION_EQUAL;
      break;
    case '+':
      form = CONDITION_AND;
      break;
    case '-':
      form = CONDITION_NOT;
      break;
    default:
      return CONDITION_PLAIN;
  }
  arg = arg.substr(1);
  return arg.empty() ? CONDITION_EMPTY : form;
}

bool RunCondition_ini::tobeRun(const tzTest* test) const {
  return tzIsIniFunction(tzcondition::functionName(*test));
}

bool tzIsIniFunction(const tzString& function) {
  return !g_request.iniFunctionsOnly || g_istrm.hasIniSection(function);
}

int tzRegHotFunction(const tzString& name) {
  if (g_hotList == nullptr) g_hotList = new tzStringList;
  g_hotList->push_back(name);
  return 1;
}

bool tzIsHotFunction(const tzString& name) {
  if (g_hotList == nullptr) return false;
  for (const tzString& hot : *g_hotList) {
    if (hot == name) return true;
  }
  return false;
}
