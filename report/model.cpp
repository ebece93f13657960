// Result codes, keys and sizes of rows.
#include "report/model.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace report {

namespace {

struct ResultWords {
  const char* name;
  const char* cure;
};

constexpr std::array<ResultWords, 12> kResults{{
    {"UNDEFINED", "Nothing was measured: the reason says what the function or the library lacks."},
    {"OK", ""},
    {"ACCURWRN", "Quiet the machine (other programs, frequency, a shared core) and run again."},
    {"BADSTSWRN", "Look at the test's data: the function raised floating-point exceptions."},
    {"DATAWRN", "Two rows have the same parameters: take the doubled value from the list."},
    {"FUNCWRN", "The function returned a warning: look up its status."},
    {"WARNING", "Run this row alone with -LINFO and read the message above it."},
    {"ACCURFAIL",
     "The run was too short to be told by the counter: take larger data or more calls."},
    {"DATAFAIL", "The test data could not be made: check sizes, -d, the ini-file and memory."},
    {"FUNCFAIL", "The function failed or its output is wrong: run it alone with -V."},
    {"EXCPTFAIL", "The test crashed: try another build, or another code path with -T."},
    {"FAIL", "An internal problem: please report it with the output of -LTRACE."},
}};

}  // namespace

const char* resultName(Result result) { return kResults[static_cast<std::size_t>(result)].name; }

const char* resultCure(Result result) { return kResults[static_cast<std::size_t>(result)].cure; }

std::optional<Result> resultOf(const std::string& name) {
  for (std::size_t i = 0; i < kResults.size(); ++i) {
    if (name == kResults[i].name) return static_cast<Result>(i);
  }
  return std::nullopt;
}

const Fact* Context::fact(const std::string& name) const {
  const auto found = std::find_if(machine.begin(), machine.end(),
                                  [&](const Fact& fact) { return fact.name == name; });
  return found == machine.end() ? nullptr : &*found;
}

std::string Context::text(const std::string& name) const {
  const Fact* found = fact(name);
  return found == nullptr ? std::string() : found->text;
}

double Context::number(const std::string& name, double otherwise) const {
  const Fact* found = fact(name);
  return found == nullptr ? otherwise : found->number.value_or(otherwise);
}

std::string parametersText(const std::vector<Named>& parameters) {
  std::string text;
  for (const Named& parameter : parameters) {
    if (!text.empty()) text += ' ';
    text += parameter.name + '=' + parameter.value;
  }
  return text;
}

// Names and values hold no control characters, so a line end parts them.
std::string rowKey(const Row& row) {
  std::vector<std::string> parts;
  for (const Named& parameter : row.parameters) {
    parts.push_back(parameter.name + '\n' + parameter.value);
  }
  std::sort(parts.begin(), parts.end());
  std::string key = row.function;
  for (const std::string& part : parts) key += '\n' + part;
  return key;
}

std::optional<double> sizeOf(const std::string& value) {
  double product = 1;
  const char* at = value.data();
  const char* const end = at + value.size();
  while (true) {
    uint32_t extent = 0;
    const auto [next, fault] = std::from_chars(at, end, extent);
    if (fault != std::errc{} || extent == 0) return std::nullopt;
    product *= extent;
    if (next == end) return product;
    if (*next != 'x') return std::nullopt;
    at = next + 1;
  }
}

std::string sizeParameter(const Row& row) {
  const auto isSize = [](const Named& parameter) {
    std::string name = parameter.name;
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return (name.ends_with("size") || name == "length") && sizeOf(parameter.value);
  };
  const auto found = std::find_if(row.parameters.begin(), row.parameters.end(), isSize);
  if (found != row.parameters.end()) return found->name;
  // A table without names of parameters: the first that reads as an extent.
  const auto extent =
      std::find_if(row.parameters.begin(), row.parameters.end(), [](const Named& parameter) {
        return parameter.value.find('x') != std::string::npos && sizeOf(parameter.value);
      });
  return extent == row.parameters.end() ? std::string() : extent->name;
}

}  // namespace report
