// The facts about the machine that figures depend on.
#include "tzmachine.h"

#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "tzclock.h"
#include "tzcounter.h"
#include "tzcpuinfo.h"

namespace {

constexpr const char* kUnknown = "unknown";

tzString words(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

tzFact number(const char* name, const char* format, double value) {
  return {name, words(format, value), true};
}

// The first line of a file; empty when there is none.
std::string firstLine(const tzString& path) {
  std::ifstream file(path.c_str());
  std::string line;
  std::getline(file, line);
  return line;
}

// What a file says, in the words of a table; what it does not list is unknown.
tzString told(const std::string& line,
              std::initializer_list<std::pair<const char*, const char*>> meanings) {
  for (const auto& [written, meaning] : meanings) {
    if (line == written) return meaning;
  }
  return kUnknown;
}

// "always [madvise] never": the word in brackets is in force.
tzString bracketed(const std::string& line) {
  const size_t open = line.find('[');
  const size_t close = line.find(']');
  if (open == std::string::npos || close == std::string::npos || close < open) return kUnknown;
  return line.substr(open + 1, close - open - 1);
}

// A vendor that names itself in three registers; empty: no hypervisor.
tzString hypervisor() {
  constexpr uint32_t present = 1U << 31;
  const tzCpuid& cpu = tzThisCpu();
  if (!cpu || (cpu(1, 0).ecx & present) == 0) return "none";
  const tzCpuidRegs regs = cpu(0x40000000, 0);
  std::string name;
  for (const uint32_t part : {regs.ebx, regs.ecx, regs.edx}) {
    for (int byte = 0; byte < 4; ++byte) {
      const char letter = static_cast<char>(part >> (8 * byte));
      if (letter > ' ' && letter <= '~') name += letter;
    }
  }
  return name.empty() ? tzString("present") : tzString(name);
}

tzString invariantCounter() {
  const tzCpuid& cpu = tzThisCpu();
  if (!cpu || cpu(0x80000000, 0).eax < 0x80000007) return kUnknown;
  return (cpu(0x80000007, 0).edx & (1U << 8)) != 0 ? "yes" : "no";
}

void addCaches(tzFacts& facts) {
  tzCacheLevel levels[8];
  const int count = tzGetCacheLevels(levels, 8);
  for (int i = 0; i < count; ++i) {
    if (levels[i].kind == tzCacheLevel::CODE) continue;
    tzString name("cache_l");
    name << levels[i].level;
    facts.push_back({name, words("%.0f", static_cast<double>(levels[i].size)), true});
  }
}

void addCounter(tzFacts& facts) {
  const tzCounterFacts& counter = tzCounter();
  facts.push_back({"counter_invariant", invariantCounter()});
  facts.push_back(number("counter_step", "%.0f", static_cast<double>(counter.step)));
  facts.push_back(number("counter_cost", "%.0f", static_cast<double>(counter.cost)));
  facts.push_back(number("counter_mhz", "%.1f", counter.mhz));
  facts.push_back(number("core_clocks_a_counter_clock", "%.3f", counter.coreClocks));
  facts.push_back(number("core_mhz", "%.0f", counter.coreClocks * counter.mhz));
  if (tzCpuTicker::hasFreq()) facts.push_back(number("title_mhz", "%.0f", tzCpuTicker::getFreq()));
}

tzString allowedText() {
  tzString text;
  for (const int processor : tzAllowedProcessors()) {
    if (!text.empty()) text += " ";
    text << processor;
  }
  return text.empty() ? tzString(kUnknown) : text;
}

}  // namespace

tzFacts tzSystemFacts(const tzString& root) {
  const tzString cpus = root + "/sys/devices/system/cpu/";
  tzFacts facts;
  const std::string governor = firstLine(cpus + "cpu0/cpufreq/scaling_governor");
  facts.push_back({"governor", governor.empty() ? tzString(kUnknown) : tzString(governor)});
  const std::string noTurbo = firstLine(cpus + "intel_pstate/no_turbo");
  facts.push_back({"turbo", noTurbo.empty() ? told(firstLine(cpus + "cpufreq/boost"),
                                                   {{"1", "on"}, {"0", "off"}})
                                            : told(noTurbo, {{"0", "on"}, {"1", "off"}})});
  facts.push_back({"smt", told(firstLine(cpus + "smt/active"), {{"1", "on"}, {"0", "off"}})});
  facts.push_back(
      {"huge_pages", bracketed(firstLine(root + "/sys/kernel/mm/transparent_hugepage/enabled"))});
  tzString load, rest;
  tzString(firstLine(root + "/proc/loadavg")).parse(load, rest, " ");
  facts.push_back({"load", load.empty() ? tzString(kUnknown) : load, !load.empty()});
  return facts;
}

tzFacts tzMachineFacts() {
  tzFacts facts;
  facts.push_back({"processor", tzCpuName()});
  facts.push_back(number("processors", "%.0f", tzGetNumOfProcessors()));
  facts.push_back({"processors_allowed", allowedText()});
  facts.push_back({"hypervisor", hypervisor()});
  addCaches(facts);
  addCounter(facts);
  for (const tzFact& fact : tzSystemFacts()) facts.push_back(fact);
  facts.push_back({"system", tzOS().c_str()});
  facts.push_back({"computer", tzHost().c_str()});
  return facts;
}

tzString tzFactsText(const tzFacts& facts) {
  int width = 0;
  for (const tzFact& fact : facts) width = std::max(width, fact.name.length());
  tzString text;
  for (const tzFact& fact : facts) {
    tzString name = fact.name;
    name.resize(width);
    text += tzString(" ") + name + "  " + fact.value + "\n";
  }
  return text;
}

std::vector<int> tzAllowedProcessors() {
  std::vector<int> numbers;
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) != 0) return numbers;
  for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
    if (CPU_ISSET(processor, &set)) numbers.push_back(processor);
  }
  return numbers;
}

bool tzPinTo(int processor) {
  if (processor < 0 || processor >= CPU_SETSIZE) return false;
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(processor, &set);
  return sched_setaffinity(0, sizeof set, &set) == 0;
}
