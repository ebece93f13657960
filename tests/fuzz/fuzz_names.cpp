// Function names. Up to three lines are names: each is asked everything, and all must have an
// order.
#include <vector>

#include "fuzz.h"
#include "rkfunc.h"

namespace {

void askEverything(const rkFunc& func) {
  tzString base, types, descr;
  func.parseFunction(base, types, descr);
  tzString joined = func.prefix() + base;
  if (!types.empty()) joined += "_" + types;
  require(tzString(func).find(joined) == 0, "the pieces are the name");
  require(types.empty() == (endOfBase(func) < 0), "a base that ends is followed by a type");

  for (int n = 0; n <= 4; ++n) {
    require(func.type(n) == rkUndef || typeToString(func.type(n)) != "undef", "types have texts");
  }
  for (const rkArg arg : {rkSrc, rkSrc2, rkDst, rkDst2}) {
    elementSize(func.type(arg));
    const int channels = func.channels(arg);
    require(channels >= 0 && channels <= 4, "there are at most four channels");
    require(!func.alpha(arg) || !func.channelsName(arg > rkSrc2 ? 2 : 1).empty(),
            "alpha belongs to a channel code");
    func.plane(arg);
  }
  for (int operand = 0; operand <= 3; ++operand) func.rkdChannels(operand);
  func.coi();
}

int sign(int difference) { return (difference > 0) - (difference < 0); }

// What sorting relies on.
void checkOrder(const rkFunc& a, const rkFunc& b, const rkFunc& c) {
  require(a.compare(a) == 0, "a name equals itself");
  require(sign(a.compare(b)) == -sign(b.compare(a)), "two names compare alike from both sides");
  if (a.compare(b) <= 0 && b.compare(c) <= 0) require(a.compare(c) <= 0, "the order is one line");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tzStringList lines;
  tzString(asText(data, size)).parse(lines, "\n\"");
  std::vector<rkFunc> names;
  for (const tzString& line : lines) names.emplace_back(line.c_str());
  names.resize(3);
  for (const rkFunc& name : names) askEverything(name);
  for (int first = 0; first < 6; ++first) {
    const std::size_t i = static_cast<std::size_t>(first) % 3;
    const std::size_t next = first < 3 ? 1 : 2;
    checkOrder(names[i], names[(i + next) % 3], names[(i + 2 * next) % 3]);
  }
  return 0;
}
