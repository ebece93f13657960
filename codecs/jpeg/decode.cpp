#include <algorithm>
#include <cstring>

#include "decoder.h"

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
Color naturalColor(Color file) {
  if (file == Color::ycbcr) return Color::rgb;
  return file == Color::ycck ? Color::cmyk : file;
}

bool isConversion(Color from, Color to) {
  if (from == to) return true;
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

  void takeWarnings() {
    for (const Status w : markers.takeWarnings()) warnings.add(w);
  }
  Status outcome() const;
  Status readHeader();
  Status describeImage();
  Status checkQuantisers(std::array<Quantisers, 4>* quantisers);
  Status readData();
  Status readScans(Coefficients* coefficients);
  Status readScan(Coefficients* coefficients);
  Status readOnePass(InversePixels& pixels);
  bool isOnePass() const;
  Status startScan(ScanJob* job);
  Status afterScan(Found* found);
};

Decoder::Decoder() : work_(std::make_unique<Work>()) {}
Decoder::~Decoder() = default;

Status Decoder::clean() {
  work_ = std::make_unique<Work>();
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
  if (!work_->hasHeader || work_->info.frame.isLossless()) return Status::outOfOrder;
  work_->hasHeader = false;
  JPEG_RETURN_IF_ERROR(work_->readScans(coefficients));
  return work_->outcome();
}

/// The first warning; in strict mode callers take it for an error.
Status Decoder::Work::outcome() const {
  return warnings.all().empty() ? Status::ok : warnings.all().front();
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

Status Decoder::Work::describeImage() {
  const int scale = options.scale;
  if (scale != 1 && scale != 2 && scale != 4 && scale != 8) return Status::badArgument;
  const Color color = options.color == Color::unknown ? naturalColor(info.color) : options.color;
  if (!isConversion(info.color, color)) return Status::badConversion;
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
  JPEG_RETURN_IF_ERROR(startScan(&job));
  return info.frame.process == Process::progressive ? readProgressive(job, coefficients)
                                                    : readSequential(job, coefficients);
}

Status Decoder::Work::readScans(Coefficients* coefficients) {
  coefficients->frame = info.frame;
  coefficients->color = info.color;
  JPEG_RETURN_IF_ERROR(coefficients->allocate(options.memoryLimit));
  Found found = Found::scan;
  for (int count = 0; found == Found::scan; ++count) {
    if (count >= options.maxScans) return Status::manyScans;
    Status status = readScan(coefficients);
    if (!isError(status)) status = afterScan(&found);
    if (isError(status)) {
      if (count == 0) return status;
      warnings.add(Status::scansLeftOut);
      break;
    }
  }
  return checkQuantisers(&coefficients->quantisers);
}

Status Decoder::Work::readOnePass(InversePixels& pixels) {
  ScanJob job;
  JPEG_RETURN_IF_ERROR(startScan(&job));
  JPEG_RETURN_IF_ERROR(readBaseline(job, pixels, *sink));
  Found found = Found::end;
  const Status status = afterScan(&found);
  if (isError(status)) warnings.add(Status::scansLeftOut);
  return Status::ok;
}

Status Decoder::Work::readData() {
  JPEG_RETURN_IF_ERROR(describeImage());
  if (isMemory && !memoryPixels.fits(info.image)) return Status::destinationFull;
  const Rect all{0, 0, ceilDiv(info.frame.width, options.scale),
                 ceilDiv(info.frame.height, options.scale)};
  const InverseSetup setup{info.color, info.image.color, options.scale, options.upsampling,
                           options.crop.isEmpty() ? all : options.crop};
  InversePixels pixels;
  std::array<Quantisers, 4> quantisers{};
  if (isOnePass()) {
    JPEG_RETURN_IF_ERROR(checkQuantisers(&quantisers));
    JPEG_RETURN_IF_ERROR(pixels.init(info.frame, quantisers, setup));
    return readOnePass(pixels);
  }
  Coefficients coefficients;
  JPEG_RETURN_IF_ERROR(readScans(&coefficients));
  JPEG_RETURN_IF_ERROR(pixels.init(info.frame, coefficients.quantisers, setup));
  return inverseAll(coefficients, pixels, *sink);
}

}  // namespace jpeg
