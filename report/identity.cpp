// What figures depend on.
#include "report/identity.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace report {

namespace {

// Keys of the harness that decide how a row is measured, beside its settings.
constexpr std::string_view kMeasuringKeys = "SNTYwXbaCVk";

}  // namespace

std::string machineIdentity(const Context& context) {
  return context.text("computer") + '\n' + context.text("processor");
}

std::string settingsIdentity(const Context& context) {
  std::string text = context.version + '\n' + context.codePath + '\n' + context.timing + '\n' +
                     context.compiler + '\n' + context.buildType + '\n';
  for (const std::string& library : context.libraries) text += library + '\n';
  for (const Named& setting : context.settings) text += setting.name + '=' + setting.value + '\n';
  std::vector<std::string> keys;
  for (const std::string& key : context.keys) {
    if (key.size() > 1 && kMeasuringKeys.find(key[1]) != std::string_view::npos)
      keys.push_back(key);
  }
  std::sort(keys.begin(), keys.end());
  for (const std::string& key : keys) text += key + '\n';
  return text;
}

std::string runIdentity(const Context& context) {
  return machineIdentity(context) + '\n' + settingsIdentity(context);
}

}  // namespace report
