/// @file
/// How often and for how long a run measures: passes over all its tests, and what time they have.
#pragma once

/// The plan of a run, and how far it is. One a process, g_plan; the list of tests moves it on, the
/// method Spread obeys it.
class tzPlan {
 public:
  static constexpr int MOST_PASSES = 100;
  static constexpr double DEFAULT_ROW = 0.3;

  /// @name What is asked for
  /// @{
  int passes = 1;                  ///< over all tests; the last one writes their rows
  double apart = 0;                ///< seconds from the start of one pass to that of the next
  double rowBudget = DEFAULT_ROW;  ///< seconds of sampling a row, over all passes
  double runBudget = 0;            ///< seconds of all passes; 0: as long as it takes
  /// @}

  /// @name Where the run is
  /// @{
  int pass = 1;
  /// Nothing is measured any more: rows are written with what there is.
  bool writesOnly = false;
  /// The passes that a row takes part in: all, but for one that costs more than its time each.
  int passesOf(bool costly) const;
  /// Whether the present pass is one of them.
  bool takesPart(bool costly) const;
  /// Rows are judged and written: no pass comes after this one.
  bool isLast() const { return writesOnly || pass >= passes; }
  /// @}

  /// @name The clock of the run, in seconds from whatever moment
  /// @{
  /// @param rows  that each pass will measure, as far as known
  void beginRun(double now, long long rows);
  void beginPass(int number, double now);
  /// Seconds of sampling for the next row: its part of the budget of a row, or less where the run
  /// has not so much left for the rows that this pass has still to measure.
  double share(double now) const;
  /// A row is done.
  /// @param sampled  seconds of sampling among those since the row before; 0: it took none, so it
  ///                 was none of those to measure
  void rowDone(double now, double sampled);
  /// Whether what passed since the row before is so much that the run cannot afford it in each
  /// pass.
  bool isCostly(double now) const;
  /// Seconds until the next pass may begin.
  double untilNext(double now) const;
  /// @}

 private:
  double m_runBegin = 0;
  double m_passBegin = 0;
  double m_lastDone = 0;
  long long m_rows = 0;
  long long m_doneInPass = 0;
  long long m_done = 0;
  double m_overhead = 0;  // seconds beside sampling, of all rows so far
};

extern tzPlan g_plan;
