// What the keys of long runs do: parts of a run, going on after an end, how far it is.
#include "tzkeyactions.h"
#include "tzknown.h"
#include "tzostream.h"
#include "tzprogress.h"
#include "tzsession.h"
#include "tzshard.h"

namespace {

using Text = const tzString&;

tzString linesPath(Text arg) {
  return g_session->genOutPath(tzKeyFileName(arg), tzSession::extension(OUT_LINES));
}

bool isComparison() { return g_session->commands().isKey('D') || g_session->commands().isKey('c'); }

tzString refuseComparison() {
  return isComparison() ? "sides are compared as a whole (-D, -c)" : nullptr;
}

}  // namespace

namespace tzkeyaction {

const tzKeyAction shard = {[](Text arg) -> tzString {
                             if (isComparison()) return refuseComparison();
                             return tzShard().parse(arg) ? nullptr : "no part of parts, as 2/4";
                           },
                           [](Text arg) -> tzString {
                             tzShard part;
                             part.parse(arg);
                             tzString told("part ");
                             return told << part.index << " of " << part.count
                                         << " of the selected tests";
                           },
                           [](Text arg, tzSession*) { g_shard.parse(arg); }};

const tzKeyAction resume = {
    [](Text arg) -> tzString {
      if (isComparison()) return refuseComparison();
      if (g_session->commands().isKey('j')) return "results are written to a new file (-j)";
      return g_session->files().conflict(linesPath(arg), tzFiles::WRITTEN, "-J");
    },
    [](Text arg) -> tzString {
      return "rows that " + linesPath(arg) + " lacks are measured and added to it";
    },
    [](Text arg, tzSession* session) {
      session->addOutFile(OUT_LINES, tzKeyFileName(arg), true, "-J");
    }};

// The file of the run before may be the one that this run will write: it is read now.
const tzKeyAction progress = {
    [](Text) -> tzString { return refuseComparison(); },
    [](Text arg) -> tzString {
      return "progress on the terminal, with times of " + linesPath(arg) + " if there are any";
    },
    [](Text arg, tzSession*) {
      if (!tzProgress::enable()) return;
      tzKnownRuns times;
      const tzString path = linesPath(arg);
      tzString reason = tzReadKnownRuns(path, times);
      if (reason.empty() && !times.rows.empty()) return tzProgress::setTimes(std::move(times));
      if (reason.empty()) {
        if (arg.empty()) return;  // the first run of all
        reason = "it has no rows";
      }
      g_ostrm << L_WARN << "-- No times of file " + path + ": " + reason << "\n" << L_END;
    }};

}  // namespace tzkeyaction
