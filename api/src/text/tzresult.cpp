// Names and texts of result codes.
#include "tzresult.h"

#include <iterator>

namespace {

struct ResultText {
  const char* name;
  const char* phrase;
};

// Indexed by the code.
constexpr ResultText kResultTexts[] = {
    {"UNDEFINED", "was not run"},
    {"OK", "successfully"},
    {"ACCURWRN", "wrong measure accuracy"},
    {"BADSTSWRN", "modified control status"},
    {"DATAWRN", "test data warning"},
    {"FUNCWRN", "lib function warning"},
    {"WARNING", "warning"},
    {"ACCURFAIL", "accuracy error"},
    {"DATAFAIL", "test data error"},
    {"FUNCFAIL", "lib function error"},
    {"EXCPTFAIL", "exception"},
    {"FAIL", "error"},
};
static_assert(std::size(kResultTexts) == TZ_FAIL + 1);

const ResultText& textOf(tzResult result) {
  static constexpr ResultText unknown = {"UNKNOWN", "unknown result"};
  return result >= TZ_UNDEFINED && result <= TZ_FAIL ? kResultTexts[result] : unknown;
}

}  // namespace

const char* tzResultName(tzResult result) { return textOf(result).name; }

const char* tzResultString(tzResult result) { return textOf(result).phrase; }
