/// @file
/// What each key does: refuses unusable arguments, tells what it will do, does it.
#pragma once

#include "tzstring.h"

class tzSession;

/// The three operations of one key. Each sees the argument with its sign.
struct tzKeyAction {
  /// Empty for a usable argument, else the reason after "ignored: ". A null pointer refuses none.
  tzString (*refuse)(const tzString& arg);
  /// The line echoed for a usable argument.
  tzString (*tell)(const tzString& arg);
  void (*apply)(const tzString& arg, tzSession* session);
};

/// The name in a file key's argument, before which "=" may stand.
tzString tzKeyFileName(const tzString& arg);

/// Apply functions of the keys -f and -t: add the condition that `arg` describes to the session.
void f_apply(const tzString& arg, tzSession* session);
void t_apply(const tzString& arg, tzSession* session);

namespace tzkeyaction {
extern const tzKeyAction batch, ask, preset, iniRead, iniWrite, iniFunctions, text, textAppend,
    level, results, resultsAppend, names, namesOnly, summary, summaryAppend, signalFile,
    defaultName, inDir, outDir, functions, tests, startFunction, priority, hot, cpu, threads,
    dataUse, cache, sorting, enumerate, version, help, hiddenHelp, memory, verify, insist, children,
    lines, builds, paths, passes, budget, pin, watch, machine, shard, resume, progress;
}  // namespace tzkeyaction
