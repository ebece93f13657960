// Files of earlier runs that the harness goes on with: read, cut off, read again.
#include <string_view>

#include "memoryfile.h"
#include "tzjsonreader.h"
#include "tzknown.h"
#include "tzresume.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file;
  const std::string text(reinterpret_cast<const char*>(data), size);
  file.put(text);
  tzKnownRuns known;
  if (!tzReadKnownRuns(file.path(), known).empty()) return 0;
  require(known.whole + known.cut == static_cast<long long>(size), "every byte is accounted for");
  for (const tzKnownRow& row : known.rows) {
    require(row.run < known.runs.size() && !row.identity.empty(), "a row is of a run");
  }
  tzJsonReader line;
  for (const char* name : {"keys", "libraries", "name"}) {
    if (line.read(std::string_view(text).substr(0, text.find('\n')))) line.texts(name);
  }
  require(tzResume::open(file.path()).empty(), "what can be read can be gone on with");
  require(static_cast<long long>(file.get().size()) == known.whole, "what was cut off is gone");
  tzKnownRuns again;
  require(tzReadKnownRuns(file.path(), again).empty() && again.cut == 0, "the rest is whole");
  require(again.rows.size() == known.rows.size(), "no row is lost");
  return 0;
}
