/// @file
/// Builds of the library, or code paths of one, measured side by side (keys -D and -c).
///
/// The program is executed anew for each side, all sides on one processor. For each row the sides
/// are asked in turn for a sample, in an order that turns around with every round, and the ratios
/// of neighbours are judged by tzPairedRatio. All of it is done with several sets of processes,
/// which must agree.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "tzcompare.h"
#include "tzjson.h"
#include "tzside.h"

class tzCommandList;
class tzConditions;

class tzComparison {
 public:
  /// @name What is compared
  /// The first side is what the others are compared with.
  /// @{
  void compareBuilds(const tzString& folder);
  void comparePaths(const tzStringList& processors);
  bool isOn() const { return !m_kinds.empty(); }
  /// @param program  path that the program was called by
  /// @param keys     of this run; those that choose tests, data and library are passed on
  void setCall(const tzString& program, const tzCommandList& keys);
  /// @}

  /// "Gate", a percentage, and "ProcessSets", through g_istrm.
  void readSettings();
  /// Tells on the console what is compared with what.
  void tellSides() const;
  /// Compares all rows of the selected tests; each counts as a test of the list.
  /// @return the exit code: 1 when a row is slower or failed
  int run(tzConditions& conditions);

 private:
  // What there is of one row.
  struct Row {
    tzSideRow facts;
    double elements = 0;
    bool failed = false;
    bool told = false;
    std::vector<std::vector<tzRatio>> ratios;  // of each further side, a set of processes each
    std::vector<double> best;                  // clocks of a call, of each side
    std::vector<tzJson> sets;                  // the rounds, for the file of lines
  };
  using Rounds = std::vector<std::vector<double>>;  // clocks of a call, of each side

  void countRows(tzConditions& conditions);
  bool startSides();
  void endSides();
  void checkLibraries() const;
  void compareRows(int set);
  void compareRow(Row& row);
  bool isDue(const Row& row) const;
  bool isOpen(const Row& row) const;
  bool prepareRow(Row& row, int& calls, int& firstLook);
  bool measureRow(Row& row, int calls, int firstLook, Rounds& rounds);
  bool isResolved(const Rounds& rounds) const;
  void keep(Row& row, const Rounds& rounds, int calls);
  void fail(Row& row, const tzSide& side);
  void reportSettled();
  void report(Row& row) const;
  tzString figures(const Row& row, std::vector<tzAgreement>& agreements) const;
  void reportTable(const Row& row, const std::vector<tzAgreement>& agreements) const;
  void reportLine(const Row& row, const std::vector<tzAgreement>& agreements) const;
  void reportTotals() const;
  double alpha() const;

  std::vector<tzSideKind> m_kinds;
  bool m_paths = false;  // code paths are compared
  tzString m_program;
  tzStringList m_keys;
  double m_gate = 0.01;
  int m_numSets = 3;
  int m_numRows = 0;
  std::vector<std::unique_ptr<tzSide>> m_sides;
  int m_arena = -1;  // memory for the data of all sides
  std::map<tzRowPlace, Row> m_rows;
  mutable int m_totals[4] = {};  // by verdict
  int m_failures = 0;
};
