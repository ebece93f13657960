/// @file
/// How far a run is, and how long it will still take (key -G).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tzknown.h"

class tzTest;

/// What is left of a run of several passes, told from what is done. Works on any clock.
class tzEstimate {
 public:
  struct Row {
    std::string kind;    ///< rows of one kind take about as long as each other
    double before = -1;  ///< seconds that it took before, with all that belongs to it; -1: not told
  };
  /// Seconds to the end.
  struct Left {
    double about = -1;    ///< -1: nothing tells
    double least = 0;     ///< hardly less
    double most = 0;      ///< and hardly more
    bool isSure = false;  ///< `about` is the figure to show; else rows take too different times
  };

  tzEstimate() = default;
  /// @param rows   of each pass, in their order
  /// @param apart  seconds from the start of a pass to that of the next
  /// @param most   seconds that all passes may take; 0: as long as it takes
  tzEstimate(const std::vector<Row>& rows, int passes, double apart, double most = 0);
  void beginPass(int pass, double now);
  /// Rows before this one will not come any more.
  void goTo(std::size_t row);
  /// A row is done, and all that was before it.
  void rowDone(std::size_t row, double now);
  Left left(double now) const;

 private:
  struct Sum {
    double seconds = 0;
    std::size_t count = 0;
    void add(double more) {
      seconds += more;
      ++count;
    }
    double mean() const { return count > 0 ? seconds / static_cast<double>(count) : 0; }
  };
  struct Entry {
    std::size_t kind = 0;
    double before = -1;
    double took = -1;  // in this pass
  };
  struct Rest {
    double seconds = 0;
    double error = 0;  // standard error
  };
  double usual(const Entry& row) const;
  bool isEarly() const;
  Rest restOfPass(double now) const;
  double wholeRest(double restOfPass, double now) const;

  std::vector<Entry> m_rows;
  std::vector<Sum> m_before;  // by kind
  std::vector<Sum> m_took;    // by kind, in this pass
  Sum m_done;                 // of this pass
  int m_passes = 1;
  double m_apart = 0;
  double m_most = 0;
  int m_pass = 1;
  double m_runBegin = -1;
  double m_begin = 0;  // of the pass
  double m_last = 0;   // when something was done last
  std::size_t m_next = 0;
};

/// The line of a terminal that tells how far the run is. Nothing is written while a function is
/// timed, and nothing anywhere else.
class tzProgress {
 public:
  /// @return false where nothing can show
  static bool enable();
  /// The rows of an earlier run, for the time left.
  static void setTimes(tzKnownRuns times) { s_times = std::move(times); }
  static bool hasTimes() { return !s_times.rows.empty(); }
  /// Forgets times of runs with other settings or keys of measuring than this one's.
  /// @return false when that leaves none
  static bool keepTimesOf(const tzRunFacts& own);

  /// The tests of each pass, in their order.
  static void begin(const std::vector<tzTest*>& tests);
  static void beginTest(const tzTest& test);
  /// Before the data of a row are made: the moment to show something.
  static void beginRow();
  /// Row `number` of the test under way is done, in this process or a child.
  static void rowDone(std::size_t number);
  static void end();

 private:
  struct Test {
    int place = 0;
    std::size_t first = 0;          // of its rows among those of the pass
    std::vector<std::size_t> rows;  // the place of each; of one that is refused, the next one's
  };
  static std::string text(double now);

  static bool s_on;
  static tzKnownRuns s_times;
  static std::map<const tzTest*, Test> s_tests;
  static const tzTest* s_current;
  static int s_pass;
  static tzEstimate s_estimate;
  static double s_begin;
  static double s_shown;
};
