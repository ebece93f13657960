// Rows of TIFF images beside plain loops: PackBits byte by byte, and, for what only moves bytes,
// one with the same loads and stores that leaves out the order of bytes.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "benchkit.h"
#include "rkd/rkdjpeg_tiff.h"

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kRow = 2048;  // bytes
constexpr int kRows = 32;
constexpr int kMostPacked = kRow + kRow / 128;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_tiff: %s\n", what);
  std::exit(1);
}

// ---- plain loops ----

// Writes the packets of a row; returns their length. As ours does, it begins a run at three equal
// bytes, or two where no other bytes wait.
int plainPack(const uint8_t* row, int length, uint8_t* to) {
  const auto runAt = [&](int x) {
    int count = 1;
    while (count < 128 && x + count < length && row[x + count] == row[x]) ++count;
    return count;
  };
  int out = 0;
  for (int x = 0; x < length;) {
    const int run = runAt(x);
    if (run >= 2) {
      to[out++] = static_cast<uint8_t>(257 - run);
      to[out++] = row[x];
      x += run;
      continue;
    }
    int end = x + 1;
    while (end < length && end < x + 128 &&
           !(end + 2 < length && row[end] == row[end + 1] && row[end] == row[end + 2])) {
      ++end;
    }
    to[out++] = static_cast<uint8_t>(end - x - 1);
    while (x < end) to[out++] = row[x++];
  }
  return out;
}

int plainUnpack(const uint8_t* packed, uint8_t* row, int length) {
  int in = 0;
  for (int x = 0; x < length;) {
    const int header = packed[in++];
    if (header < 128) {
      for (int i = 0; i <= header; ++i) row[x++] = packed[in++];
    } else if (header > 128) {
      for (int i = 0; i < 257 - header; ++i) row[x++] = packed[in];
      ++in;
    }
  }
  return in;
}

// ---- rows ----

// Scanned drawings: short and long stretches of one shade, and detail between them.
Bytes drawing(std::mt19937& random) {
  Bytes rows;
  while (rows.size() < size_t(kRow) * kRows) {
    const bool run = random() % 3 != 0;
    const unsigned count = run ? 2 + random() % 8 * (random() % 16) : 1 + random() % 24;
    const auto shade = static_cast<uint8_t>(random());
    for (unsigned i = 0; i < count; ++i) {
      rows.push_back(run ? shade : static_cast<uint8_t>(random()));
    }
  }
  rows.resize(size_t(kRow) * kRows);
  return rows;
}

Bytes noise(std::mt19937& random) {
  Bytes rows(size_t(kRow) * kRows);
  for (uint8_t& byte : rows) byte = static_cast<uint8_t>(random());
  return rows;
}

std::function<void()> overRows(const std::function<void(int)>& row) {
  return [row] {
    for (int y = 0; y < kRows; ++y) row(y);
  };
}

struct Wanted {
  double must, aim;
};

void benchPackBits(Table& table, const std::string& what, const Bytes& rows, Wanted unpacking) {
  Bytes packed(size_t(kMostPacked) * kRows), back(rows.size());
  std::vector<int> length(kRows);
  const auto from = [&](int y) { return rows.data() + y * kRow; };
  const auto to = [&](int y) { return packed.data() + y * kMostPacked; };
  const auto pack = [&](int y) {
    length[y] = 0;
    rkdiPackBitsRow_TIFF_8u_C1(from(y), kRow, to(y), kMostPacked, &length[y]);
  };
  const auto unpack = [&](int y) {
    int read = 0, written = 0;
    rkdiUnpackBitsRow_TIFF_8u_C1(to(y), length[y], &read, back.data() + y * kRow, kRow, &written);
  };
  Bytes plain(kMostPacked);
  for (int y = 0; y < kRows; ++y) {
    pack(y);
    require(plainPack(from(y), kRow, plain.data()) == length[y] &&
                std::equal(to(y), to(y) + length[y], plain.data()),
            "the plain loop packs otherwise");
    unpack(y);
  }
  require(back == rows, "rows do not come back");

  const double bytes = double(kRow) * kRows;
  table.run({"PackBitsRow_8u_C1, " + what, "byte", bytes, 1, 0.5, overRows(pack), "plain loop",
             overRows([&](int y) { plainPack(from(y), kRow, to(y)); })});
  table.run({"UnpackBitsRow_8u_C1, " + what, "byte", bytes, unpacking.must, unpacking.aim,
             overRows(unpack), "plain loop",
             overRows([&](int y) { plainUnpack(to(y), back.data() + y * kRow, kRow); })});
}

// From one stretch of memory to two, a cache line to each in turns, and back.
RKD_BENCH_WIDE void plainSplit(const uint8_t* samples, uint8_t* bytes, size_t length) {
  for (size_t x = 0; x < length; x += 64) {
    std::memcpy(bytes + x, samples + 2 * x, 64);
    std::memcpy(bytes + length + x, samples + 2 * x + 64, 64);
  }
}
RKD_BENCH_WIDE void plainJoin(const uint8_t* bytes, uint8_t* samples, size_t length) {
  for (size_t x = 0; x < length; x += 64) {
    std::memcpy(samples + 2 * x, bytes + x, 64);
    std::memcpy(samples + 2 * x + 64, bytes + length + x, 64);
  }
}

void benchSplit(Table& table, const char* where, size_t length) {
  // On cache lines all of them: where malloc puts them decides whether stores cross lines.
  constexpr size_t kLine = 64;
  Bytes memory(4 * length + 2 * kLine);
  const auto aligned = [&](size_t from) {
    const auto at = reinterpret_cast<uintptr_t>(memory.data() + from);
    return memory.data() + from + (kLine - at % kLine) % kLine;
  };
  uint8_t* const samples = aligned(0);
  uint8_t* const split = aligned(2 * length + kLine);
  const auto words = reinterpret_cast<uint16_t*>(samples);
  const int ints = static_cast<int>(length);
  const size_t repeat = std::max<size_t>(1, (1 << 15) / length);
  const auto repeated = [repeat](auto body) {
    return [body, repeat] {
      for (size_t i = 0; i < repeat; ++i) body();
    };
  };
  constexpr const char* kFloor = "floor, same accesses";
  const double all = double(length) * double(repeat);
  table.run({std::string("SplitRow_16u8u_C1, ") + where, "sample", all, 1.5, 1.1,
             repeated([&] { rkdiSplitRow_TIFF_16u8u_C1(words, split, ints); }), kFloor,
             repeated([&] { plainSplit(samples, split, length); })});
  table.run({std::string("JoinRow_8u16u_C1, ") + where, "sample", all, 1.5, 1.1,
             repeated([&] { rkdiJoinRow_TIFF_8u16u_C1(split, words, ints); }), kFloor,
             repeated([&] { plainJoin(split, samples, length); })});
}

}  // namespace

void benchTiff(Table& table) {
  std::mt19937 random(1);
  benchPackBits(table, "drawing", drawing(random), {1, 0.5});
  // Packets of 128 bytes: both loops only move bytes.
  benchPackBits(table, "noise", noise(random), {1.5, 1.1});
  benchPackBits(table, "one shade", Bytes(size_t(kRow) * kRows, 200), {1.5, 1.1});
  benchSplit(table, "first-level cache", 4096);
  benchSplit(table, "second-level cache", 65536);
}

}  // namespace bench
