// Which runs may be compared.
#include <array>
#include <cmath>

#include "report/compare.h"
#include "report/text.h"

namespace report {

namespace {

constexpr std::array<const char*, 10> kMachine{"processor", "computer", "processors", "cache_l1",
                                               "cache_l2",  "cache_l3", "hypervisor", "smt",
                                               "turbo",     "governor"};
constexpr double kSameCounter = 0.005;

std::string told(const std::string& name, const std::string& first, const std::string& second) {
  return name + " (" + first + " / " + second + ")";
}

std::string machineDifference(const Context& first, const Context& second) {
  for (const char* name : kMachine) {
    const Fact* a = first.fact(name);
    const Fact* b = second.fact(name);
    if (a != nullptr && b != nullptr && a->text != b->text) return told(name, a->text, b->text);
  }
  const double a = first.number("counter_mhz", 0);
  const double b = second.number("counter_mhz", 0);
  if (a > 0 && b > 0 && std::abs(a / b - 1) > kSameCounter) {
    return told("counter_mhz", exactText(a), exactText(b));
  }
  return {};
}

std::string valueOf(const std::vector<Named>& settings, const std::string& name) {
  for (const Named& setting : settings) {
    if (setting.name == name) return setting.value;
  }
  return {};
}

// The first word of the method: passes and budgets make figures surer, not other ones.
std::string methodOf(const Context& context) {
  return context.timing.substr(0, context.timing.find_first_of(", "));
}

}  // namespace

std::string unlike(const Run& first, const Run& second, const std::set<std::string>& parameters) {
  const Context& a = first.context;
  const Context& b = second.context;
  const std::string machine = machineDifference(a, b);
  if (!machine.empty()) return "another machine: " + machine;
  if (a.codePath != b.codePath) return "another " + told("code path", a.codePath, b.codePath);
  if (a.clock != b.clock) return "another " + told("clock", a.clock, b.clock);
  if (a.isTable() || b.isTable()) return {};
  if (methodOf(a) != methodOf(b)) return "another " + told("method", methodOf(a), methodOf(b));
  for (const auto& [one, other] : {std::pair{&a, &b}, {&b, &a}}) {
    for (const Named& setting : one->settings) {
      const std::string value = valueOf(other->settings, setting.name);
      const bool chooses = parameters.contains(setting.name);
      if (!chooses && value != setting.value) {
        return "another setting: " + told(setting.name, valueOf(a.settings, setting.name),
                                          valueOf(b.settings, setting.name));
      }
    }
  }
  return {};
}

}  // namespace report
