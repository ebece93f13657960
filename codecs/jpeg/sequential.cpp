// Reading sequential scans: straight into pixels, or into coefficients.
#include <algorithm>
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

/// Units that are read in one go: 150 KiB, which stay in a second-level cache until they are used.
/// What each go begins and ends with costs more than that the first-level cache is passed: of 240
/// blocks, which stay there, decoding takes 2 to 4 % longer, of 120 as much again.
struct UnitBuffer {
  static constexpr int kBlocks = 1200;
  CoefficientBlock blocks[kBlocks];
  uint8_t last[kBlocks];
};

/// Where a run of units goes.
struct UnitRoom {
  CoefficientBlock* blocks;
  uint8_t* last;
};

UnitTables tablesOf(const UnitBlocks& unit, const ScanJob& job) {
  UnitTables tables;
  tables.count = unit.count;
  for (int b = 0; b < unit.count; ++b) {
    tables.slot[size_t(b)] = uint8_t(unit.place[size_t(b)].slot);
  }
  for (int slot = 0; slot < job.scan->componentCount; ++slot) {
    tables.dc[size_t(slot)] = job.tables->dc(slot).get();
    tables.ac[size_t(slot)] = job.tables->ac(slot).get();
  }
  return tables;
}

/// The walk over a scan: `Target` tells where units of a row go and is told when they and when the
/// row are done.
template <class Target>
class SequentialWalk {
 public:
  SequentialWalk(const ScanJob& job, Target& target)
      : job_(job),
        target_(target),
        tables_(tablesOf(UnitBlocks::of(*job.frame, *job.scan), job)),
        geometry_(ScanGeometry::of(*job.frame, *job.scan)),
        intervals_(job) {}

  Status run() {
    for (int y = 0; y < geometry_.down; ++y) {
      readRow(y, 0, geometry_.across);
      JPEG_RETURN_IF_ERROR(target_.rowDone(y));
    }
    return Status::ok;
  }
  /// Units that are counted over the scan; the target is told of no row.
  void read(const Chunk& chunk) {
    int x = int(chunk.first % geometry_.across), y = int(chunk.first / geometry_.across);
    for (int64_t unit = chunk.first; unit < chunk.end; ++y, x = 0) {
      const int end = int(std::min<int64_t>(geometry_.across, x + chunk.end - unit));
      readRow(y, x, end);
      unit += end - x;
    }
  }
  /// What comes before the next unit.
  void begin() {
    if (!isBegun_ && intervals_.begins() && intervals_.hasData()) previousDC_.fill(0);
    isBegun_ = true;
  }
  /// Stands at the beginning of an interval, as its reader does.
  void restart() {
    intervals_.restart();
    previousDC_.fill(0);
    isBegun_ = false;
  }
  void takeOver(const SequentialWalk& other) {
    intervals_.takeOver(other.intervals_);
    previousDC_ = other.previousDC_;
    isBegun_ = other.isBegun_;
  }
  const IntervalReader& intervals() const { return intervals_; }

 private:
  void readRow(int y, int x, int end) {
    const int most = UnitBuffer::kBlocks / tables_.count;
    job_.reader->rebase();
    for (int units = 0; x < end; x += units) {
      begin();
      isBegun_ = false;
      units = 1 + intervals_.more(std::min(most, end - x) - 1);
      readUnits(target_.room(x, y), units);
      target_.unitsDone(x, y, units);
    }
  }
  void readUnits(UnitRoom room, int units) {
    int b = 0;
    if (intervals_.hasData()) [[likely]] {
      const RkdStatus status = job_.reader->units(room.blocks->values, room.last, units, tables_,
                                                  previousDC_.data(), &b);
      if (status != rkdStsNoErr) [[unlikely]]
        intervals_.damage(status);
    }
    for (; b < units * tables_.count; ++b) {  // what is missing goes on as it was
      int16_t* const block = room.blocks[b].values;
      std::memset(block, 0, 64 * sizeof *block);
      block[0] = int16_t(previousDC_[tables_.slot[size_t(b % tables_.count)]]);
      room.last[b] = 0;
    }
  }

  const ScanJob& job_;
  Target& target_;
  const UnitTables tables_;
  const ScanGeometry geometry_;
  IntervalReader intervals_;
  bool isBegun_ = false;  // whether the next unit's interval is
  std::array<int, kMaxComponents> previousDC_{};
};

/// Blocks into their places.
class ToCoefficients {
 public:
  ToCoefficients(const ScanJob& job, Coefficients* coefficients)
      : job_(job), unit_(UnitBlocks::of(*job.frame, *job.scan)), coefficients_(coefficients) {
    for (int slot = 0; slot < job.scan->componentCount; ++slot) {
      const Component& c = component(slot);
      h_[size_t(slot)] = job.scan->isInterleaved() ? c.h : 1;
      v_[size_t(slot)] = job.scan->isInterleaved() ? c.v : 1;
    }
  }
  UnitRoom room(int, int) { return {buffer_.blocks, buffer_.last}; }
  void unitsDone(int x, int y, int units) {
    const CoefficientBlock* from = buffer_.blocks;
    for (const int end = x + units; x < end; ++x) {
      for (int b = 0; b < unit_.count; ++b, ++from) {
        const UnitBlocks::Place& p = unit_.place[size_t(b)];
        const size_t slot = size_t(p.slot);
        std::memcpy(coefficients_->block(job_.scan->component[slot].index, y * v_[slot] + p.row,
                                         x * h_[slot] + p.column),
                    from->values, sizeof from->values);
      }
    }
  }
  Status rowDone(int) { return Status::ok; }

 private:
  const Component& component(int slot) const {
    return job_.frame->component[size_t(job_.scan->component[size_t(slot)].index)];
  }
  const ScanJob& job_;
  const UnitBlocks unit_;
  Coefficients* coefficients_;
  std::array<int, kMaxComponents> h_{}, v_{};
  UnitBuffer buffer_;
};

/// Some units at a time, transformed before the next ones are read.
class ToPixels {
 public:
  ToPixels(const ScanJob& job, InversePixels& pixels, RowSink& sink)
      : unit_(UnitBlocks::of(*job.frame, *job.scan)),
        scan_(*job.scan),
        pixels_(pixels),
        sink_(sink) {}
  UnitRoom room(int x, int y) {
    if (x == 0) isWanted_ = pixels_.needsRow(y);
    return {buffer_.blocks, buffer_.last};
  }
  void unitsDone(int x, int, int units) {
    if (isWanted_) pixels_.units(unit_, scan_, {x, units, buffer_.blocks, buffer_.last});
  }
  Status rowDone(int y) { return pixels_.finishRow(y, sink_); }

 private:
  const UnitBlocks unit_;
  const Scan& scan_;
  InversePixels& pixels_;
  RowSink& sink_;
  bool isWanted_ = true;
  UnitBuffer buffer_;
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

// ---- rows by several tasks ----

namespace {

/// Cuts units into at most so many chunks about as long, each but the first the beginning of a
/// restart interval. No units are no chunk, and without intervals all are one.
std::vector<Chunk> cutAtIntervals(const Chunk& units, int restartInterval, int most) {
  std::vector<Chunk> chunks;
  if (units.first == units.end) return chunks;
  chunks.push_back(units);
  for (int64_t i = 1; i < most && restartInterval > 0; ++i) {
    const int64_t near = units.first + (units.end - units.first) * i / most;
    const int64_t cut = (near + restartInterval - 1) / restartInterval * restartInterval;
    if (cut <= chunks.back().first || cut >= units.end) continue;
    chunks.back().end = cut;
    chunks.push_back({cut, units.end});
  }
  return chunks;
}

}  // namespace

struct RowsReader::Walk {
  /// Blocks of a room in the order of their units.
  struct ToRoom {
    Room room_;
    int count = 0, across = 0;
    UnitRoom room(int x, int y) const {
      const size_t unit = size_t(y - room_.firstRow) * size_t(across) + size_t(x);
      return {room_.blocks + unit * size_t(count), room_.last + unit * size_t(count)};
    }
    void unitsDone(int, int, int) {}
  };
  /// The walk of a job, or one of its own from where reader and walk are made to stand.
  explicit Walk(const ScanJob& scan, bool isOwn = false) : job(scan), walk(job, target) {
    target.count = UnitBlocks::of(*job.frame, *job.scan).count;
    target.across = job.frame->mcusAcross;
    if (!isOwn) return;
    job.reader = &ownReader;
    job.warnings = &ownWarnings;
  }
  Status startBehind(const ScanReader& reader, size_t place, int restarts) {
    walk.restart();
    return ownReader.startBehind(reader, place, restarts);
  }

  ScanReader ownReader;
  Warnings ownWarnings;
  ScanJob job;
  ToRoom target;
  SequentialWalk<ToRoom> walk;
};

RowsReader::RowsReader(const ScanJob& job, int most) : job_(job), most_(size_t(most)) {
  walks_.push_back(std::make_unique<Walk>(job));
}
RowsReader::~RowsReader() = default;

Status RowsReader::begin(const Room& room) {
  const int interval = job_.restartInterval, passed = job_.reader->restarts();
  const int64_t across = job_.frame->mcusAcross;
  const Chunk units{room.firstRow * across, (room.firstRow + room.rows) * across};
  const bool isOver = walkOf(0).walk.intervals().hasEnded();
  chunks_ = cutAtIntervals(units, interval, isOver ? 1 : int(most_));
  if (chunks_.size() > 1) {
    const auto places = job_.reader->restartsAhead(int(chunks_.back().first / interval) - passed);
    while (chunks_.back().first / interval - passed > int64_t(places.size()) &&
           chunks_.size() > 1) {
      chunks_.pop_back();
    }
    chunks_.back().end = units.end;
    for (size_t i = 1; i < chunks_.size(); ++i) {
      if (walks_.size() == i) walks_.push_back(std::make_unique<Walk>(job_, true));
      const int restarts = int(chunks_[i].first / interval);
      JPEG_RETURN_IF_ERROR(
          walkOf(i).startBehind(*job_.reader, places[size_t(restarts - passed) - 1], restarts));
    }
  }
  for (size_t i = 0; i < chunks_.size(); ++i) walkOf(i).target.room_ = room;
  return Status::ok;
}

void RowsReader::read(int task) {
  Walk& walk = walkOf(size_t(task));
  walk.walk.read(chunks_[size_t(task)]);
  // The marker behind it may deserve a warning.
  if (task + 1 < tasks()) walk.walk.begin();
}

void RowsReader::end() {
  if (tasks() < 2) return;
  for (size_t i = 1; i < chunks_.size(); ++i) {
    for (const Status w : walkOf(i).ownWarnings.all()) job_.warnings->add(w);
    walkOf(i).ownWarnings.clear();
  }
  Walk& last = walkOf(chunks_.size() - 1);
  walkOf(0).walk.takeOver(last.walk);
  std::swap(*job_.reader, last.ownReader);
}

Status inverseAll(const Coefficients& coefficients, InversePixels& pixels, RowSink& sink) {
  for (int y = 0; y < coefficients.frame.mcusDown; ++y) {
    if (pixels.needsRow(y)) pixels.rowOf(coefficients, y);
    JPEG_RETURN_IF_ERROR(pixels.finishRow(y, sink));
  }
  return Status::ok;
}

}  // namespace jpeg
