// Ini files: read, written back, read again.
#include "memoryfile.h"
#include "tzini.h"
#include "tzostream.h"

namespace {

// @return false when the file is no text, and is left as it is
bool rewrite(const MemoryFile& file) {
  const std::string before = file.get();
  tzIniFile ini;
  if (!ini.open(file.path(), true)) {
    require(before.find('\0') != std::string::npos || before.size() > i_stream::MAX_LINE,
            "a text opens");
    require(ini.close() && file.get() == before, "what is no text is left as it is");
    return false;
  }
  for (const tzIniSection& section : ini.sections()) {
    for (const tzIniValue& item : section.values) {
      require(ini.read(section.name, item.key, "") == item.value, "a value is found by its key");
    }
  }
  require(ini.close(), "the file can be written back");
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file;
  g_ostrm.setOutLevel(0);
  file.put(asText(data, size));
  if (!rewrite(file)) return 0;
  const std::string once = file.get();
  rewrite(file);
  require(file.get() == once, "a file written back reads back the same");
  return 0;
}
