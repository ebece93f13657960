/// @file
/// The pace of the core at one moment: how fast its clock runs beside the counter, and how much of
/// it this thread has. A core changes its clock by some percent within milliseconds, as the load of
/// the others and its temperature allow, and one that has two threads gives each of them about
/// half.
#pragma once

#include <vector>

struct tzPace {
  double rate = 0;   ///< core clocks in a clock of the counter; 0: not known
  double width = 0;  ///< independent additions done in a clock of the core; 0: not known

  /// This moment's; takes some six microseconds.
  static tzPace look();
  /// What lies between two looks: the mean of clocks that are alike but for the counter's steps,
  /// else the faster, because an interrupted look finds a slow one; and the smaller width.
  static tzPace between(const tzPace& first, const tzPace& last);

  /// @name The width of a core that one has alone: the largest that a row of this run had
  /// @{
  /// The width that most of these were near, of those that were not shared: their upper quartile.
  static double typicalWidth(std::vector<double> widths);
  /// Takes the width of a row of this run into account, measured here or by another process of it.
  static void note(double width);
  /// Below this width a core was shared; 0: nothing is known.
  static double sharedBelow();
  /// @}

  /// In place of looking; null: looking.
  static tzPace (*m_pLook)();
  /// The largest width noted.
  static double m_best;
};

/// Additions that wait for one another: one a core clock.
void tzAddInTurn(long count);
