// Reading sequential scans: straight into pixels, or into coefficients.
#include <cstring>

#include "decoder.h"

namespace jpeg {

void IntervalReader::damage(RkdStatus status) {
  const bool isShort = status == rkdStsSrcEndErr && job_.reader->isOutOfData();
  job_.warnings->add(isShort ? Status::truncated : Status::damagedData);
  state_ = State::damaged;
}

void IntervalReader::nextInterval() {
  if (state_ == State::ended) return;
  bool isClean = false;
  switch (job_.reader->restart(&isClean)) {
    case Resync::inStep:
      if (!isClean && state_ != State::damaged && state_ != State::skipped) {
        job_.warnings->add(Status::restartMissing);
      }
      state_ = State::good;
      break;
    case Resync::lost:
      job_.warnings->add(Status::restartMissing);
      state_ = State::skipped;
      break;
    case Resync::end:
      job_.warnings->add(job_.reader->isOutOfData() ? Status::truncated : Status::restartMissing);
      state_ = State::ended;
      break;
  }
}

namespace {

/// What a unit's blocks are coded with.
struct CodedBlock {
  const DecodeSpec *dc, *ac;
  int* previousDC;
};

/// The walk over a scan: `Target` tells where blocks go and is told when a unit and a row are done.
template <class Target>
class SequentialWalk {
 public:
  SequentialWalk(const ScanJob& job, Target& target)
      : job_(job),
        target_(target),
        unit_(UnitBlocks::of(*job.frame, *job.scan)),
        geometry_(ScanGeometry::of(*job.frame, *job.scan)),
        intervals_(job) {
    for (int b = 0; b < unit_.count; ++b) {
      const int slot = unit_.place[size_t(b)].slot;
      coded_[size_t(b)] = {&job.tables->dc(slot), &job.tables->ac(slot),
                           &previousDC_[size_t(slot)]};
    }
  }

  Status run() { return runRows(0, geometry_.down); }
  Status runRows(int first, int end) {
    for (int y = first; y < end; ++y) {
      job_.reader->rebase();
      for (int x = 0; x < geometry_.across; ++x) {
        if (intervals_.begins() && intervals_.hasData()) previousDC_.fill(0);
        readUnit(x, y);
        target_.unitDone(x, y);
      }
      JPEG_RETURN_IF_ERROR(target_.rowDone(y));
    }
    return Status::ok;
  }

 private:
  void readUnit(int x, int y) {
    int b = 0;
    if (intervals_.hasData()) [[likely]] {
      for (; b < unit_.count; ++b) {
        const CodedBlock& c = coded_[size_t(b)];
        const RkdStatus status = job_.reader->block(target_.block(unit_.place[size_t(b)], b, x, y),
                                                    c.previousDC, *c.dc, *c.ac);
        if (status == rkdStsNoErr) [[likely]]
          continue;
        intervals_.damage(status);
        break;
      }
    }
    for (; b < unit_.count; ++b) {  // what is missing goes on as it was
      int16_t* const block = target_.block(unit_.place[size_t(b)], b, x, y);
      std::memset(block, 0, 64 * sizeof *block);
      block[0] = int16_t(*coded_[size_t(b)].previousDC);
    }
  }

  const ScanJob& job_;
  Target& target_;
  const UnitBlocks unit_;
  const ScanGeometry geometry_;
  IntervalReader intervals_;
  std::array<int, kMaxComponents> previousDC_{};
  std::array<CodedBlock, kMaxBlocksInMcu> coded_{};
};

/// Blocks into their places.
class ToCoefficients {
 public:
  ToCoefficients(const ScanJob& job, Coefficients* coefficients)
      : job_(job), coefficients_(coefficients) {
    for (int slot = 0; slot < job.scan->componentCount; ++slot) {
      const Component& c = component(slot);
      h_[size_t(slot)] = job.scan->isInterleaved() ? c.h : 1;
      v_[size_t(slot)] = job.scan->isInterleaved() ? c.v : 1;
    }
  }
  int16_t* block(const UnitBlocks::Place& p, int, int x, int y) {
    const size_t slot = size_t(p.slot);
    return coefficients_->block(job_.scan->component[slot].index, y * v_[slot] + p.row,
                                x * h_[slot] + p.column);
  }
  void unitDone(int, int) {}
  Status rowDone(int) { return Status::ok; }

 private:
  const Component& component(int slot) const {
    return job_.frame->component[size_t(job_.scan->component[size_t(slot)].index)];
  }
  const ScanJob& job_;
  Coefficients* coefficients_;
  std::array<int, kMaxComponents> h_{}, v_{};
};

/// One unit's blocks at a time, transformed before the next one is read.
class ToPixels {
 public:
  ToPixels(const ScanJob& job, InversePixels& pixels, RowSink& sink)
      : unit_(UnitBlocks::of(*job.frame, *job.scan)), pixels_(pixels), sink_(sink) {
    for (int b = 0; b < unit_.count; ++b) {
      Placed& p = placed_[size_t(b)];
      const UnitBlocks::Place& place = unit_.place[size_t(b)];
      p.component = job.scan->component[size_t(place.slot)].index;
      p.row = place.row;
      p.column = place.column;
      p.across = job.scan->isInterleaved() ? job.frame->component[size_t(p.component)].h : 1;
    }
  }
  int16_t* block(const UnitBlocks::Place&, int b, int, int) { return blocks_.block[b]; }
  void unitDone(int x, int y) {
    if (x == 0) isWanted_ = pixels_.needsRow(y);
    if (!isWanted_) return;
    for (int b = 0; b < unit_.count; ++b) {
      const Placed& p = placed_[size_t(b)];
      if (pixels_.uses(p.component)) {
        pixels_.block(p.component, p.row, x * p.across + p.column, blocks_.block[b]);
      }
    }
  }
  Status rowDone(int y) { return pixels_.finishRow(y, sink_); }

 private:
  struct Placed {
    int component, row, column, across;
  };
  UnitBlocks unit_;
  std::array<Placed, kMaxBlocksInMcu> placed_{};
  InversePixels& pixels_;
  RowSink& sink_;
  bool isWanted_ = true;
  McuBlocks blocks_;
};

}  // namespace

Status readSequential(const ScanJob& job, Coefficients* coefficients) {
  ToCoefficients target(job, coefficients);
  return SequentialWalk<ToCoefficients>(job, target).run();
}

Status readBaseline(const ScanJob& job, InversePixels& pixels, RowSink& sink) {
  ToPixels target(job, pixels, sink);
  return SequentialWalk<ToPixels>(job, target).run();
}

struct RowsReader::Walk {
  /// Blocks of a wave in the order of their units.
  struct ToWave {
    int count = 0, across = 0, firstRow = 0;
    CoefficientBlock* blocks = nullptr;
    int16_t* block(const UnitBlocks::Place&, int b, int x, int y) const {
      const size_t unit = size_t(y - firstRow) * size_t(across) + size_t(x);
      return blocks[unit * size_t(count) + size_t(b)].values;
    }
    void unitDone(int, int) {}
    Status rowDone(int) { return Status::ok; }
  };
  explicit Walk(const ScanJob& job) : walk(job, target) {
    target.count = UnitBlocks::of(*job.frame, *job.scan).count;
    target.across = job.frame->mcusAcross;
  }
  ToWave target;
  SequentialWalk<ToWave> walk;
};

RowsReader::RowsReader(const ScanJob& job) : walk_(std::make_unique<Walk>(job)) {}
RowsReader::~RowsReader() = default;

void RowsReader::read(int firstRow, int rows, CoefficientBlock* blocks) {
  walk_->target.firstRow = firstRow;
  walk_->target.blocks = blocks;
  (void)walk_->walk.runRows(firstRow, firstRow + rows);  // nothing in it can fail
}

Status inverseAll(const Coefficients& coefficients, InversePixels& pixels, RowSink& sink) {
  for (int y = 0; y < coefficients.frame.mcusDown; ++y) {
    if (pixels.needsRow(y)) pixels.rowOf(coefficients, y);
    JPEG_RETURN_IF_ERROR(pixels.finishRow(y, sink));
  }
  return Status::ok;
}

}  // namespace jpeg
