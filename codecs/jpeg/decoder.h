#pragma once
/// @file
/// What the files of the decoder share.

#include <algorithm>

#include "coder.h"

namespace jpeg {

/// Warnings of a file, each once.
class Warnings {
 public:
  void add(Status status);
  const std::vector<Status>& all() const { return all_; }
  void clear() { all_.clear(); }

 private:
  std::vector<Status> all_;
};

/// The tables of a scan, made when they have changed.
class ScanTables {
 public:
  /// Makes what the scan's components need; standard tables where a file has none.
  Status prepare(const Frame& frame, const Scan& scan, const Tables& tables, Warnings* warnings);
  const DecodeSpec& dc(int slot) const { return *dc_[size_t(slot)]; }
  const DecodeSpec& ac(int slot) const { return *ac_[size_t(slot)]; }

 private:
  struct Made {
    DecodeSpec spec;
    int version = -1;
  };
  Status make(bool isAc, int number, const Tables& tables, Warnings* warnings,
              const DecodeSpec** spec);
  std::array<Made, 4> madeDc_, madeAc_;
  std::array<const DecodeSpec*, kMaxComponents> dc_{}, ac_{};
};

/// What reading a scan needs.
struct ScanJob {
  const Frame* frame = nullptr;
  const Scan* scan = nullptr;
  const ScanTables* tables = nullptr;
  int restartInterval = 0;
  ScanReader* reader = nullptr;
  Warnings* warnings = nullptr;
};

/// Keeps to the restart markers of a scan: which units have data and which have lost theirs.
class IntervalReader {
 public:
  explicit IntervalReader(const ScanJob& job)
      : job_(job), length_(job.restartInterval), left_(length_) {}
  /// Call before each unit. @return true where an interval begins: predictions start anew
  bool begins() {
    if (length_ == 0 || left_-- > 0) return false;
    left_ = length_ - 1;
    nextInterval();
    return true;
  }
  /// Behind it: how many units follow in the same interval, `most` at most. They count as begun.
  int more(int most) {
    if (length_ == 0) return most;
    const int units = std::min(left_, most);
    left_ -= units;
    return units;
  }
  bool hasData() const { return state_ == State::good; }
  /// Whether no interval that follows has data.
  bool hasEnded() const { return state_ == State::ended; }
  /// As at the beginning of an interval that has data.
  void restart() {
    left_ = length_;
    state_ = State::good;
  }
  /// Stands where another one of the same scan does.
  void takeOver(const IntervalReader& other) {
    left_ = other.left_;
    state_ = other.state_;
  }
  /// A unit could not be decoded: the rest of its interval has no data.
  void damage(RkdStatus status);

 private:
  enum class State { good, damaged, skipped, ended };
  void nextInterval();
  const ScanJob& job_;
  int length_, left_;
  State state_ = State::good;
};

/// Reads a sequential scan into coefficients.
Status readSequential(const ScanJob& job, Coefficients* coefficients);
/// Reads one scan of a progressive file.
Status readProgressive(const ScanJob& job, Coefficients* coefficients);
/// Reads the only scan of a sequential file straight into pixels.
Status readBaseline(const ScanJob& job, InversePixels& pixels, RowSink& sink);
/// Transforms a whole picture.
Status inverseAll(const Coefficients& coefficients, InversePixels& pixels, RowSink& sink);

/// Units of a scan that one task reads, counted over the scan.
struct Chunk {
  int64_t first = 0, end = 0;
};

/// Reads a sequential scan of all components some rows at a time. Where restart intervals begin in
/// them, tasks read some each: the first goes on where the rows before have ended, the others begin
/// behind markers that follow one another by their numbers. To such a marker a single walk comes in
/// step, too, whatever stands in front of it: no reader gets past a marker, and the next one is the
/// one that it expects. So blocks and warnings are those of a single walk also where data are
/// damaged.
class RowsReader {
 public:
  /// Where the blocks of some rows go.
  struct Room {
    int firstRow = 0, rows = 0;
    CoefficientBlock* blocks = nullptr;  ///< receives the rows' units one after the other
    uint8_t* last = nullptr;             ///< receives where the coefficients of each block end
  };
  /// @param most  tasks for the rows of a room
  RowsReader(const ScanJob& job, int most);
  ~RowsReader();
  RowsReader(const RowsReader&) = delete;
  RowsReader& operator=(const RowsReader&) = delete;

  /// Makes tasks for the rows that follow. @return ok, noMemory
  Status begin(const Room& room);
  int tasks() const { return int(chunks_.size()); }
  /// Does a task; several threads may do one each.
  void read(int task);
  /// When all are done.
  void end();

 private:
  struct Walk;
  Walk& walkOf(size_t task) const { return *walks_[task]; }

  const ScanJob& job_;
  const size_t most_;
  std::vector<std::unique_ptr<Walk>> walks_;  // first that of the job's reader
  std::vector<Chunk> chunks_;
};

/// What it takes to turn blocks into pixels.
struct InverseJob {
  const Frame* frame = nullptr;
  const std::array<Quantisers, 4>* quantisers = nullptr;
  InverseSetup setup;
};

/// What readBaseline and inverseAll do, by several threads.
Status readBaselineInWaves(const ScanJob& job, const InverseJob& inverse, RowSink& sink,
                           Workers& workers, size_t memoryLimit);
Status inverseAllInBands(const Coefficients& coefficients, const InverseJob& inverse, RowSink& sink,
                         Workers& workers);

/// What to make of lossless samples.
struct LosslessSetup {
  ImageShape image;
  Rect region;    ///< not empty
  int shift = 0;  ///< the point transform
};
/// Samples of a whole picture by component, where scans hold one each.
using LosslessPlanes = std::array<std::vector<int16_t>, kMaxComponents>;

/// @return ok, badScan, losslessSampling
Status checkLosslessScan(const Frame& frame, const Scan& scan);
/// Reads the only scan of a lossless file straight into pixels. The job's interval counts rows.
Status readLossless(const ScanJob& job, const LosslessSetup& setup, RowSink& sink);
/// Reads one of several.
Status readLossless(const ScanJob& job, LosslessPlanes* planes);
Status putPlanes(const LosslessPlanes& planes, const Frame& frame, const LosslessSetup& setup,
                 RowSink& sink);

}  // namespace jpeg
