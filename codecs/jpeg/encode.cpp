// The encoder: settings, tables, and the scans that a mode asks for.
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "coder.h"

namespace jpeg {

// ---- what encoder and decoder share ----

const char* statusText(Status status) {
  switch (status) {
#define JPEG_STATUS_CASE_(name, value, text) \
  case Status::name:                         \
    return text;
    JPEG_STATUS_LIST(JPEG_STATUS_CASE_)
#undef JPEG_STATUS_CASE_
  }
  return "unknown status";
}

int channelsOf(Color color) {
  switch (color) {
    case Color::unknown:
      return 0;
    case Color::gray:
      return 1;
    case Color::cmyk:
    case Color::ycck:
      return 4;
    default:
      return 3;
  }
}

Status Coefficients::allocate(size_t memoryLimit, bool isZero) {
  if (frame.blocks() > memoryLimit / (64 * sizeof(int16_t))) return Status::overMemoryLimit;
  // Not pages of the system's: it would clear them anew for every picture of a program that works
  // on many.
  constexpr size_t kLine = 64, kLargePage = size_t{1} << 21;
  const size_t bytes = frame.blocks() * 64 * sizeof(int16_t) + kLine;
  memory_.reset(isZero ? std::calloc(1, bytes) : std::malloc(bytes));
  if (memory_ == nullptr) return Status::noMemory;
  const auto from = reinterpret_cast<uintptr_t>(memory_.get());
  const auto upTo = [&](size_t unit) { return unit - from % unit; };
  auto* const first = static_cast<uint8_t*>(memory_.get());
  if (bytes > 2 * kLargePage) {
    (void)madvise(first + upTo(kLargePage), bytes - upTo(kLargePage), MADV_HUGEPAGE);  // a hint
  }
  auto* at = reinterpret_cast<int16_t*>(first + upTo(kLine));
  for (int i = 0; i < frame.componentCount; ++i) {
    const size_t blocks = frame.component[size_t(i)].blocks();
    component[size_t(i)] = {at, blocks};
    at += 64 * blocks;
  }
  return Status::ok;
}

UnitBlocks UnitBlocks::of(const Frame& frame, const Scan& scan) {
  UnitBlocks unit;
  if (!scan.isInterleaved()) {
    unit.count = 1;
    return unit;
  }
  for (int slot = 0; slot < scan.componentCount; ++slot) {
    const Component& c = frame.component[size_t(scan.component[size_t(slot)].index)];
    for (int row = 0; row < c.v; ++row) {
      for (int column = 0; column < c.h; ++column) {
        unit.place[size_t(unit.count++)] = {slot, row, column};
      }
    }
  }
  return unit;
}

Scan wholeScan(const Frame& frame) {
  Scan scan;
  scan.componentCount = frame.componentCount;
  for (int i = 0; i < frame.componentCount; ++i) scan.component[size_t(i)].index = i;
  return scan;
}

// ---- sources and sinks in memory ----

namespace {

class MemoryRows : public RowSource {
 public:
  MemoryRows() = default;
  MemoryRows(const void* pixels, ptrdiff_t step)
      : pixels_(static_cast<const uint8_t*>(pixels)), step_(step) {}
  Status rows(int first, int, const uint8_t** pixels, ptrdiff_t* step) override {
    *pixels = pixels_ + step_ * first;
    *step = step_;
    return Status::ok;
  }

 private:
  const uint8_t* pixels_ = nullptr;
  ptrdiff_t step_ = 0;
};

class MemoryBytes : public ByteSink {
 public:
  MemoryBytes() = default;
  MemoryBytes(uint8_t* bytes, size_t size) : bytes_(bytes), left_(size) {}
  Status write(const uint8_t* bytes, size_t count) override {
    if (count > left_) return Status::destinationFull;
    std::memcpy(bytes_, bytes, count);
    bytes_ += count;
    left_ -= count;
    return Status::ok;
  }

 private:
  uint8_t* bytes_ = nullptr;
  size_t left_ = 0;
};

}  // namespace

// ---- tables ----

void EncodeTables::setStandard() {
  for (size_t i = 0; i < 2; ++i) {
    dc[i] = standardHuffman(false, i == 1);
    ac[i] = standardHuffman(true, i == 1);
  }
}

Status EncodeTables::begin(const Frame& frame, Color color, Output& output) {
  MarkerWriter markers;
  Scan scan = wholeScan(frame);
  int sets = 1;
  for (int i = 0; i < scan.componentCount; ++i) {
    ScanComponent& c = scan.component[size_t(i)];
    c.dcTable = c.acTable = tableSetOf(i, color);
    sets = std::max(sets, c.dcTable + 1);
  }
  for (int i = 0; i < sets; ++i) {
    const size_t set = size_t(i);
    JPEG_RETURN_IF_ERROR(dcSpec[set].init(dc[set]));
    JPEG_RETURN_IF_ERROR(acSpec[set].init(ac[set]));
    markers.huffman(false, i, dc[set]);
    markers.huffman(true, i, ac[set]);
  }
  markers.scan(frame, scan);
  return output.write(markers.bytes());
}

SymbolCounts& SymbolCounts::operator+=(const SymbolCounts& more) {
  for (size_t set = 0; set < 2; ++set) {
    for (size_t i = 0; i < 256; ++i) {
      dc[set][i] += more.dc[set][i];
      ac[set][i] += more.ac[set][i];
    }
  }
  return *this;
}

// ---- rows ----

Status RowBand::take(RowSource& source, const Frame& frame, int firstMcuRow, int mcuRows) {
  first_ = firstMcuRow * frame.mcuHeight();
  const int count = std::min(mcuRows * frame.mcuHeight(), frame.height - first_);
  return source.rows(first_, count, &pixels_, &step_);
}

Status firstError(std::span<const Status> outcomes) {
  const auto found = std::ranges::find_if(outcomes, [](Status s) { return isError(s); });
  return found == outcomes.end() ? Status::ok : *found;
}

Status forEachMcuRow(const Frame& frame, RowSource& source, Workers& workers,
                     const McuRowTask& task) {
  const int most = workers.count() == 1 ? 1 : 4 * workers.count();
  std::vector<Status> outcomes(size_t(most), Status::ok);
  RowBand band;
  for (int first = 0; first < frame.mcusDown; first += most) {
    const int rows = std::min(most, frame.mcusDown - first);
    JPEG_RETURN_IF_ERROR(band.take(source, frame, first, rows));
    workers.run(rows, [&](int row, int worker) {
      outcomes[size_t(row)] = task(first + row, worker, band);
    });
    JPEG_RETURN_IF_ERROR(firstError(outcomes));
  }
  return Status::ok;
}

// ---- one pass ----

UnitCoder::UnitCoder(const EncodeTables& tables, Color color, const Frame& frame) {
  const UnitBlocks unit = UnitBlocks::of(frame, wholeScan(frame));
  count_ = unit.count;
  for (int b = 0; b < unit.count; ++b) {
    const int component = unit.place[size_t(b)].slot;
    const size_t set = size_t(tableSetOf(component, color));
    coded_[size_t(b)] = {&tables.dcSpec[set], &tables.acSpec[set], &previousDC_[size_t(component)]};
  }
}

Status writeBaseline(const EncodeTables& tables, int restartInterval, const ForwardSetup& setup,
                     RowSource& source, Output& output) {
  const Frame& frame = setup.frame;
  ForwardPixels pixels;
  JPEG_RETURN_IF_ERROR(setup.make(&pixels));
  UnitCoder coder(tables, setup.color, frame);
  ScanWriter writer(&output);
  JPEG_RETURN_IF_ERROR(writer.start());
  Intervals intervals(restartInterval);
  McuBlocks blocks;
  const auto pointers = blocks.pointers();
  for (int y = 0; y < frame.mcusDown; ++y) {
    JPEG_RETURN_IF_ERROR(pixels.begin(y, source));
    for (int x = 0; x < frame.mcusAcross; ++x) {
      if (intervals.endsHere()) {
        JPEG_RETURN_IF_ERROR(writer.restart());
        coder.resetPredictions();
      }
      JPEG_RETURN_IF_ERROR(output.makeRoom());
      pixels.mcu(x, &blocks, pointers.data());
      if (coder.code(writer, blocks.block[0]) != rkdStsNoErr) return Status::libraryFailed;
    }
  }
  return writer.flush();
}

// ---- the steps ----

struct Encoder::Work {
  enum class Step { fresh, source, destination, header, done };

  EncodeOptions options;
  ImageShape shape;
  MemoryRows memoryRows;
  MemoryBytes memoryBytes;
  RowSource* source = nullptr;
  ByteSink* sink = nullptr;
  std::unique_ptr<Output> output;
  Frame frame;
  std::vector<Quantisers> quantisers;
  bool hasHeader = false;
  std::unique_ptr<Workers> workers;

  Workers& makeWorkers() {
    if (workers == nullptr || workers->count() != options.threads) {
      workers = std::make_unique<Workers>(options.threads);
    }
    return *workers;
  }
  Status checkOptions() const;
  Status checkLossless() const;
  Status buildFrame();
  void chooseQuantisers();
  Status writeHeader();
  Status writeData();
  Status writeTransformed();
};

Encoder::Encoder() : work_(std::make_unique<Work>()) {}
Encoder::~Encoder() = default;

Status Encoder::clean() {
  // Threads stay for the next picture.
  auto workers = std::move(work_->workers);
  *work_ = Work();
  work_->workers = std::move(workers);
  return Status::ok;
}

EncodeOptions& Encoder::options() { return work_->options; }

Status Encoder::setSource(const ImageShape& shape, RowSource& rows) {
  if (shape.width < 1 || shape.width > kMaxSide || shape.height < 1 || shape.height > kMaxSide) {
    return Status::badSize;
  }
  if (shape.channels < 1 || shape.channels > kMaxComponents) return Status::badArgument;
  if (shape.precision < 2 || shape.precision > 16) return Status::badPrecision;
  const int expected = channelsOf(shape.color);
  if (expected != 0 && expected != shape.channels) return Status::badConversion;
  work_->shape = shape;
  work_->source = &rows;
  return Status::ok;
}

Status Encoder::setSource(const ImageShape& shape, const void* pixels, ptrdiff_t step) {
  if (pixels == nullptr) return Status::badArgument;
  work_->memoryRows = MemoryRows(pixels, step != 0 ? step : ptrdiff_t(shape.rowBytes()));
  return setSource(shape, work_->memoryRows);
}

Status Encoder::setDestination(ByteSink& bytes) {
  work_->sink = &bytes;
  return Status::ok;
}

Status Encoder::setDestination(uint8_t* bytes, size_t size) {
  if (bytes == nullptr) return Status::badArgument;
  work_->memoryBytes = MemoryBytes(bytes, size);
  return setDestination(work_->memoryBytes);
}

Status Encoder::writeHeader() {
  if (work_->source == nullptr || work_->sink == nullptr) return Status::outOfOrder;
  return work_->writeHeader();
}

Status Encoder::writeData() {
  if (!work_->hasHeader) return Status::outOfOrder;
  work_->hasHeader = false;
  return work_->writeData();
}

size_t Encoder::size() const { return work_->output == nullptr ? 0 : work_->output->written(); }

Status Encoder::Work::checkOptions() const {
  const EncodeOptions& o = options;
  if (o.quality < 1 || o.quality > 100) return Status::badArgument;
  if (o.restartInterval < 0 || o.restartInterval > 65535) return Status::badArgument;
  if (o.threads < 1 || o.threads > 64) return Status::badArgument;
  if (o.mode == Mode::lossless) return checkLossless();
  if (shape.precision != 8) return Status::badPrecision;
  const int components = channelsOf(o.color) != 0 ? channelsOf(o.color) : shape.channels;
  if (o.mode == Mode::progressive && !o.script.empty()) {
    JPEG_RETURN_IF_ERROR(checkScript(o.script, components));
  }
  for (const Quantisers& q : o.quantisers) {
    const int most = o.mode == Mode::baseline ? 255 : kMaxQuantiser;
    if (std::ranges::any_of(q, [&](int v) { return v < 1 || v > most; })) {
      return Status::badQuantTable;
    }
  }
  return Status::ok;
}

Status Encoder::Work::checkLossless() const {
  const EncodeOptions& o = options;
  if (o.predictor < 1 || o.predictor > 7) return Status::badArgument;
  if (o.pointTransform < 0 || o.pointTransform >= shape.precision) return Status::badArgument;
  const bool isKept = o.color == shape.color || o.color == Color::unknown ||
                      (shape.color == Color::bgr && o.color == Color::rgb);
  return isKept && o.color != Color::bgr ? Status::ok : Status::badConversion;
}

void Encoder::Work::chooseQuantisers() {
  quantisers = options.quantisers;
  if (quantisers.empty()) {
    quantisers = {standardQuantisers(false, options.quality),
                  standardQuantisers(true, options.quality)};
  }
  quantisers.resize(2, quantisers[0]);
}

Status Encoder::Work::buildFrame() {
  constexpr uint8_t kFactors[][2] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {4, 1}};
  frame = Frame();
  constexpr Process kProcesses[] = {Process::baseline, Process::progressive, Process::lossless};
  frame.process = kProcesses[size_t(options.mode)];
  frame.width = shape.width;
  frame.height = shape.height;
  frame.precision = shape.precision;
  const Color color = options.color;
  frame.componentCount = channelsOf(color) != 0 ? channelsOf(color) : shape.channels;
  for (int i = 0; i < frame.componentCount; ++i) {
    Component& c = frame.component[size_t(i)];
    c.id = color == Color::rgb ? uint8_t("RGB"[i]) : uint8_t(i + 1);
    if (frame.isLossless()) continue;
    c.quantTable = uint8_t(tableSetOf(i, color));
    const bool isYcc = color == Color::ycbcr || color == Color::ycck;
    if (isYcc && tableSetOf(i, color) == 0) {
      c.h = kFactors[size_t(options.sampling)][0];
      c.v = kFactors[size_t(options.sampling)][1];
    }
  }
  JPEG_RETURN_IF_ERROR(frame.derive());
  const bool fits = ScanGeometry::of(frame, wholeScan(frame)).blocksInUnit <= kMaxBlocksInMcu;
  return fits ? Status::ok : Status::badSampling;
}

namespace {

/// Everything in front of the first scan but Huffman tables.
Status writeFrontMatter(const Frame& frame, Color color, std::span<const Quantisers> quantisers,
                        const EncodeOptions& options, Output& output) {
  MarkerWriter markers;
  markers.alone(kSOI);
  if (color == Color::gray || color == Color::ycbcr) markers.jfif(options.density);
  JPEG_RETURN_IF_ERROR(markers.metadata(options.metadata));
  if (color == Color::rgb || color == Color::cmyk) markers.adobe(0);
  if (color == Color::ycck) markers.adobe(2);
  std::array<bool, 4> isUsed{};
  for (int i = 0; i < frame.componentCount; ++i) {
    isUsed[frame.component[size_t(i)].quantTable] = true;
  }
  for (int i = 0; i < int(quantisers.size()); ++i) {
    if (isUsed[size_t(i)] && !frame.isLossless()) markers.quantisers(i, quantisers[size_t(i)]);
  }
  markers.frame(frame);
  int interval = options.restartInterval;
  if (frame.isLossless()) interval = losslessRowsInInterval(interval, frame.width) * frame.width;
  if (interval > 0) markers.restartInterval(interval);
  return output.write(markers.bytes());
}

Status writeEnd(Output& output) {
  const uint8_t end[] = {0xFF, kEOI};
  JPEG_RETURN_IF_ERROR(output.drain());
  return output.write(end);
}

}  // namespace

Status Encoder::Work::writeHeader() {
  JPEG_RETURN_IF_ERROR(checkOptions());
  chooseQuantisers();
  JPEG_RETURN_IF_ERROR(buildFrame());
  output = std::make_unique<Output>(sink);
  JPEG_RETURN_IF_ERROR(writeFrontMatter(frame, options.color, quantisers, options, *output));
  hasHeader = true;
  return Status::ok;
}

Status Encoder::Work::writeTransformed() {
  if (options.mode == Mode::lossless) {
    return writeLossless(shape, frame, options, *source, *output);
  }
  const ForwardSetup setup{shape, frame, options.color, quantisers};
  Workers& team = makeWorkers();
  if (options.mode == Mode::baseline) {
    if (options.optimize) return writeOptimized(setup, options, *source, team, *output);
    EncodeTables tables;
    tables.setStandard();
    JPEG_RETURN_IF_ERROR(tables.begin(frame, options.color, *output));
    return options.threads == 1
               ? writeBaseline(tables, options.restartInterval, setup, *source, *output)
               : writeBaselineInRows(tables, options.restartInterval, setup, *source, team,
                                     options.memoryLimit, *output);
  }
  Coefficients coefficients;
  coefficients.frame = frame;
  coefficients.color = options.color;
  JPEG_RETURN_IF_ERROR(coefficients.allocate(options.memoryLimit, false));
  JPEG_RETURN_IF_ERROR(transformAll(setup, *source, team, &coefficients));
  return writeProgressive(coefficients, options, team, *output);
}

Status Encoder::Work::writeData() {
  JPEG_RETURN_IF_ERROR(writeTransformed());
  return writeEnd(*output);
}

namespace {

/// Whether precision and quantisers are those that baseline files may have.
bool isBaseline(const Coefficients& coefficients) {
  const Frame& frame = coefficients.frame;
  for (int i = 0; i < frame.componentCount; ++i) {
    const Quantisers& q = coefficients.quantisers[frame.component[size_t(i)].quantTable];
    if (std::ranges::any_of(q, [](int v) { return v > 255; })) return false;
  }
  return frame.precision == 8;
}

}  // namespace

Status writeCoefficients(const Coefficients& coefficients, const EncodeOptions& options,
                         ByteSink& bytes) {
  if (options.mode == Mode::lossless) return Status::noCoefficients;
  Frame frame = coefficients.frame;
  if (options.mode == Mode::progressive) {
    frame.process = Process::progressive;
  } else if (frame.process == Process::progressive) {
    frame.process = isBaseline(coefficients) ? Process::baseline : Process::extended;
  }
  Output output(&bytes);
  JPEG_RETURN_IF_ERROR(
      writeFrontMatter(frame, coefficients.color, coefficients.quantisers, options, output));
  EncodeOptions scans = options;
  // What the standard tables cannot hold, own ones can.
  if (frame.precision > 8) scans.optimize = true;
  if (options.mode == Mode::progressive) {
    Workers workers(options.threads);
    JPEG_RETURN_IF_ERROR(writeProgressive(coefficients, scans, workers, output));
  } else {
    JPEG_RETURN_IF_ERROR(writeSequential(coefficients, scans, output));
  }
  return writeEnd(output);
}

}  // namespace jpeg
