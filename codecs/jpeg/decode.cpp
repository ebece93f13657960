// The decoder: headers, choice of the way to the pixels, and what was wrong but could be read.
#include <algorithm>
#include <cstring>

#include "decoder.h"
#include "deeppixels.h"

namespace jpeg {

void Warnings::add(Status status) {
  if (std::ranges::find(all_, status) == all_.end()) all_.push_back(status);
}

// ---- tables ----

Status ScanTables::make(bool isAc, int number, const Tables& tables, Warnings* warnings,
                        const DecodeSpec** spec) {
  const size_t slot = size_t(number);
  Made& made = isAc ? madeAc_[slot] : madeDc_[slot];
  const auto& table = isAc ? tables.ac[slot] : tables.dc[slot];
  const int version = isAc ? tables.acVersion[slot] : tables.dcVersion[slot];
  *spec = &made.spec;
  if (made.version == version) return Status::ok;
  made.version = version;
  if (!table.has_value()) {
    warnings->add(Status::standardTables);
    return made.spec.init(standardHuffman(isAc, number != 0));
  }
  const Status status = made.spec.init(*table);
  if (isError(status)) made.version = -1;
  return status;
}

Status ScanTables::prepare(const Frame& frame, const Scan& scan, const Tables& tables,
                           Warnings* warnings) {
  const bool isProgressive = frame.process == Process::progressive;
  for (int slot = 0; slot < scan.componentCount; ++slot) {
    const ScanComponent& c = scan.component[size_t(slot)];
    const size_t at = size_t(slot);
    if (isProgressive ? scan.ss == 0 && scan.ah == 0 : true) {
      JPEG_RETURN_IF_ERROR(make(false, c.dcTable, tables, warnings, &dc_[at]));
    }
    if (isProgressive ? scan.ss > 0 : !frame.isLossless()) {
      JPEG_RETURN_IF_ERROR(make(true, c.acTable, tables, warnings, &ac_[at]));
    }
  }
  return Status::ok;
}

// ---- destinations ----

namespace {

class MemoryPixels : public RowSink {
 public:
  MemoryPixels() = default;
  MemoryPixels(void* pixels, size_t size, ptrdiff_t step)
      : pixels_(static_cast<uint8_t*>(pixels)), size_(size), step_(step) {}
  /// Whether a picture fits; the step is chosen here when it was left open.
  bool fits(const ImageShape& shape) {
    const size_t row = shape.rowBytes();
    if (step_ == 0) step_ = ptrdiff_t(row);
    if (step_ < ptrdiff_t(row) || row > size_) return false;
    return (size_ - row) / size_t(step_) >= size_t(shape.height - 1);
  }
  Status room(int first, int, uint8_t** pixels, ptrdiff_t* step) override {
    *pixels = pixels_ + step_ * first;
    *step = step_;
    return Status::ok;
  }
  Status done(int, int) override { return Status::ok; }

 private:
  uint8_t* pixels_ = nullptr;
  size_t size_ = 0;
  ptrdiff_t step_ = 0;
};

/// Colour that pixels have when nothing else is asked for.
Color naturalColor(Color file, const Frame& frame) {
  if (frame.isLossless()) return file;
  if (file == Color::ycbcr) return Color::rgb;
  return file == Color::ycck ? Color::cmyk : file;
}

bool isConversion(Color from, Color to, const Frame& frame) {
  if (from == to) return true;
  // Lossless samples are handed over as they are, in either order.
  if (frame.isLossless() && from != Color::gray) return from == Color::rgb && to == Color::bgr;
  switch (from) {
    case Color::gray:
      return to == Color::rgb || to == Color::bgr;
    case Color::ycbcr:
      return to == Color::rgb || to == Color::bgr || to == Color::gray;
    case Color::rgb:
      return to == Color::bgr;
    case Color::ycck:
      return to == Color::cmyk;
    default:
      return false;
  }
}

}  // namespace

// ---- the steps ----

struct Decoder::Work {
  DecodeOptions options;
  std::span<const uint8_t> file;
  MemoryPixels memoryPixels;
  bool isMemory = false;
  RowSink* sink = nullptr;
  MarkerReader markers;
  FileInfo info;
  Warnings warnings;
  bool hasHeader = false;
  ScanTables tables;
  ScanReader reader;
  uint64_t blocksRead = 0;
  std::array<bool, kMaxComponents> hasDc{};
  std::unique_ptr<Workers> workers;

  Workers& makeWorkers() {
    if (workers == nullptr || workers->count() != options.threads) {
      workers = std::make_unique<Workers>(options.threads);
    }
    return *workers;
  }
  void takeWarnings() {
    for (const Status w : markers.takeWarnings()) warnings.add(w);
  }
  Status outcome() const;
  Status checkWork() const;
  Status countWork();
  Status showScan(const Coefficients& coefficients, int scan);
  InverseSetup inverseSetup() const;
  Status readHeader();
  Status describeImage();
  Status checkQuantisers(std::array<Quantisers, 4>* quantisers);
  Status readData();
  Status readScans(Coefficients* coefficients);
  Status readScan(Coefficients* coefficients);
  Status readOnePass(const InverseJob& inverse);
  Status transformAll(const Coefficients& coefficients, const InverseJob& inverse);
  Status readLosslessScans(const Rect& region);
  bool isOnePass() const;
  Status startScan(ScanJob* job);
  Status afterScan(Found* found);
};

Decoder::Decoder() : work_(std::make_unique<Work>()) {}
Decoder::~Decoder() = default;

Status Decoder::clean() {
  // Threads stay for the next file.
  auto workers = std::move(work_->workers);
  work_ = std::make_unique<Work>();
  work_->workers = std::move(workers);
  return Status::ok;
}

DecodeOptions& Decoder::options() { return work_->options; }
const FileInfo& Decoder::info() const { return work_->info; }
const Metadata& Decoder::metadata() const { return work_->markers.metadata(); }
const std::vector<Status>& Decoder::warnings() const { return work_->warnings.all(); }

Status Decoder::setSource(std::span<const uint8_t> file) {
  if (file.data() == nullptr) return Status::badArgument;
  work_->file = file;
  work_->hasHeader = false;
  return Status::ok;
}

Status Decoder::setDestination(RowSink& rows) {
  work_->sink = &rows;
  work_->isMemory = false;
  return Status::ok;
}

Status Decoder::setDestination(void* pixels, size_t size, ptrdiff_t step) {
  if (pixels == nullptr || step < 0) return Status::badArgument;
  work_->memoryPixels = MemoryPixels(pixels, size, step);
  work_->sink = &work_->memoryPixels;
  work_->isMemory = true;
  return Status::ok;
}

Status Decoder::readHeader() {
  if (work_->file.data() == nullptr) return Status::outOfOrder;
  return work_->readHeader();
}

Status Decoder::readData() {
  if (!work_->hasHeader || work_->sink == nullptr) return Status::outOfOrder;
  work_->hasHeader = false;
  const Status status = work_->readData();
  return isError(status) ? status : work_->outcome();
}

Status Decoder::readCoefficients(Coefficients* coefficients) {
  if (!work_->hasHeader) return Status::outOfOrder;
  if (work_->info.frame.isLossless()) return Status::noCoefficients;
  work_->hasHeader = false;
  JPEG_RETURN_IF_ERROR(work_->readScans(coefficients));
  return work_->outcome();
}

/// The first warning; an error in strict mode.
Status Decoder::Work::outcome() const {
  if (warnings.all().empty()) return Status::ok;
  return options.strict ? Status::notStrict : warnings.all().front();
}

Status Decoder::Work::readHeader() {
  markers = MarkerReader(file);
  warnings.clear();
  info = FileInfo();
  JPEG_RETURN_IF_ERROR(markers.start());
  Found found = Found::end;
  JPEG_RETURN_IF_ERROR(markers.next(&found));
  if (found != Found::scan) {
    if (markers.hasFrame()) return Status::noScan;
    return found == Found::end ? Status::noImage : Status::noFrame;
  }
  Frame& frame = markers.frame();
  if (frame.height == 0 || frame.height == kMaxSide) {
    const int height = heightFromDnl(file, markers.position());
    if (height == 0 && frame.height == 0) return Status::noHeight;
    if (height != 0) frame.height = height;
    JPEG_RETURN_IF_ERROR(frame.derive());
  }
  info.frame = frame;
  info.hasJfif = markers.hasJfif();
  info.hasAdobe = markers.hasAdobe();
  info.adobeTransform = markers.adobeTransform();
  info.density = markers.density();
  info.restartInterval = markers.tables().restartInterval;
  info.color = colorOf(frame, info.hasJfif, info.adobeTransform);
  markers.finishMetadata();
  takeWarnings();
  JPEG_RETURN_IF_ERROR(describeImage());
  hasHeader = true;
  return Status::ok;
}

/// A file cannot hold fewer bits than blocks: one that says so is refused where filling the picture
/// would take long.
Status Decoder::Work::checkWork() const {
  constexpr uint64_t kHarmless = uint64_t{1} << 26;
  const uint64_t pixels = uint64_t(info.frame.width) * uint64_t(info.frame.height);
  const bool isLong = pixels > kHarmless && file.size() * 8 < info.frame.blocks();
  return isLong ? Status::tooLittleData : Status::ok;
}

/// Runs of empty blocks cost nothing in the file, but time: what the scans of a file may visit
/// grows with its bytes.
Status Decoder::Work::countWork() {
  const ScanGeometry geometry = ScanGeometry::of(info.frame, markers.scan());
  blocksRead +=
      uint64_t(geometry.across) * uint64_t(geometry.down) * uint64_t(geometry.blocksInUnit);
  return blocksRead > (uint64_t{1} << 26) + 1024 * uint64_t{file.size()} ? Status::manyScans
                                                                         : Status::ok;
}

Status Decoder::Work::describeImage() {
  const int scale = options.scale;
  if (scale != 1 && scale != 2 && scale != 4 && scale != 8) return Status::badArgument;
  const Color color =
      options.color == Color::unknown ? naturalColor(info.color, info.frame) : options.color;
  if (!isConversion(info.color, color, info.frame)) return Status::badConversion;
  ImageShape& image = info.image;
  image.color = color;
  image.channels = color == Color::unknown ? info.frame.componentCount : channelsOf(color);
  image.precision = info.frame.precision;
  image.width = ceilDiv(info.frame.width, scale);
  image.height = ceilDiv(info.frame.height, scale);
  const Rect& crop = options.crop;
  if (crop.isEmpty()) return Status::ok;
  if (crop.x < 0 || crop.y < 0 || crop.width < 0 || crop.height < 0 ||
      crop.width > image.width - crop.x || crop.height > image.height - crop.y) {
    return Status::badCrop;
  }
  image.width = crop.width;
  image.height = crop.height;
  return Status::ok;
}

Status Decoder::Work::checkQuantisers(std::array<Quantisers, 4>* quantisers) {
  const Frame& frame = info.frame;
  for (int i = 0; i < frame.componentCount; ++i) {
    const size_t number = frame.component[size_t(i)].quantTable;
    const auto& table = markers.tables().quantisers[number];
    if (!table.has_value()) return Status::noQuantTable;
    (*quantisers)[number] = *table;
  }
  return Status::ok;
}

Status Decoder::Work::startScan(ScanJob* job) {
  JPEG_RETURN_IF_ERROR(tables.prepare(info.frame, markers.scan(), markers.tables(), &warnings));
  JPEG_RETURN_IF_ERROR(reader.start(file, markers.position()));
  *job = {&info.frame, &markers.scan(), &tables, markers.tables().restartInterval,
          &reader,     &warnings};
  return Status::ok;
}

Status Decoder::Work::afterScan(Found* found) {
  markers.moveTo(reader.end());
  const Status status = markers.next(found);
  takeWarnings();
  if (!isError(status) && *found == Found::outOfData) warnings.add(Status::noEndOfImage);
  return status;
}

bool Decoder::Work::isOnePass() const {
  const Process process = info.frame.process;
  return (process == Process::baseline || process == Process::extended) &&
         info.frame.precision == 8 && markers.scan().componentCount == info.frame.componentCount &&
         !(info.frame.componentCount == 1 &&
           info.frame.component[0].h * info.frame.component[0].v > 1);
}

Status Decoder::Work::readScan(Coefficients* coefficients) {
  ScanJob job;
  JPEG_RETURN_IF_ERROR(countWork());
  JPEG_RETURN_IF_ERROR(startScan(&job));
  for (int slot = 0; slot < job.scan->componentCount && job.scan->ss == 0; ++slot) {
    hasDc[size_t(job.scan->component[size_t(slot)].index)] = true;
  }
  return info.frame.process == Process::progressive ? readProgressive(job, coefficients)
                                                    : readSequential(job, coefficients);
}

Status Decoder::Work::readScans(Coefficients* coefficients) {
  JPEG_RETURN_IF_ERROR(checkWork());
  coefficients->frame = info.frame;
  coefficients->color = info.color;
  JPEG_RETURN_IF_ERROR(coefficients->allocate(options.memoryLimit));
  Found found = Found::scan;
  for (int count = 0; found == Found::scan; ++count) {
    if (count >= options.maxScans) return Status::manyScans;
    Status status = readScan(coefficients);
    if (status == Status::manyScans) return status;
    if (!isError(status)) status = afterScan(&found);
    if (isError(status)) {
      if (count == 0) return status;
      warnings.add(Status::scansLeftOut);
      break;
    }
    if (found == Found::scan) JPEG_RETURN_IF_ERROR(showScan(*coefficients, count));
  }
  for (int i = 0; i < info.frame.componentCount; ++i) {
    if (!hasDc[size_t(i)]) warnings.add(Status::missingScans);
  }
  return checkQuantisers(&coefficients->quantisers);
}

/// The picture as it stands, for users who want to see it early.
Status Decoder::Work::showScan(const Coefficients& coefficients, int scan) {
  if (!options.onScan || !isMemory || info.frame.precision != 8) return Status::ok;
  std::array<Quantisers, 4> quantisers{};
  JPEG_RETURN_IF_ERROR(checkQuantisers(&quantisers));
  InversePixels pixels;
  JPEG_RETURN_IF_ERROR(pixels.init(info.frame, quantisers, inverseSetup()));
  JPEG_RETURN_IF_ERROR(inverseAll(coefficients, pixels, *sink));
  return options.onScan(scan) ? Status::ok : Status::stopped;
}

Status Decoder::Work::readOnePass(const InverseJob& inverse) {
  ScanJob job;
  JPEG_RETURN_IF_ERROR(startScan(&job));
  if (options.threads > 1) {
    JPEG_RETURN_IF_ERROR(
        readBaselineInWaves(job, inverse, *sink, makeWorkers(), options.memoryLimit));
  } else {
    InversePixels pixels;
    JPEG_RETURN_IF_ERROR(pixels.init(*inverse.frame, *inverse.quantisers, inverse.setup));
    JPEG_RETURN_IF_ERROR(readBaseline(job, pixels, *sink));
  }
  Found found = Found::end;
  const Status status = afterScan(&found);
  if (isError(status)) warnings.add(Status::scansLeftOut);
  return Status::ok;
}

Status Decoder::Work::transformAll(const Coefficients& coefficients, const InverseJob& inverse) {
  if (options.threads > 1) return inverseAllInBands(coefficients, inverse, *sink, makeWorkers());
  InversePixels pixels;
  JPEG_RETURN_IF_ERROR(pixels.init(*inverse.frame, *inverse.quantisers, inverse.setup));
  return inverseAll(coefficients, pixels, *sink);
}

Status Decoder::Work::readLosslessScans(const Rect& region) {
  if (options.scale != 1) return Status::badArgument;
  const Frame& frame = info.frame;
  LosslessPlanes planes;
  LosslessSetup setup{info.image, region, 0};
  Found found = Found::scan;
  for (int count = 0; found == Found::scan; ++count) {
    if (count >= options.maxScans) return Status::manyScans;
    const Scan& scan = markers.scan();
    JPEG_RETURN_IF_ERROR(checkLosslessScan(frame, scan));
    ScanJob job;
    JPEG_RETURN_IF_ERROR(startScan(&job));
    // Intervals are whole rows of MCUs.
    if (job.restartInterval % frame.width != 0) return Status::badScan;
    job.restartInterval /= frame.width;
    setup.shift = scan.al;
    if (count == 0 && scan.componentCount == frame.componentCount) {
      JPEG_RETURN_IF_ERROR(readLossless(job, setup, *sink));
      if (isError(afterScan(&found))) warnings.add(Status::scansLeftOut);
      return Status::ok;
    }
    const size_t samples = size_t(frame.width) * size_t(frame.height);
    if (samples > options.memoryLimit / (2 * size_t(frame.componentCount))) {
      return Status::overMemoryLimit;
    }
    JPEG_RETURN_IF_ERROR(readLossless(job, &planes));
    JPEG_RETURN_IF_ERROR(afterScan(&found));
  }
  for (int i = 0; i < frame.componentCount; ++i) {
    if (planes[size_t(i)].empty()) warnings.add(Status::missingScans);
  }
  return putPlanes(planes, frame, setup, *sink);
}

InverseSetup Decoder::Work::inverseSetup() const {
  const Rect all{0, 0, ceilDiv(info.frame.width, options.scale),
                 ceilDiv(info.frame.height, options.scale)};
  return {info.color, info.image.color, options.scale, options.upsampling,
          options.crop.isEmpty() ? all : options.crop};
}

Status Decoder::Work::readData() {
  JPEG_RETURN_IF_ERROR(describeImage());
  if (isMemory && !memoryPixels.fits(info.image)) return Status::destinationFull;
  JPEG_RETURN_IF_ERROR(checkWork());
  const InverseSetup setup = inverseSetup();
  if (info.frame.isLossless()) return readLosslessScans(setup.region);
  if (options.threads < 1 || options.threads > 64) return Status::badArgument;
  if (isOnePass()) {
    std::array<Quantisers, 4> quantisers{};
    JPEG_RETURN_IF_ERROR(checkQuantisers(&quantisers));
    return readOnePass({&info.frame, &quantisers, setup});
  }
  Coefficients coefficients;
  JPEG_RETURN_IF_ERROR(readScans(&coefficients));
  if (info.frame.precision > 8) {
    DeepPixels deep;
    JPEG_RETURN_IF_ERROR(deep.init(coefficients, setup, options.memoryLimit));
    return deep.put(*sink);
  }
  return transformAll(coefficients, {&info.frame, &coefficients.quantisers, setup});
}

}  // namespace jpeg
