#include "tzconditions.h"

#include "tzsession.h"
#include "tztest.h"

namespace tzcondition {

tzString functionName(const tzTest& test) { return test.funcName(); }

tzString testName(const tzTest& test) { return test.regText(); }

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

namespace {

template <class Plain, class And, class Not, class Equal>
void addCondition(tzString arg, tzSession* session) {
  switch (getCondition(arg)) {
    case CONDITION_PLAIN:
      session->addCondition(new Plain(arg));
      break;
    case CONDITION_AND:
      session->addCondition(new And(arg));
      break;
    case CONDITION_NOT:
      session->addCondition(new Not(arg));
      break;
    case CONDITION_EQUAL:
      session->addCondition(new Equal(arg));
      break;
    default:
      break;  // the key's echo has said that the pattern is empty
  }
}

}  // namespace

void f_apply(const tzString& arg, tzSession* session) {
  addCondition<RunCondition_f, RunCondition_fAnd, RunCondition_fNot, RunCondition_fEqual>(arg,
                                                                                          session);
}

void t_apply(const tzString& arg, tzSession* session) {
  addCondition<RunCondition_t, RunCondition_tAnd, RunCondition_tNot, RunCondition_tEqual>(arg,
                                                                                          session);
}
