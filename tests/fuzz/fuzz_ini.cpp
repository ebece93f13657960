// Ini files: read, written back, read again.
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz.h"
#include "tzini.h"
#include "tzostream.h"

namespace {

/// A file in memory that has a path.
class MemoryFile {
 public:
  MemoryFile() : m_file(memfd_create("fuzz", 0)) { require(m_file >= 0, "there is memory"); }
  ~MemoryFile() { close(m_file); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  tzString path() const { return tzString("/proc/self/fd/") << m_file; }
  void put(const std::string& text) const {
    require(ftruncate(m_file, 0) == 0, "the file can be emptied");
    const ssize_t written = pwrite(m_file, text.data(), text.size(), 0);
    require(written == static_cast<ssize_t>(text.size()), "the file can be written");
  }
  std::string get() const {
    std::string text(static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)), '\0');
    require(pread(m_file, text.data(), text.size(), 0) >= 0, "the file can be read");
    return text;
  }

 private:
  int m_file;
};

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
