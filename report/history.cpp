// Runs in a database, through the one library that speaks to both.
#include "report/history.h"

#include <soci/soci-config.h>
// Exchange of values of Boost's types is templates that are not used here, and Boost is large.
#undef SOCI_HAVE_BOOST
#include <soci/soci.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "report/error.h"
#include "report/identity.h"
#include "report/text.h"

namespace report {

namespace {

constexpr const char* kScheme = "postgresql://";
// The number of this program's lock among those of a server.
constexpr const char* kServerLock =
    "SELECT count(*) FROM (SELECT pg_advisory_xact_lock(7812431)) AS held";

// What each version of the schema adds to the one before. $ID is a number that counts by itself.
const std::vector<std::vector<const char*>> kVersions = {
    {"CREATE TABLE tazreport_schema (version INTEGER NOT NULL)",
     "INSERT INTO tazreport_schema (version) VALUES (1)",
     "CREATE TABLE tazreport_runs (id $ID, identity TEXT NOT NULL UNIQUE, content TEXT NOT NULL,"
     " alike TEXT NOT NULL, started TEXT NOT NULL, computer TEXT NOT NULL,"
     " processor TEXT NOT NULL, code_path TEXT NOT NULL)",
     "CREATE TABLE tazreport_series (id $ID, row_key TEXT NOT NULL UNIQUE, function TEXT NOT NULL,"
     " parameters TEXT NOT NULL, unit TEXT NOT NULL)",
     "CREATE TABLE tazreport_points (run_id INTEGER NOT NULL, series_id INTEGER NOT NULL,"
     " clocks DOUBLE PRECISION, result TEXT NOT NULL, PRIMARY KEY (run_id, series_id))"},
    {"ALTER TABLE tazreport_runs ADD COLUMN label TEXT NOT NULL DEFAULT ''",
     "CREATE INDEX tazreport_points_series ON tazreport_points (series_id)"},
};

/// A fingerprint of texts, the same on every machine (FNV-1a, twice).
class Fingerprint {
 public:
  Fingerprint& operator<<(const std::string& text) {
    for (const char c : text) add(static_cast<unsigned char>(c));
    add(0);
    return *this;
  }
  std::string text() const { return formatted64(m_first) + formatted64(m_second); }

 private:
  void add(unsigned byte) {
    constexpr uint64_t kPrime = 1099511628211;
    m_first = (m_first ^ byte) * kPrime;
    m_second = (m_second ^ (byte + 1)) * kPrime;
  }
  static std::string formatted64(uint64_t value) {
    std::string text(16, '0');
    for (std::size_t i = 0; i < 16; ++i) text[15 - i] = "0123456789abcdef"[value >> 4 * i & 15];
    return text;
  }
  uint64_t m_first = 14695981039346656037U;
  uint64_t m_second = 7809847782465536322U;
};

std::string identityOf(const Context& context) {
  Fingerprint print;
  print << runIdentity(context) << context.started;
  for (const std::string& key : context.keys) {
    // Whether it was begun or gone on with, and where to, makes no other run.
    if (key.size() > 1 && std::string("jJrRoOG").find(key[1]) == std::string::npos) print << key;
  }
  return print.text();
}

std::string contentOf(const Run& run) {
  Fingerprint print;
  for (const Row& row : run.rows) {
    print << rowKey(row) << resultName(row.result)
          << (row.clocksPerElement ? exactText(*row.clocksPerElement) : "-");
  }
  return print.text();
}

std::string alikeOf(const Context& context) {
  return (Fingerprint() << runIdentity(context)).text();
}

// Names of users and passwords stay out of messages.
std::string nameOf(const std::string& place) {
  const std::size_t at = place.rfind('@');
  return place.starts_with(kScheme) && at != std::string::npos ? kScheme + place.substr(at + 1)
                                                               : place;
}

std::string decodedPart(const std::string& text, const std::string& url) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '%') {
      if (i + 2 >= text.size() || std::isxdigit(static_cast<unsigned char>(text[i + 1])) == 0 ||
          std::isxdigit(static_cast<unsigned char>(text[i + 2])) == 0) {
        throw Error(nameOf(url), "no URL: % without two digits");
      }
      c = static_cast<unsigned char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    }
    if (c <= ' ' || c == '\'' || c == '\\' || c == 0x7F)
      throw Error(nameOf(url), "a blank or quote in it");
    out += static_cast<char>(c);
  }
  return out;
}

// What is no database must not become one by being looked at.
void checkFile(const std::string& place, bool create) {
  if (place.find('"') != std::string::npos) throw Error(place, "a quote in the name");
  if (!std::filesystem::exists(place)) {
    if (!create) throw Error(place, "there is no such history");
    return;
  }
  if (std::filesystem::is_directory(place)) throw Error(place, std::strerror(EISDIR));
  if (!std::filesystem::is_regular_file(place)) throw Error(place, "is no file");
  const std::string signature("SQLite format 3\0", 16);
  std::string begin(signature.size(), '\0');
  errno = 0;
  std::ifstream file(place, std::ios::binary);
  if (!file) throw Error(place, std::strerror(errno));
  file.read(begin.data(), static_cast<std::streamsize>(begin.size()));
  if (file.gcount() == 0) {
    if (!create) throw Error(place, "is empty");
  } else if (begin != signature) {
    throw Error(place, "is no history: not a database of SQLite");
  }
}

// Libraries tell the name of a function of theirs first, and the statement last.
std::string reasonOf(const soci::soci_error& error) {
  std::string reason = error.what();
  reason = reason.substr(0, reason.find('\n'));
  reason = reason.substr(0, reason.find(" while "));
  const std::size_t name = reason.find(": ");
  const bool isFunction = name < reason.find(' ') && reason.find("::") < name;
  return isFunction ? reason.substr(name + 2) : reason;
}

/// The ids of series by their keys, as far as they were read. Nobody takes one away.
class SeriesIds {
 public:
  /// Reads those that came since the last time.
  void update(soci::session& sql) {
    std::string key;
    long long id = 0;
    soci::statement fresh =
        (sql.prepare << "SELECT row_key, id FROM tazreport_series WHERE id > :i", soci::use(m_last),
         soci::into(key), soci::into(id));
    fresh.execute();
    long long last = m_last;
    while (fresh.fetch()) {
      m_ids[key] = id;
      last = std::max(last, id);
    }
    m_last = last;
  }
  /// 0: there is none.
  long long of(const std::string& key) const {
    const auto found = m_ids.find(key);
    return found == m_ids.end() ? 0 : found->second;
  }

 private:
  std::unordered_map<std::string, long long> m_ids;
  long long m_last = 0;
};

}  // namespace

std::string postgresOptions(const std::string& url) {
  std::string rest = url.substr(std::string(kScheme).size());
  std::string options;
  const auto add = [&](const std::string& name, const std::string& value) {
    if (!value.empty())
      options +=
          (options.empty() ? "" : " ") + decodedPart(name, url) + '=' + decodedPart(value, url);
  };
  std::string query;
  if (const std::size_t at = rest.find('?'); at != std::string::npos) {
    query = rest.substr(at + 1);
    rest.resize(at);
  }
  if (const std::size_t at = rest.find('/'); at != std::string::npos) {
    add("dbname", rest.substr(at + 1));
    rest.resize(at);
  }
  if (const std::size_t at = rest.rfind('@'); at != std::string::npos) {
    const std::string who = rest.substr(0, at);
    add("user", who.substr(0, who.find(':')));
    if (who.find(':') != std::string::npos) add("password", who.substr(who.find(':') + 1));
    rest.erase(0, at + 1);
  }
  add("host", rest.substr(0, rest.find(':')));
  if (rest.find(':') != std::string::npos) add("port", rest.substr(rest.find(':') + 1));
  for (const std::string& option : split(query, '&')) {
    const std::size_t at = option.find('=');
    if (at != std::string::npos) add(option.substr(0, at), option.substr(at + 1));
  }
  return options;
}

/// The connection. What it throws names the database.
class History::Database {
 public:
  Database(const std::string& place, bool create) : m_place(place) {
    guarded([&] {
      if (place.starts_with(kScheme)) {
        m_sql.open("postgresql", postgresOptions(place));
        m_sql << "SET client_min_messages TO warning";
        return;
      }
      checkFile(place, create);
      m_sql.open("sqlite3", "db=\"" + place + "\" timeout=60");
    });
  }

  template <class Use>
  void guarded(Use use) {
    try {
      use();
    } catch (const soci::soci_error& error) {
      throw Error(nameOf(m_place), reasonOf(error));
    }
  }

  /// Nobody else writes while `use` does; all of it counts, or nothing.
  template <class Use>
  void alone(Use use) {
    guarded([&] {
      const bool server = m_sql.get_backend_name() == "postgresql";
      m_sql << (server ? "BEGIN" : "BEGIN IMMEDIATE");
      try {
        if (server) {
          int held = 0;
          m_sql << kServerLock, soci::into(held);
        }
        use();
        m_sql << "COMMIT";
      } catch (...) {
        try {
          m_sql << "ROLLBACK";
        } catch (const soci::soci_error&) {
          // The first fault is the one to tell.
        }
        m_series = {};
        throw;
      }
    });
  }

  /// Makes the tables, if it may, and brings older ones up to date. What is as it should be is only
  /// read, since it may lie where nothing can be written.
  void migrate(int schema, bool create) {
    int version = 0;
    guarded([&] { version = presentVersion(); });
    if (version == 0 && !create) throw Error(nameOf(m_place), "holds no history");
    if (version == schema) return;
    alone([&] {
      version = presentVersion();
      if (version > History::kSchema) {
        throw Error(nameOf(m_place),
                    "schema " + std::to_string(version) + " was made by a newer tazreport");
      }
      for (int next = std::max(version, 0); next < schema; ++next) {
        for (const char* statement : kVersions[static_cast<std::size_t>(next)]) {
          m_sql << completed(statement);
        }
      }
      m_sql << "UPDATE tazreport_schema SET version = :v", soci::use(schema);
    });
  }

  soci::session& sql() { return m_sql; }
  /// Up to date while nobody else writes.
  SeriesIds& series() {
    m_series.update(m_sql);
    return m_series;
  }

 private:
  // 0: there are no tables.
  int presentVersion() {
    int count = 0;
    m_sql << (m_sql.get_backend_name() == "postgresql"
                  ? "SELECT count(*) FROM information_schema.tables WHERE table_schema ="
                    " current_schema() AND table_name = 'tazreport_schema'"
                  : "SELECT count(*) FROM sqlite_master WHERE name = 'tazreport_schema'"),
        soci::into(count);
    int version = 0;
    if (count > 0) m_sql << "SELECT version FROM tazreport_schema", soci::into(version);
    return version;
  }

  std::string completed(std::string statement) const {
    const std::size_t at = statement.find("$ID");
    if (at == std::string::npos) return statement;
    const bool server = m_sql.get_backend_name() == "postgresql";
    return statement.replace(at, 3, server ? "SERIAL PRIMARY KEY" : "INTEGER PRIMARY KEY");
  }

  std::string m_place;
  soci::session m_sql;
  SeriesIds m_series;
};

History::History(const std::string& place, bool create, int schema)
    : m_database(std::make_unique<Database>(place, create)) {
  m_database->migrate(schema, create);
}

History::~History() = default;

namespace {

long long idOf(soci::session& sql, const std::string& identity, std::string& content) {
  long long id = 0;
  sql << "SELECT id, content FROM tazreport_runs WHERE identity = :i", soci::use(identity),
      soci::into(id), soci::into(content);
  return id;
}

void insertRun(soci::session& sql, const Context& context, const std::string& identity,
               const std::string& content, const std::string& label) {
  const std::string alike = alikeOf(context);
  const std::string computer = context.text("computer");
  const std::string processor = context.text("processor");
  sql << "INSERT INTO tazreport_runs (identity, content, alike, started, computer, processor,"
         " code_path, label) VALUES (:i, :c, :a, :s, :m, :p, :t, :l)",
      soci::use(identity), soci::use(content), soci::use(alike), soci::use(context.started),
      soci::use(computer), soci::use(processor), soci::use(context.codePath), soci::use(label);
}

void insertSeries(soci::session& sql, const SeriesIds& known, const std::vector<Row>& rows) {
  std::map<std::string, const Row*> fresh;
  for (const Row& row : rows) {
    const std::string key = rowKey(row);
    if (known.of(key) == 0) fresh.emplace(key, &row);
  }
  std::string key;
  std::string function;
  std::string parameters;
  std::string unit;
  soci::statement insert =
      (sql.prepare << "INSERT INTO tazreport_series (row_key, function,"
                      " parameters, unit) VALUES (:k, :f, :p, :u)",
       soci::use(key), soci::use(function), soci::use(parameters), soci::use(unit));
  for (const auto& [rowsKey, row] : fresh) {
    key = rowsKey;
    function = row->function;
    parameters = parametersText(row->parameters);
    unit = row->unit;
    insert.execute(true);
  }
}

// Of rows with one key, which only a doubled value makes, the first counts.
void insertPoints(soci::session& sql, const SeriesIds& ids, long long run,
                  const std::vector<Row>& rows) {
  std::set<long long> done;
  long long series = 0;
  double clocks = 0;
  soci::indicator told = soci::i_ok;
  std::string result;
  soci::statement insert =
      (sql.prepare << "INSERT INTO tazreport_points (run_id, series_id,"
                      " clocks, result) VALUES (:r, :s, :c, :t)",
       soci::use(run), soci::use(series), soci::use(clocks, told), soci::use(result));
  // NOLINTBEGIN(clang-analyzer-deadcode.DeadStores): the statement reads what it was bound to
  for (const Row& row : rows) {
    series = ids.of(rowKey(row));
    if (series == 0 || !done.insert(series).second) continue;
    clocks = row.clocksPerElement.value_or(0);
    told = row.clocksPerElement ? soci::i_ok : soci::i_null;
    result = resultName(row.result);
    insert.execute(true);
  }
  // NOLINTEND(clang-analyzer-deadcode.DeadStores)
}

}  // namespace

History::Added History::add(const Run& run, const std::string& label) {
  const std::string identity = identityOf(run.context);
  const std::string content = contentOf(run);
  Added added = Added::fresh;
  m_database->alone([&] {
    soci::session& sql = m_database->sql();
    std::string before;
    long long id = idOf(sql, identity, before);
    long long rows = 0;
    sql << "SELECT count(*) FROM tazreport_points WHERE run_id = :r", soci::use(id),
        soci::into(rows);
    const bool isLess = static_cast<long long>(run.rows.size()) < rows;
    if (id != 0 && (before == content || isLess)) {
      added = Added::alreadyThere;
      return;
    }
    if (id != 0) {
      added = Added::replaced;
      sql << "DELETE FROM tazreport_points WHERE run_id = :r", soci::use(id);
      sql << "UPDATE tazreport_runs SET content = :c WHERE id = :r", soci::use(content),
          soci::use(id);
    } else {
      insertRun(sql, run.context, identity, content, label);
      id = idOf(sql, identity, before);
    }
    insertSeries(sql, m_database->series(), run.rows);
    insertPoints(sql, m_database->series(), id, run.rows);
  });
  return added;
}

std::vector<HistoryRun> History::runs() {
  std::vector<HistoryRun> runs;
  m_database->guarded([&] {
    HistoryRun run;
    soci::session& sql = m_database->sql();
    soci::statement all =
        (sql.prepare << "SELECT r.id, started, label, computer, processor, code_path, alike,"
                        " (SELECT count(*) FROM tazreport_points p WHERE p.run_id = r.id)"
                        " FROM tazreport_runs r ORDER BY started, r.id",
         soci::into(run.id), soci::into(run.started), soci::into(run.label),
         soci::into(run.computer), soci::into(run.processor), soci::into(run.codePath),
         soci::into(run.alike), soci::into(run.rows));
    all.execute();
    while (all.fetch()) {
      for (std::string* text :
           {&run.started, &run.label, &run.computer, &run.processor, &run.codePath, &run.alike}) {
        *text = cleanText(*text);
      }
      runs.push_back(run);
    }
  });
  return runs;
}

std::vector<HistorySeries> History::series(const std::vector<HistoryRun>& runs) {
  std::map<long long, std::size_t> places;
  for (std::size_t i = 0; i < runs.size(); ++i) places[runs[i].id] = i;
  std::map<std::pair<long long, std::string>, HistorySeries> found;
  m_database->guarded([&] {
    long long id = 0;
    long long run = 0;
    HistorySeries series;
    HistoryPoint point;
    soci::session& sql = m_database->sql();
    soci::statement all =
        (sql.prepare << "SELECT s.id, s.function, s.parameters, s.unit, p.run_id, p.clocks,"
                        " p.result FROM tazreport_points p JOIN tazreport_series s"
                        " ON s.id = p.series_id WHERE p.clocks > 0",
         soci::into(id), soci::into(series.function), soci::into(series.parameters),
         soci::into(series.unit), soci::into(run), soci::into(point.clocks),
         soci::into(point.result));
    all.execute();
    while (all.fetch()) {
      const auto place = places.find(run);
      if (place == places.end()) continue;  // added since
      if (!std::isfinite(point.clocks)) continue;
      point.run = place->second;
      point.result = cleanText(point.result);
      HistorySeries& entry = found[{id, runs[point.run].alike}];
      if (entry.points.empty()) {
        entry = {cleanText(series.function),
                 cleanText(series.parameters),
                 cleanText(series.unit),
                 runs[point.run].alike,
                 {}};
      }
      entry.points.push_back(point);
    }
  });
  std::vector<HistorySeries> all;
  for (auto& [key, series] : found) {
    std::sort(series.points.begin(), series.points.end(),
              [](const HistoryPoint& a, const HistoryPoint& b) { return a.run < b.run; });
    all.push_back(std::move(series));
  }
  std::stable_sort(all.begin(), all.end(), [](const HistorySeries& a, const HistorySeries& b) {
    return a.function < b.function;
  });
  return all;
}

OverTime historyOf(const std::string& place, const std::vector<Run>& runs) {
  std::set<std::string> kinds;
  for (const Run& run : runs) kinds.insert(alikeOf(run.context));
  History history(place, false);
  OverTime all;
  all.runs = history.runs();
  all.series = history.series(all.runs);
  std::erase_if(all.series, [&](const HistorySeries& one) { return !kinds.contains(one.alike); });
  if (all.series.empty()) {
    throw Error(place, "holds no run of the machine and with the settings of " + runs.at(0).file);
  }
  return all;
}

}  // namespace report
