// Ini files: read, written back, read again.
#include "memoryfile.h"
#include "tzini.h"
#include "tzostream.h"

namespace {

void rewrite(const MemoryFile& file) {
  tzIniFile ini;
  require(ini.open(file.path(), true), "the file opens");
  for (const tzIniSection& section : ini.sections()) {
    for (const tzIniValue& item : section.values) {
      require(ini.read(section.name, item.key, "") == item.value, "a value is found by its key");
    }
  }
  require(ini.close(), "the file can be written back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file;
  g_ostrm.setOutLevel(0);
  file.put(asText(data, size));
  rewrite(file);
  const std::string once = file.get();
  rewrite(file);
  require(file.get() == once, "a file written back reads back the same");
  return 0;
}
