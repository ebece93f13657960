// Rows that are there already.
#include "tzresume.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "tzjson.h"
#include "tzostream.h"

tzKnownRuns tzResume::s_known;
bool tzResume::s_opened = false;
std::multimap<std::string, const tzKnownRow*> tzResume::s_byIdentity;
std::map<std::string, std::size_t> tzResume::s_taken;

namespace {

// The first fact in which two runs differ; empty: none.
std::string difference(const tzRunFacts& a, const tzRunFacts& b) {
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    if (a[i] != b[i]) return a[i].first;
  }
  return "";
}

}  // namespace

tzString tzResume::open(const tzString& path) {
  tzString reason = tzReadKnownRuns(path, s_known);
  if (!reason.empty()) return reason;
  s_opened = true;
  if (s_known.cut > 0 && truncate(path.c_str(), static_cast<off_t>(s_known.whole)) != 0) {
    return std::strerror(errno);
  }
  return "";
}

void tzResume::begin(tzJson& context) {
  if (!s_opened || (s_known.runs.empty() && s_known.cut == 0)) return;
  const tzRunFacts own = tzReadRunFacts(context.text());
  std::vector<std::string> differences;
  for (const tzRunFacts& run : s_known.runs) differences.push_back(difference(run, own));
  long long others = 0;
  std::set<std::string> reasons;
  std::string last;
  for (const tzKnownRow& row : s_known.rows) {
    const std::string& reason = differences[row.run];
    if (reason.empty()) {
      s_byIdentity.emplace(row.identity, &row);
      last = row.time;
    } else {
      reasons.insert(reason);
      ++others;
    }
  }
  const auto rows = static_cast<long long>(s_byIdentity.size());
  tzJson gap;
  gap.put("rows", rows).put("cut_bytes", s_known.cut).put("other_rows", others);
  if (rows > 0) gap.put("last", tzString(last));
  context.put("resumed", gap);
  g_ostrm << L_PERF << "\n Resumed    : " << rows << " rows are there already";
  if (rows > 0) g_ostrm << ", the last of " << tzString(last);
  g_ostrm << "\n" << L_END;
  if (others == 0) return;
  g_ostrm << L_WARN << "-- " << others << " rows there were measured with other";
  for (const std::string& reason : reasons) g_ostrm << " " << tzString(reason);
  g_ostrm << ": they do not count\n" << L_END;
}

const tzKnownRow* tzResume::take(const std::string& identity) {
  if (!isOn()) return nullptr;
  auto [row, end] = s_byIdentity.equal_range(identity);
  for (std::size_t taken = s_taken[identity]; taken > 0 && row != end; --taken) ++row;
  if (row == end) return nullptr;
  ++s_taken[identity];
  return row->second;
}
