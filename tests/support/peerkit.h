#pragma once
/// @file
/// Tests in which another program judges our streams: a folder of their own, files of bytes, and
/// commands.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace peerkit {

using Bytes = std::vector<uint8_t>;

/// Skipped where the program is not installed.
class PeerTest : public testing::Test {
 protected:
  explicit PeerTest(const char* program) : m_program(program) {}

  void SetUp() override {
    if (run("command -v " + m_program) != 0) GTEST_SKIP() << m_program << " is not installed";
    std::string name = (std::filesystem::temp_directory_path() / "tazmet.XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    m_folder = name;
  }
  void TearDown() override {
    if (!m_folder.empty()) std::filesystem::remove_all(m_folder);
  }

  std::string file(const char* name) const { return (m_folder / name).string(); }

  void write(const char* name, const Bytes& bytes) const {
    std::ofstream(m_folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  }
  /// Empty when there is no such file.
  Bytes read(const char* name) const {
    std::ifstream in(m_folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  /// Runs the program with these arguments, which make the file `result`; its bytes.
  Bytes made(const std::string& arguments, const char* result) const {
    std::filesystem::remove(m_folder / result);
    const std::string command = m_program + " " + arguments;
    EXPECT_EQ(0, run(command)) << command;
    return read(result);
  }

 private:
  /// The exit code, -1 when there is none. What it prints is dropped.
  static int run(const std::string& command) {
    const int status = std::system((command + " > /dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string m_program;
  std::filesystem::path m_folder;
};

}  // namespace peerkit
