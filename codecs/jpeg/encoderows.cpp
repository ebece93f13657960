// Encoding row by row, by several threads: each transforms and codes rows of its own, and the
// caller's joins between its own rows what is there.
#include <algorithm>
#include <atomic>

#include "bitjoin.h"
#include "coder.h"

namespace jpeg {
namespace {

// ---- whole pictures ----

/// A row of a picture that is kept.
Status transformRow(int y, ForwardPixels& pixels, const UnitBlocks& unit, McuBlocks* scratch,
                    RowSource& source, Coefficients* coefficients) {
  const Frame& frame = coefficients->frame;
  std::array<int16_t*, kMaxBlocksInMcu> blocks{};
  std::array<ptrdiff_t, kMaxBlocksInMcu> steps{};
  for (int b = 0; b < unit.count; ++b) {
    const UnitBlocks::Place& p = unit.place[size_t(b)];
    const Component& c = frame.component[size_t(p.slot)];
    blocks[size_t(b)] = coefficients->block(p.slot, y * c.v + p.row, p.column);
    steps[size_t(b)] = 64 * ptrdiff_t{c.h};
  }
  JPEG_RETURN_IF_ERROR(pixels.begin(y, source));
  for (int x = 0; x < frame.mcusAcross; ++x) {
    pixels.mcu(x, scratch, blocks.data());
    for (size_t b = 0; b < size_t(unit.count); ++b) blocks[b] += steps[b];
  }
  return Status::ok;
}

}  // namespace

Status transformAll(const ForwardSetup& setup, RowSource& source, Workers& workers,
                    Coefficients* coefficients) {
  const Frame& frame = setup.frame;
  const UnitBlocks unit = UnitBlocks::of(frame, wholeScan(frame));
  std::vector<ForwardPixels> pixels(size_t(workers.count()));
  for (ForwardPixels& p : pixels) JPEG_RETURN_IF_ERROR(setup.make(&p));
  std::vector<McuBlocks> scratch(size_t(workers.count()));
  return forEachMcuRow(frame, source, workers, [&](int y, int worker, RowSource& band) {
    return transformRow(y, pixels[size_t(worker)], unit, &scratch[size_t(worker)], band,
                        coefficients);
  });
}

// ---- one pass ----

namespace {

/// What a task makes of its rows. The unit that it begins with goes on from one that another task
/// codes, unless an interval begins there: it is kept, and coded when both are joined.
struct Piece {
  McuBlocks head;
  bool hasHead = false;
  std::array<int, kMaxComponents> predictions{};  ///< behind its last unit
  ByteVector made;
  /// Of what was made: up to here it belongs to the interval that the rows begin in; from there
  /// on, to the one that they end in. Markers are in between.
  size_t firstEnd = 0, lastBegin = 0;
  int64_t firstUnit = 0;
  Status status = Status::ok;
  std::atomic<bool> isMade = false;
};

/// What one thread works with.
struct RowsCoder {
  RowsCoder(const EncodeTables& tables, Color color, const Frame& frame)
      : units(tables, color, frame) {}
  struct Redirected : ByteSink {
    ByteVector* to = nullptr;
    Status write(const uint8_t* bytes, size_t count) override { return to->write(bytes, count); }
  };
  ForwardPixels pixels;
  UnitCoder units;
  Redirected sink;
  Output output{&sink};
  ScanWriter writer{&output};
};

class RowsEncoder {
 public:
  RowsEncoder(const EncodeTables& tables, int restartInterval, const ForwardSetup& setup,
              Output& output)
      : tables_(tables),
        interval_(restartInterval),
        setup_(setup),
        frame_(setup.frame),
        mark_(tables.dc[0], tables.ac[0]),
        joiner_(&output),
        heads_(tables, setup.color, setup.frame),
        headWriter_(&headMade_.output) {}
  Status run(RowSource& source, Workers& workers, size_t memoryLimit);

 private:
  bool beginsInterval(int64_t unit) const { return interval_ > 0 && unit % interval_ == 0; }
  struct Shares;
  Shares share(const Workers& workers, size_t memoryLimit) const;
  Status code(int first, int end, RowSource& band, RowsCoder& coder, Piece* piece) const;
  Status codeUnit(int64_t unit, const McuBlocks& blocks, RowsCoder& coder, Piece* piece) const;
  Status endPart(RowsCoder& coder) const;
  RkdStatus putMark(ScanWriter& writer) const;
  Status join(Piece& piece);
  Status joinHead(const Piece& piece);

  const EncodeTables& tables_;
  const int interval_;
  const ForwardSetup& setup_;
  const Frame& frame_;
  const EndMark mark_;
  BitJoiner joiner_;
  UnitCoder heads_;  // has the predictions behind the last piece
  MemoryOutput headMade_;
  ScanWriter headWriter_;
};

RkdStatus RowsEncoder::putMark(ScanWriter& writer) const {
  constexpr CoefficientBlock kZeros{};
  int previousDC = 0;
  return writer.block(kZeros.values, &previousDC, tables_.dcSpec[0], tables_.acSpec[0]);
}

/// What stood before belongs to one interval, and is joined with what others made of it.
Status RowsEncoder::endPart(RowsCoder& coder) const {
  JPEG_RETURN_IF_ERROR(coder.output.makeRoom());
  if (putMark(coder.writer) != rkdStsNoErr) return Status::libraryFailed;
  return coder.writer.flush();
}

Status RowsEncoder::codeUnit(int64_t unit, const McuBlocks& blocks, RowsCoder& coder,
                             Piece* piece) const {
  if (unit == piece->firstUnit && piece->hasHead) {
    piece->head = blocks;
    coder.units.predictFrom(blocks.block[0]);
    return Status::ok;
  }
  if (unit > piece->firstUnit && beginsInterval(unit)) {
    const auto made = [&] { return piece->made.bytes.size() + size_t(coder.output.position); };
    if (piece->firstEnd == 0) {
      JPEG_RETURN_IF_ERROR(endPart(coder));
      piece->firstEnd = made();
    }
    JPEG_RETURN_IF_ERROR(coder.writer.restart());
    coder.units.resetPredictions();
    piece->lastBegin = made();
  }
  JPEG_RETURN_IF_ERROR(coder.output.makeRoom());
  const bool isCoded = coder.units.code(coder.writer, blocks.block[0]) == rkdStsNoErr;
  return isCoded ? Status::ok : Status::libraryFailed;
}

Status RowsEncoder::code(int first, int end, RowSource& band, RowsCoder& coder,
                         Piece* piece) const {
  int64_t unit = int64_t{first} * frame_.mcusAcross;
  piece->firstUnit = unit;
  piece->hasHead = unit > 0 && !beginsInterval(unit);
  piece->firstEnd = piece->lastBegin = 0;
  piece->made.bytes.clear();
  coder.sink.to = &piece->made;
  coder.output.position = 0;
  coder.units.resetPredictions();
  JPEG_RETURN_IF_ERROR(coder.writer.start(interval_ == 0 ? 0 : int(unit / interval_)));
  McuBlocks blocks;
  const auto pointers = blocks.pointers();
  for (int y = first; y < end; ++y) {
    JPEG_RETURN_IF_ERROR(coder.pixels.begin(y, band));
    for (int x = 0; x < frame_.mcusAcross; ++x, ++unit) {
      coder.pixels.mcu(x, &blocks, pointers.data());
      JPEG_RETURN_IF_ERROR(codeUnit(unit, blocks, coder, piece));
    }
  }
  piece->predictions = coder.units.predictions();
  JPEG_RETURN_IF_ERROR(endPart(coder));
  return coder.output.drain();
}

Status RowsEncoder::joinHead(const Piece& piece) {
  JPEG_RETURN_IF_ERROR(headWriter_.start());
  const RkdStatus coded = heads_.code(headWriter_, piece.head.block[0]);
  if (coded != rkdStsNoErr || putMark(headWriter_) != rkdStsNoErr) return Status::libraryFailed;
  JPEG_RETURN_IF_ERROR(headWriter_.flush());
  JPEG_RETURN_IF_ERROR(joiner_.append(headMade_.bytes(), mark_));
  headMade_.clear();
  return Status::ok;
}

Status RowsEncoder::join(Piece& piece) {
  JPEG_RETURN_IF_ERROR(piece.status);
  if (piece.hasHead) {
    JPEG_RETURN_IF_ERROR(joinHead(piece));
  } else if (piece.firstUnit > 0) {
    JPEG_RETURN_IF_ERROR(joiner_.finish());
    JPEG_RETURN_IF_ERROR(joiner_.restartMarker(int(piece.firstUnit / interval_ - 1)));
  }
  const std::span<const uint8_t> made = piece.made.bytes;
  if (piece.lastBegin > 0) {
    JPEG_RETURN_IF_ERROR(joiner_.append(made.first(piece.firstEnd), mark_));
    JPEG_RETURN_IF_ERROR(joiner_.finish());
    JPEG_RETURN_IF_ERROR(
        joiner_.write(made.subspan(piece.firstEnd, piece.lastBegin - piece.firstEnd)));
  }
  JPEG_RETURN_IF_ERROR(joiner_.append(made.subspan(piece.lastBegin), mark_));
  heads_.setPredictions(piece.predictions);
  return Status::ok;
}

/// How rows are shared out.
struct RowsEncoder::Shares {
  int rowsEach = 1;  ///< of a task
  int tasks = 1;     ///< of a wave, for which the source is asked at once, and at whose end threads
                     ///< wait
};

RowsEncoder::Shares RowsEncoder::share(const Workers& workers, size_t memoryLimit) const {
  constexpr size_t kWaveBytes = size_t{8} << 20;
  constexpr int kUnits = 64;  // of rows so short that their ends would cost something, several
  const size_t rowBytes = setup_.shape.rowBytes() * size_t(frame_.mcuHeight());
  const size_t fitting = std::max<size_t>(1, memoryLimit / 2 / rowBytes);
  const size_t each = std::min(fitting, size_t(ceilDiv(kUnits, frame_.mcusAcross)));
  const size_t wanted = std::max(8 * size_t(workers.count()), kWaveBytes / rowBytes / each);
  const size_t all = size_t(ceilDiv(frame_.mcusDown, int(each)));
  return {int(each), int(std::min({wanted, fitting / each, all}))};
}

Status RowsEncoder::run(RowSource& source, Workers& workers, size_t memoryLimit) {
  std::vector<std::unique_ptr<RowsCoder>> coders;
  for (int i = 0; i < workers.count(); ++i) {
    coders.push_back(std::make_unique<RowsCoder>(tables_, setup_.color, frame_));
    JPEG_RETURN_IF_ERROR(setup_.make(&coders.back()->pixels));
  }
  const Shares shares = share(workers, memoryLimit);
  const int rowsEach = shares.rowsEach, most = shares.tasks;
  std::vector<Piece> pieces(static_cast<size_t>(most));
  RowBand band;
  for (int first = 0; first < frame_.mcusDown; first += rowsEach * most) {
    const int rows = std::min(frame_.mcusDown - first, rowsEach * most);
    const int count = ceilDiv(rows, rowsEach);
    JPEG_RETURN_IF_ERROR(band.take(source, frame_, first, rows));
    for (Piece& piece : pieces) piece.isMade = false;
    Status joined = Status::ok;
    int next = 0;
    const auto joinWhatIsMade = [&] {
      for (; next < count && pieces[size_t(next)].isMade && !isError(joined); ++next) {
        joined = join(pieces[size_t(next)]);
      }
    };
    workers.run(count, [&](int task, int worker) {
      Piece& piece = pieces[size_t(task)];
      const int from = first + task * rowsEach;
      piece.status = code(from, std::min(from + rowsEach, first + rows), band,
                          *coders[size_t(worker)], &piece);
      piece.isMade = true;
      // Only the caller's thread writes to the sink.
      if (worker == 0) joinWhatIsMade();
    });
    joinWhatIsMade();
    JPEG_RETURN_IF_ERROR(joined);
  }
  return joiner_.finish();
}

}  // namespace

Status writeBaselineInRows(const EncodeTables& tables, int restartInterval,
                           const ForwardSetup& setup, RowSource& source, Workers& workers,
                           size_t memoryLimit, Output& output) {
  return RowsEncoder(tables, restartInterval, setup, output).run(source, workers, memoryLimit);
}

}  // namespace jpeg
