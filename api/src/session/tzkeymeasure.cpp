// What the keys do that decide how a run measures: passes, budgets, processor, watch.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "tzkeyactions.h"
#include "tzmachine.h"
#include "tzparse.h"
#include "tzplan.h"
#include "tzsession.h"
#include "tzwatch.h"

namespace {

using Text = const tzString&;

/// Two plain decimal numbers with a comma between them; the second may be missing.
struct Pair {
  double first = 0;
  double second = 0;
  bool hasSecond = false;
  bool good = false;
};

bool readNumber(const char*& at, double& number) {
  if (*at < '0' || *at > '9') return false;
  char* end = nullptr;
  number = std::strtod(at, &end);
  at = end;
  return true;
}

Pair parsePair(Text arg) {
  Pair pair;
  const char* at = arg.c_str();
  pair.good = readNumber(at, pair.first);
  if (pair.good && *at == ',') {
    ++at;
    pair.hasSecond = pair.good = readNumber(at, pair.second);
  }
  pair.good = pair.good && *at == 0;
  return pair;
}

constexpr double kMostSeconds = 86400;

bool isPasses(const Pair& pair) {
  const auto whole = static_cast<double>(static_cast<long long>(std::min(pair.first, 1e9)));
  return pair.good && pair.first == whole && pair.first >= 1 && pair.first <= tzPlan::MOST_PASSES &&
         pair.second <= kMostSeconds;
}

bool isBudget(const Pair& pair) {
  return pair.good && pair.first > 0 && pair.first <= kMostSeconds && pair.second <= kMostSeconds &&
         (!pair.hasSecond || pair.second > 0);
}

tzString secondsText(double seconds) {
  tzString text;
  return text << seconds << " s";
}

// -1: a text that is no processor, or none that this process may run on.
int parseProcessor(Text arg) {
  const std::vector<int> allowed = tzAllowedProcessors();
  if (allowed.empty()) return -1;
  if (arg.empty()) return allowed.back();
  const Pair number = parsePair(arg);
  if (!number.good || number.hasSecond) return -1;
  for (const int processor : allowed) {
    if (processor == number.first) return processor;
  }
  return -1;
}

// -1 for a word that is no mode.
int parseWatch(Text arg) {
  static const char* const names[] = {"ON", "OFF", "STRICT"};
  static const int modes[] = {tzWatch::ON, tzWatch::OFF, tzWatch::STRICT};
  const int mode = enumValue(arg, modes, names, 3);
  return arg.empty() || arg.fail() ? -1 : mode;
}

}  // namespace

namespace tzkeyaction {

const tzKeyAction passes = {
    [](Text arg) -> tzString { return isPasses(parsePair(arg)) ? nullptr : "no number of passes"; },
    [](Text arg) -> tzString {
      const Pair pair = parsePair(arg);
      tzString told;
      told << static_cast<int>(pair.first) << " passes over all tests";
      if (pair.second > 0) told += tzString(", begun ") + secondsText(pair.second) + " apart";
      return told;
    },
    [](Text arg, tzSession*) {
      const Pair pair = parsePair(arg);
      g_plan.passes = static_cast<int>(pair.first);
      g_plan.apart = pair.second;
    }};

const tzKeyAction budget = {
    [](Text arg) -> tzString { return isBudget(parsePair(arg)) ? nullptr : "no seconds"; },
    [](Text arg) -> tzString {
      const Pair pair = parsePair(arg);
      tzString told = secondsText(pair.first) + " of samples a row";
      if (pair.hasSecond) told += tzString(", ") + secondsText(pair.second) + " for the run";
      return told;
    },
    [](Text arg, tzSession*) {
      const Pair pair = parsePair(arg);
      g_plan.rowBudget = pair.first;
      g_plan.runBudget = pair.second;
    }};

const tzKeyAction pin = {
    [](Text arg) -> tzString {
      return parseProcessor(arg) >= 0 ? nullptr : "not a processor that this process may use";
    },
    [](Text arg) -> tzString {
      tzString told("pinned to processor ");
      return told << parseProcessor(arg);
    },
    [](Text arg, tzSession*) {
      if (tzPinTo(parseProcessor(arg))) return;
      g_ostrm << L_WARN << "-- The system refuses to pin the process\n" << L_END;
    }};

const tzKeyAction watch = {
    [](Text arg) -> tzString {
      return parseWatch(arg) >= 0 ? nullptr : "only ON, OFF or STRICT may follow";
    },
    [](Text arg) -> tzString {
      switch (parseWatch(arg)) {
        case tzWatch::OFF:
          return "runs are not watched";
        case tzWatch::STRICT:
          return "runs are watched strictly";
        default:
          return "runs are watched";
      }
    },
    [](Text arg, tzSession*) { tzWatch::m_mode = static_cast<tzWatch::Mode>(parseWatch(arg)); }};

const tzKeyAction machine = {nullptr, [](Text) -> tzString { return "facts about the machine"; },
                             [](Text, tzSession* session) { session->setFactsOnly(true); }};

}  // namespace tzkeyaction
