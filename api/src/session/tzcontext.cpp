// What a file of JSON Lines says about the run.
#include "tzcontext.h"

#include "tzcache.h"
#include "tzclock.h"
#include "tzenv.h"
#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzmachine.h"
#include "tzmemory.h"
#include "tzregistry.h"
#include "tzreport.h"
#include "tzrequest.h"
#include "tzsettings.h"
#include "tzshard.h"
#include "tztool.h"

namespace {

// Every fact under its name; one that is no number where a number was to be is told in words.
tzJson machine() {
  tzJson object;
  object.put("mhz", tzCpuTicker::getFreq()).put("largest_cache", tzCacheIterator::cacheSize());
  for (const tzFact& fact : tzMachineFacts()) {
    double number = 0;
    number << fact.value;
    if (fact.isNumber && !fact.value.fail()) {
      object.put(fact.name.c_str(), number);
    } else {
      object.put(fact.name.c_str(), fact.value);
    }
  }
  return object;
}

tzJson settings() {
  tzJson object;
  object.put("timing", tzReportTitle::timingText());
  object.put("clock", g_tool.coreClock() && !g_request.compares ? "core" : "counter");
  object.put("accuracy", g_tool.accuracyLimit()).put("time_limit", g_tool.timeLimit());
  object.put("vector_align", VectorAlign).put("vector_shift", VectorShift);
  tzJson presets;
  for (const tzDataItem& preset : g_istrm.presets()) presets.put(preset.name.c_str(), preset.value);
  return object.put("presets", presets);
}

tzJson build() {
  tzJson object;
  object.put("compiler", tzString("g++ ") + __VERSION__);
#if defined(__clang__)
  object = tzJson();
  object.put("compiler", __VERSION__);
#endif
  return object.put("type", TAZMET_BUILD_TYPE);
}

}  // namespace

tzJson tzContextLine(const tzCommandList& keys, const tzTestList& tests) {
  tzJson line;
  line.put("type", "context").put("schema", kTzSchema);
  line.put("program", "tazmet").put("version", TAZMET_VERSION);
  line.put("started", tzIsoTime(tests.startTime)).put("machine", machine());
  tzStringList words;
  for (const tzCommandKey& key : keys) words.push_back(key.word());
  line.putArray("keys", words).put("settings", settings()).put("seed", g_dataSeed);
  line.putArray("libraries", tzLibInfo());
  line.put("code_path", rkd_GetLevelName != nullptr ? rkd_GetLevelName() : "");
  if (g_shard.isOn()) {
    tzJson part;
    part.put("index", g_shard.index).put("count", g_shard.count);
    line.put("part", part.put("tests", g_shard.tests).put("selected", g_shard.selected));
  }
  return line.put("build", build());
}

tzJson tzEndLine(const tzTestList& tests) {
  tzJson line;
  line.put("type", "end").put("ended", tzIsoTime(tests.endTime)).put("tests", tests.total);
  line.put("failures", tests.counts[TZ_FAIL]).put("warnings", tests.counts[TZ_WARNING]);
  const int signal = tzInterrupt::signal();
  if (signal != 0) line.put("signal", tzInterrupt::name(signal));
  return line;
}
