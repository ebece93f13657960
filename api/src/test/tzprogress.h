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
  tzEstimate() = default;
  /// @param work    of one pass: seconds as far as an earlier run tells, else rows
  /// @param known   whether it is seconds
  /// @param apart   seconds from the start of a pass to that of the next
  tzEstimate(double work, bool known, int passes, double apart);
  void beginPass(int pass, double now);
  /// @param work  of the present pass that is done
  void setDone(double work, double now) {
    m_done = work;
    m_last = now;
  }
  /// Seconds to the end; negative while nothing tells.
  double left(double now) const;

 private:
  double m_work = 0;
  int m_passes = 1;
  double m_apart = 0;
  int m_pass = 1;
  double m_begin = 0;
  double m_done = 0;
  double m_last = 0;  // when something was done last
  double m_rate = 0;  // seconds for a unit of work before this pass; 0: not known
};

/// The line of a terminal that tells how far the run is. Nothing is written while a function is
/// timed, and nothing anywhere else.
class tzProgress {
 public:
  /// @return false where nothing can show
  static bool enable();
  /// The rows of an earlier run, for the time left.
  static void setTimes(tzKnownRuns times) { s_times = std::move(times); }

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
    double before = 0;         // work of a pass up to it
    std::vector<double> done;  // work of the test behind each of its rows
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
