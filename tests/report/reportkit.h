/// @file
/// Files of results made for tests, and the program run on them in memory.
#pragma once

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "report/command.h"
#include "report/error.h"
#include "report/read.h"

namespace reportkit {

/// A folder that ends with the test.
class TempFolder {
 public:
  TempFolder() {
    static std::atomic<int> count = 0;
    m_path = std::filesystem::temp_directory_path() /
             ("tazreport_" + std::to_string(getpid()) + "_" + std::to_string(count++));
    std::filesystem::create_directories(m_path);
  }
  ~TempFolder() { std::filesystem::remove_all(m_path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string file(const std::string& name) const { return (m_path / name).string(); }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name), std::ios::binary) << text;
    return file(name);
  }
  std::string read(const std::string& name) const {
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path m_path;
};

struct Outcome {
  int code = 0;
  std::string out;
  std::string err;
};

inline Outcome run(const std::vector<std::string>& words, int width = 80, bool colour = false) {
  std::ostringstream out;
  std::ostringstream err;
  const int code = report::runProgram(words, {out, err, width, colour});
  return {code, out.str(), err.str()};
}

/// The words of the error that reading gives; empty when it reads well.
inline std::string readingError(const std::string& bytes) {
  try {
    report::readRuns("F", bytes, {});
    return "";
  } catch (const report::Error& error) {
    return error.what();
  }
}

inline const char* const kContext =
    R"({"type":"context","schema":1,"program":"tazmet","version":"1.0.0","started":"2026-11-22T08:00:00Z",)"
    R"("machine":{"mhz":2600,"largest_cache":33554432,"processor":"Test CPU","processors":2,"cache_l1":32768,)"
    R"("cache_l2":1048576,"counter_step":26,"counter_mhz":2500,"governor":"unknown","load":0.5,)"
    R"("system":"Linux","computer":"box"},"keys":["-B","-j"],"settings":{"timing":"spread, passes: 3",)"
    R"("accuracy":0.05,"time_limit":10,"vector_align":0,"vector_shift":0,"presets":{"Method":"Spread"}},)"
    R"("seed":7,"libraries":["librkdi.so.1, 1.0.0"],"code_path":"AVX2","build":{"compiler":"g++","type":"Release"}})"
    "\n";
inline const char* const kEnd =
    R"({"type":"end","ended":"2026-11-22T08:10:00Z","tests":2,"failures":0,"warnings":1})"
    "\n";

/// A row of JSON Lines; `more` are further members, each with a comma before it.
inline std::string row(const std::string& function, const std::string& size, double perElement,
                       const std::string& result = "OK", const std::string& more = "") {
  std::ostringstream text;
  text.precision(17);
  text << R"({"type":"row","function":")" << function << R"(","name":[")" << function
       << R"("],"test":"T//R","source":"src/t","parameters":{"ImageSize":")" << size
       << R"("},"unit":"px","result":")" << result
       << R"(","time":"2026-11-22T08:01:00Z","note":"nLps=4",)"
       << R"("reason":")" << (result == "OK" ? "" : "because") << '"';
  if (perElement > 0) text << ",\"clocks_per_element\":" << perElement;
  text << more << "}\n";
  return text.str();
}

/// The text with one of its parts exchanged where it occurs first.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

/// What the harness compared itself.
inline std::string comparison(const std::string& function) {
  return R"({"type":"comparison","function":")" + function +
         R"(","name":["f"],"test":"t","source":"s","parameters":{"ImageSize":"8x8"},)"
         R"("unit":"px","time":"","elements":1,"side":"A","clocks_per_element":2,"gate":0.01,"others":[)"
         R"({"side":"B","ratio":1.04,"low":null,"high":1.1,"smallest_change":null,"verdict":"slower"}],"sets":[]})"
         "\n";
}

}  // namespace reportkit
