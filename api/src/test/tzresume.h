/// @file
/// Going on where an earlier run ended (key -J): what its file has already is not measured again.
#pragma once

#include <map>
#include <string>

#include "tzknown.h"

class tzJson;

/// The rows that this run takes from the file that it adds to. One a process.
class tzResume {
 public:
  /// Reads the file, and takes a line without an end off it.
  /// @return empty, or why the file can't be gone on with
  static tzString open(const tzString& path);

  /// Settles which rows count: those measured on this machine with these settings. Tells so on the
  /// console and in the context, which marks the gap. Does nothing without a file.
  static void begin(tzJson& context);

  /// Whether there is such a file, for this run or one that will go on with it.
  static bool isOpen() { return s_opened; }
  /// Whether any row is taken from the file.
  static bool isOn() { return !s_byIdentity.empty(); }
  /// A test begins: each of its rows may be taken again.
  static void beginTest() { s_taken.clear(); }
  /// @return the row, the first, second ... of those with this identity at the first, second ...
  ///         call; null when there is none (left)
  static const tzKnownRow* take(const std::string& identity);

 private:
  static tzKnownRuns s_known;
  static bool s_opened;
  static std::multimap<std::string, const tzKnownRow*> s_byIdentity;
  static std::map<std::string, std::size_t> s_taken;
};
