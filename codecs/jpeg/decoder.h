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

/// Reads a sequential scan of all components some rows at a time.
class RowsReader {
 public:
  explicit RowsReader(const ScanJob& job);
  ~RowsReader();
  RowsReader(const RowsReader&) = delete;
  RowsReader& operator=(const RowsReader&) = delete;
  /// @param blocks  receives the rows' units one after the other
  /// @param last    receives where the coefficients of each block end
  void read(int firstRow, int rows, CoefficientBlock* blocks, uint8_t* last);

 private:
  struct Walk;
  std::unique_ptr<Walk> walk_;
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
