// Runs a fuzz target over files, whole and cut off after every byte, without a fuzzer.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kCutLimit = 4096;  // larger files are cut within their first bytes only

void runFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  const auto run = [&bytes](std::size_t size) {
    // A copy of exactly this size, so that a sanitizer sees a read beyond it.
    const std::vector<std::uint8_t> copy(bytes.begin(),
                                         bytes.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(copy.data(), copy.size());
  };
  for (std::size_t size = 0; size < std::min(bytes.size(), kCutLimit); ++size) run(size);
  run(bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : fs::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      runFile(entry.path());
      ++files;
    }
  }
  std::printf("%d seeds\n", files);
  return files > 0 ? 0 : 1;
}
