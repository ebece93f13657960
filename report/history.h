/// @file
/// Figures of many runs in a database: a SQLite file, or PostgreSQL by its URL.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "report/model.h"
#include "report/overtime.h"

namespace report {

/// Several programs may use one database at once: each adds a run as a whole or not at all.
class History {
 public:
  static constexpr int kSchema = 2;
  enum class Added { fresh, alreadyThere, replaced };

  /// Opens the database and brings an older schema up to the present one.
  /// @param place   a file, or
  /// "postgresql://[user[:password]@][host][:port]/name[?option=value&..]"
  /// @param create  make the file when there is none
  /// @throws Error, also for a schema that is newer than this program
  explicit History(const std::string& place, bool create = true, int schema = kSchema);
  ~History();
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  /// A run is known by its machine, settings, keys and start. The same again counts once; one that
  /// has other rows by now, because it was gone on with, takes the place of what was there, unless
  /// it has fewer.
  Added add(const Run& run, const std::string& label);

  /// All runs in the order of their starts.
  std::vector<HistoryRun> runs();
  /// All rows with a figure, with points in the order of `runs`.
  std::vector<HistorySeries> series(const std::vector<HistoryRun>& runs);

 private:
  class Database;
  std::unique_ptr<Database> m_database;
};

/// What PostgreSQL's library takes for a URL: "dbname=x host=y".
/// @throws Error when it is none
std::string postgresOptions(const std::string& url);

}  // namespace report
