/// @file
/// Bytes as a file for targets that read files.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz.h"
#include "tzstring.h"

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
