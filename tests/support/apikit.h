/// @file
/// What tests of the harness need to watch it: the console's text, and a folder for files.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "capture.h"

/// A folder of its own, removed with all its files at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tazmet_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    m_path = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  tzString path(const std::string& name) const { return tzString((m_path / name).string()); }
  /// Writes a file and returns its path.
  tzString make(const std::string& name, const std::string& contents) const {
    std::ofstream(m_path / name, std::ios::binary) << contents;
    return path(name);
  }
  /// How many files there are.
  int list() const {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator(m_path), {}));
  }
  /// The contents of a file; empty when there is none.
  std::string read(const std::string& name) const {
    std::ifstream file(m_path / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path m_path;
};
