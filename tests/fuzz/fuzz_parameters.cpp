// Parameter definitions: value lists, ranges, names. The first byte, P to Y, chooses the kind of
// parameter.
#include <array>
#include <memory>

#include "fuzz.h"
#include "tziterator.h"

namespace {

constexpr int kMaxValues = 300;  // some ranges never end

template <class Parm>
bool define(Parm& parm, const tzString& text) {
  const tzString before = parm.defaultString();
  try {
    parm.translate(text);
    return true;
  } catch (const tzException& e) {
    require(parm.defaultString() == before, "a refused definition leaves the one before");
    require(*e.msg() != 0, "a refusal has a message");
    return false;
  }
}

template <class Parm>
void walk(Parm& parm) {
  bool more = parm.firstValue();
  for (int i = 0; more && i < kMaxValues; ++i) {
    parm.valueString();
    more = parm.nextValue();
  }
  parm.description();
  parm.prompt();
}

/// Makes parameters with `make`. What a parameter says of itself must define an equal one.
template <class Make>
void exercise(const tzString& text, Make make) {
  auto parm = make();
  if (!define(*parm, text)) return;
  walk(*parm);
  const tzString form = parm->defaultString();
  auto again = make();
  require(define(*again, form), "a definition written is accepted");
  require(again->defaultString() == form, "a definition written reads back the same");
}

template <class Parm>
std::unique_ptr<Parm> plain() {
  return std::make_unique<Parm>("parm");
}

template <class Parm>
std::unique_ptr<Parm> named() {
  auto parm = std::make_unique<Parm>("mode");
  (*parm)["zero"] = 0;
  (*parm)["near"] = 1;
  (*parm)["nearest even"] = 2;
  (*parm)["-5"] = 3;
  return parm;
}

std::unique_ptr<tzEnumIterator<int>> enumerated() {
  auto parm = std::make_unique<tzEnumIterator<int>>("quality");
  for (const int value : {1, 50, 100}) parm->addValidation(value);
  return parm;
}

// A value list of three whose last is negative reads back as a range, so only ranges must.
void range(const tzString& text) {
  tzStepIterator<int> parm("len");
  if (!define(parm, text)) return;
  walk(parm);
  if (parm.isRange()) exercise(parm.defaultString(), plain<tzStepIterator<int>>);
}

// Quotes in texts are not kept as they are, so texts are only walked.
void texts(const tzString& text) {
  tzIterator<tzString> parm("file");
  if (define(parm, text)) walk(parm);
}

using Exercise = void (*)(const tzString&);
constexpr std::array<Exercise, 10> kExercises = {
    range,
    [](const tzString& text) { exercise(text, plain<tzIterator<int>>); },
    [](const tzString& text) { exercise(text, plain<tzIterator<double>>); },
    [](const tzString& text) { exercise(text, plain<tzIterator<RkdiSize>>); },
    [](const tzString& text) { exercise(text, plain<tzDefault<bool>>); },
    [](const tzString& text) { exercise(text, enumerated); },
    [](const tzString& text) { exercise(text, named<tzMapIterator<int>>); },
    [](const tzString& text) { exercise(text, named<tzHMapIterator<int>>); },
    [](const tzString& text) { exercise(text, named<tzMapDefault<int>>); },
    texts,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  kExercises[data[0] % kExercises.size()](asText(data + 1, size - 1));
  return 0;
}
