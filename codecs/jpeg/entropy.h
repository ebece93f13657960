#pragma once
/// @file
/// The library's Huffman coders as scans use them: tables, a writer that drains into a sink, a
/// reader that gets over markers and damage.

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "jpeg.h"
#include "rkd/rkdjpeg_huffman.h"

namespace jpeg {

/// Memory for an object of the library whose size a function tells. It is no owner as base/owner.h
/// has them: it is asked for once while objects are made in it again and again, and where there is
/// none that is a status here, and no exception.
class Object {
 public:
  using GetSize = RkdStatus (*)(int*);
  explicit Object(GetSize getSize) : getSize_(getSize) {}
  /// Null when there is no memory.
  void* get();

 private:
  GetSize getSize_;
  std::unique_ptr<uint64_t[]> memory_;
};

class EncodeSpec {
 public:
  Status init(const HuffmanTable& table);
  const RkdiEncodeHuffmanSpec* get() const { return spec_; }

 private:
  Object object_{&rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u};
  const RkdiEncodeHuffmanSpec* spec_ = nullptr;
};

class DecodeSpec {
 public:
  /// @return ok, badHuffmanTable, noMemory
  Status init(const HuffmanTable& table);
  const RkdiDecodeHuffmanSpec* get() const { return spec_; }

 private:
  Object object_{&rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u};
  const RkdiDecodeHuffmanSpec* spec_ = nullptr;
};

/// How often each symbol occurs.
using Statistics = std::array<int, 256>;
/// The shortest table for them.
HuffmanTable optimalTable(const Statistics& statistics);

/// A sink that counts, and collects small pieces.
class Output {
 public:
  /// What one MCU may take: ten blocks of 64 values with the longest codes, every byte stuffed.
  static constexpr int kRoom = 8192;
  static constexpr int kBuffer = 64 * 1024;

  explicit Output(ByteSink* sink) : sink_(sink), buffer_(kBuffer) {}
  Status write(std::span<const uint8_t> bytes);
  /// At least kRoom free bytes.
  Status makeRoom() { return kBuffer - position < kRoom ? drain() : Status::ok; }
  Status drain();
  /// @param number  0 first
  Status restartMarker(int number);
  size_t written() const { return written_ + size_t(position); }
  uint8_t* buffer() { return buffer_.data(); }

  int position = 0;

 private:
  ByteSink* sink_;
  std::vector<uint8_t> buffer_;
  size_t written_ = 0;
};

/// An output in memory, to be moved to where its bytes belong.
class MemoryOutput {
 public:
  MemoryOutput() = default;
  MemoryOutput(const MemoryOutput&) = delete;
  MemoryOutput& operator=(const MemoryOutput&) = delete;
  Output output{&made_};
  /// Everything; until more is written.
  std::span<const uint8_t> bytes() {
    (void)output.drain();  // into memory
    return made_.bytes;
  }
  void clear() { made_.bytes.clear(); }
  /// Empties it.
  Status moveTo(Output& to);

 private:
  ByteVector made_;
};

/// The entropy-coded data of one scan being written.
class ScanWriter {
 public:
  explicit ScanWriter(Output* output) : output_(output) {}
  /// @param restarts  markers of the scan before what it writes
  Status start(int restarts = 0);

  /// Call makeRoom of the output before every MCU.
  RkdStatus block(const int16_t* block, int* previousDC, const EncodeSpec& dc,
                  const EncodeSpec& ac) {
    return rkdiEncodeHuffman8x8_JPEG_16s1u_C1(block, output_->buffer(), Output::kBuffer,
                                              &output_->position, previousDC, dc.get(), ac.get(),
                                              state_, 0);
  }
  /// What a record tells of a block.
  RkdStatus record(const uint16_t* records, int length, int* at, const EncodeSpec& dc,
                   const EncodeSpec& ac) {
    return rkdiEncodeHuffmanRecord_JPEG_16u1u_C1(records, length, at, output_->buffer(),
                                                 Output::kBuffer, &output_->position, dc.get(),
                                                 ac.get(), state_);
  }
  RkdiEncodeHuffmanState* state() { return state_; }
  Output& output() { return *output_; }
  /// Fills the last byte; AC scans of progressive files go through their own flush first.
  Status flush();
  /// Ends an interval.
  Status restart();

 private:
  Output* output_;
  Object object_{&rkdiEncodeHuffmanStateGetBufSize_JPEG_8u};
  RkdiEncodeHuffmanState* state_ = nullptr;
  int restarts_ = 0;
};

/// Where a scan's data stand behind an interval.
enum class Resync { inStep, lost, end };

/// What the blocks of a scan's units are coded with.
struct UnitTables {
  int count = 0;  ///< blocks in a unit
  std::array<uint8_t, RKD_HUFFMAN_UNIT_BLOCKS> slot{};
  std::array<const RkdiDecodeHuffmanSpec*, 4> dc{}, ac{};  ///< by slot
};

/// The entropy-coded data of one scan being read.
class ScanReader {
 public:
  /// @param from  first entropy-coded byte
  Status start(std::span<const uint8_t> file, size_t from);
  /// Begins in another reader's file.
  /// @param place     behind a restart marker, in the file
  /// @param restarts  markers up to there
  Status startBehind(const ScanReader& reader, size_t place, int restarts);

  /// Reads units of a sequential scan.
  /// @param dst      receives their blocks one after the other
  /// @param last     receives where the coefficients of each end, in zigzag order
  /// @param decoded  receives how many blocks came before one that could not be read
  RkdStatus units(int16_t* dst, uint8_t* last, int units, const UnitTables& tables, int* previousDC,
                  int* decoded) {
    return rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(
        stream_, length_, &position_, dst, last, units, tables.slot.data(), tables.count,
        previousDC, &marker_, tables.dc.data(), tables.ac.data(), state_, decoded);
  }
  // For the other coders.
  const uint8_t* stream() const { return stream_; }
  int length() const { return length_; }
  int* position() { return &position_; }
  int* marker() { return &marker_; }
  RkdiDecodeHuffmanState* state() { return state_; }

  /// Between rows: keeps positions of long files small.
  void rebase();
  /// Behind an interval: finds the restart marker that belongs there.
  /// - inStep: the next interval can be read; `*isClean` tells whether its marker stood in place;
  /// - lost: the marker found is that of a later interval, the next one has no data;
  /// - end: no more restart markers.
  Resync restart(bool* isClean);
  /// Restart markers that were expected so far, there or not.
  int restarts() const { return restarts_; }
  /// Places in the file behind the next restart markers: at most `count`, and none from the first
  /// marker on that is not the one expected there.
  std::vector<size_t> restartsAhead(int count) const;
  /// Place in the file behind the entropy-coded data: the next marker that is no restart.
  size_t end() const;
  /// Whether the data have ended, with no marker behind them, for want of bytes.
  bool isOutOfData() const;

 private:
  size_t offset() const { return size_t(stream_ - file_.data()); }
  /// The next marker at or behind the position: its code, or -1; `*at` receives its place.
  int findMarker(int from, int* at) const;

  std::span<const uint8_t> file_;
  const uint8_t* stream_ = nullptr;
  int length_ = 0, position_ = 0, marker_ = 0;
  int restarts_ = 0;
  Object object_{&rkdiDecodeHuffmanStateGetBufSize_JPEG_8u};
  RkdiDecodeHuffmanState* state_ = nullptr;
};

}  // namespace jpeg
