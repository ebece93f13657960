// The lossless process, both ways: rows of samples, of differences, and of their codes.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "decoder.h"
#include "rkd/rkdjpeg_pred.h"

namespace jpeg {
namespace {

/// Rows of each component, 16 bits a sample whatever the precision.
struct PlanarRow {
  std::array<std::vector<int16_t>, kMaxComponents> samples;

  void resize(int components, int width) {
    for (int i = 0; i < components; ++i) samples[size_t(i)].assign(size_t(width), 0);
  }
  /// The first `count` planes from sample x on, for the library.
  std::array<int16_t*, 4> planes(int count, int x = 0) {
    std::array<int16_t*, 4> pointers{};
    for (int i = 0; i < count; ++i) pointers[size_t(i)] = samples[size_t(i)].data() + x;
    return pointers;
  }
};

template <class Sample, int N>
void takeApart(const uint8_t* pixels, int width, int shift, const std::array<int, 4>& from,
               PlanarRow* row) {
  for (int c = 0; c < N; ++c) {
    int16_t* const to = row->samples[size_t(c)].data();
    const uint8_t* at = pixels + sizeof(Sample) * size_t(from[size_t(c)]);
    for (int x = 0; x < width; ++x, at += N * sizeof(Sample)) {
      Sample sample;
      std::memcpy(&sample, at, sizeof sample);
      to[x] = int16_t(sample >> shift);
    }
  }
}

template <class Sample>
void takeApart(const uint8_t* pixels, const ImageShape& shape, int shift,
               const std::array<int, 4>& from, PlanarRow* row) {
  constexpr decltype(&takeApart<Sample, 1>) kFunctions[] = {
      takeApart<Sample, 1>, takeApart<Sample, 2>, takeApart<Sample, 3>, takeApart<Sample, 4>};
  kFunctions[shape.channels - 1](pixels, shape.width, shift, from, row);
}

// ---- writing ----

/// All differences of a picture, and how often each category occurs.
class Differences {
 public:
  Status compute(const ImageShape& shape, const EncodeOptions& options, int rowsInInterval,
                 RowSource& source);
  HuffmanTable table(int component) const { return optimalTable(counts_[size_t(component)]); }
  const int16_t* row(int component, int y) const {
    return rows_.get() + (size_t(y) * size_t(components_) + size_t(component)) * size_t(width_);
  }

 private:
  int width_ = 0, components_ = 0;
  std::unique_ptr<int16_t[]> rows_;
  std::array<Statistics, kMaxComponents> counts_{};
};

Status Differences::compute(const ImageShape& shape, const EncodeOptions& options,
                            int rowsInInterval, RowSource& source) {
  width_ = shape.width;
  components_ = shape.channels;
  const size_t samples = size_t(shape.width) * size_t(shape.height) * size_t(shape.channels);
  if (samples > options.memoryLimit / sizeof(int16_t)) return Status::overMemoryLimit;
  rows_.reset(new (std::nothrow) int16_t[samples]);
  if (rows_ == nullptr) return Status::noMemory;
  std::array<int, 4> from{0, 1, 2, 3};
  if (shape.color == Color::bgr) std::swap(from[0], from[2]);
  PlanarRow current, previous;
  current.resize(components_, width_);
  previous.resize(components_, width_);
  for (int y = 0; y < shape.height; ++y) {
    const uint8_t* pixels = nullptr;
    ptrdiff_t step = 0;
    JPEG_RETURN_IF_ERROR(source.rows(y, 1, &pixels, &step));
    if (shape.bytesPerSample() == 1) {
      takeApart<uint8_t>(pixels, shape, options.pointTransform, from, &current);
    } else {
      takeApart<uint16_t>(pixels, shape, options.pointTransform, from, &current);
    }
    const bool isFirst = y == 0 || (rowsInInterval > 0 && y % rowsInInterval == 0);
    RkdStatus failure = rkdStsNoErr;
    std::array<const int16_t*, 4> made{};
    std::array<int*, 4> counts{};
    for (int c = 0; c < components_; ++c) {
      auto* const to = const_cast<int16_t*>(row(c, y));
      const int16_t* const samplesHere = current.samples[size_t(c)].data();
      failure |= isFirst
                     ? rkdiDiffPredFirstRow_JPEG_16s_C1(samplesHere, to, width_, shape.precision,
                                                        options.pointTransform)
                     : rkdiDiffPredRow_JPEG_16s_C1(samplesHere, previous.samples[size_t(c)].data(),
                                                   to, width_, options.predictor);
      made[size_t(c)] = to;
      counts[size_t(c)] = counts_[size_t(c)].data();
    }
    failure |= rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(made.data(), width_, counts.data());
    if (failure != rkdStsNoErr) return Status::libraryFailed;
    std::swap(current, previous);
  }
  return Status::ok;
}

}  // namespace

int losslessRowsInInterval(int restartInterval, int width) {
  return restartInterval == 0 ? 0 : std::min(ceilDiv(restartInterval, width), 65535 / width);
}

Status writeLossless(const ImageShape& shape, const Frame& frame, const EncodeOptions& options,
                     RowSource& source, Output& output) {
  const int interval = losslessRowsInInterval(options.restartInterval, shape.width);
  Differences differences;
  JPEG_RETURN_IF_ERROR(differences.compute(shape, options, interval, source));
  MarkerWriter markers;
  Scan scan = wholeScan(frame);
  scan.ss = options.predictor;
  scan.se = 0;
  scan.al = options.pointTransform;
  std::array<EncodeSpec, kMaxComponents> specs;
  std::array<const RkdiEncodeHuffmanSpec*, 4> spec{};
  for (int c = 0; c < frame.componentCount; ++c) {
    const HuffmanTable table = differences.table(c);
    markers.huffman(false, c, table);
    scan.component[size_t(c)].dcTable = c;
    JPEG_RETURN_IF_ERROR(specs[size_t(c)].init(table));
    spec[size_t(c)] = specs[size_t(c)].get();
  }
  markers.scan(frame, scan);
  JPEG_RETURN_IF_ERROR(output.write(markers.bytes()));
  ScanWriter writer(&output);
  JPEG_RETURN_IF_ERROR(writer.start());
  // So many columns at once that their codes always fit.
  const int piece = Output::kRoom / (8 * frame.componentCount);
  for (int y = 0; y < shape.height; ++y) {
    if (y > 0 && interval > 0 && y % interval == 0) JPEG_RETURN_IF_ERROR(writer.restart());
    for (int x = 0; x < shape.width; x += piece) {
      JPEG_RETURN_IF_ERROR(output.makeRoom());
      std::array<const int16_t*, 4> rows{};
      for (int c = 0; c < frame.componentCount; ++c) rows[size_t(c)] = differences.row(c, y) + x;
      const RkdStatus status = rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(
          rows.data(), output.buffer(), Output::kBuffer, &output.position,
          std::min(piece, shape.width - x), spec.data(), writer.state(), 0);
      if (status != rkdStsNoErr) return Status::libraryFailed;
    }
  }
  return writer.flush();
}

// ---- reading ----

namespace {

/// Rows of one scan.
class LosslessScan {
 public:
  explicit LosslessScan(const ScanJob& job)
      : job_(job), count_(job.scan->componentCount), width_(job.frame->width), intervals_(job) {
    difference_.resize(count_, width_);
    current_.resize(count_, width_);
    previous_.resize(count_, width_);
    for (int slot = 0; slot < count_; ++slot) spec_[size_t(slot)] = job.tables->dc(slot).get();
  }

  /// The next row of samples; where data are missing, the row before again.
  const PlanarRow& next() {
    if (intervals_.begins() && intervals_.hasData()) isFirst_ = true;
    std::swap(current_, previous_);
    if (intervals_.hasData()) {
      job_.reader->rebase();
      const auto to = difference_.planes(count_);
      const RkdStatus status = rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(
          job_.reader->stream(), job_.reader->length(), job_.reader->position(), to.data(),
          job_.reader->marker(), width_, spec_.data(), job_.reader->state());
      if (status == rkdStsNoErr) {
        reconstruct();
        return current_;
      }
      intervals_.damage(status);
    }
    if (isFirst_ && !isAny_) {
      for (int i = 0; i < count_; ++i) {
        const int middle = 1 << (job_.frame->precision - job_.scan->al - 1);
        std::ranges::fill(previous_.samples[size_t(i)], int16_t(middle));
      }
      isAny_ = true;
    }
    for (int i = 0; i < count_; ++i) current_.samples[size_t(i)] = previous_.samples[size_t(i)];
    return current_;
  }

 private:
  void reconstruct() {
    for (size_t i = 0; i < size_t(count_); ++i) {
      const int16_t* const from = difference_.samples[i].data();
      int16_t* const to = current_.samples[i].data();
      if (isFirst_) {
        (void)rkdiReconstructPredFirstRow_JPEG_16s_C1(from, to, width_, job_.frame->precision,
                                                      job_.scan->al);
      } else {
        (void)rkdiReconstructPredRow_JPEG_16s_C1(from, previous_.samples[i].data(), to, width_,
                                                 job_.scan->ss);
      }
    }
    isFirst_ = false;
    isAny_ = true;
  }

  const ScanJob& job_;
  int count_, width_;
  IntervalReader intervals_;
  bool isFirst_ = true, isAny_ = false;
  PlanarRow difference_, current_, previous_;
  std::array<const RkdiDecodeHuffmanSpec*, 4> spec_{};
};

template <class Sample>
void putTogether(const std::array<const int16_t*, 4>& planes, const LosslessSetup& setup,
                 uint8_t* dst) {
  const int n = setup.image.channels;
  const unsigned mask = (1u << setup.image.precision) - 1;
  for (int c = 0; c < n; ++c) {
    const int16_t* const from = planes[size_t(c)] + setup.region.x;
    for (int x = 0; x < setup.region.width; ++x) {
      const Sample sample = Sample((unsigned(uint16_t(from[x])) << setup.shift) & mask);
      std::memcpy(dst + sizeof(Sample) * size_t(x * n + c), &sample, sizeof sample);
    }
  }
}

/// One row of pixels from the planes of samples.
Status putRow(const std::array<const int16_t*, 4>& planes, int y, const LosslessSetup& setup,
              RowSink& sink) {
  const Rect& region = setup.region;
  if (y < region.y || y >= region.y + region.height) return Status::ok;
  uint8_t* dst = nullptr;
  ptrdiff_t step = 0;
  JPEG_RETURN_IF_ERROR(sink.room(y - region.y, 1, &dst, &step));
  std::array<const int16_t*, 4> ordered = planes;
  if (setup.image.color == Color::bgr) std::swap(ordered[0], ordered[2]);
  if (setup.image.channels == 3 && planes[1] == nullptr) ordered[1] = ordered[2] = ordered[0];
  if (setup.image.bytesPerSample() == 1) {
    putTogether<uint8_t>(ordered, setup, dst);
  } else {
    putTogether<uint16_t>(ordered, setup, dst);
  }
  return sink.done(y - region.y, 1);
}

}  // namespace

Status checkLosslessScan(const Frame& frame, const Scan& scan) {
  for (int i = 0; i < scan.componentCount; ++i) {
    const Component& c = frame.component[size_t(scan.component[size_t(i)].index)];
    // Interleaved, other factors would change the order of samples, too.
    const bool isWhole = scan.isInterleaved() ? c.h * c.v == 1 : true;
    if (!isWhole || c.h != frame.hMax || c.v != frame.vMax) return Status::losslessSampling;
  }
  const bool isValid = scan.ss >= 1 && scan.ss <= 7 && scan.al < frame.precision;
  return isValid ? Status::ok : Status::badScan;
}

Status readLossless(const ScanJob& job, const LosslessSetup& setup, RowSink& sink) {
  LosslessScan scan(job);
  for (int y = 0; y < job.frame->height; ++y) {
    const PlanarRow& row = scan.next();
    std::array<const int16_t*, 4> planes{};
    for (int slot = 0; slot < job.scan->componentCount; ++slot) {
      planes[size_t(job.scan->component[size_t(slot)].index)] = row.samples[size_t(slot)].data();
    }
    JPEG_RETURN_IF_ERROR(putRow(planes, y, setup, sink));
  }
  return Status::ok;
}

Status readLossless(const ScanJob& job, LosslessPlanes* planes) {
  LosslessScan scan(job);
  const size_t width = size_t(job.frame->width);
  for (int y = 0; y < job.frame->height; ++y) {
    const PlanarRow& row = scan.next();
    for (int slot = 0; slot < job.scan->componentCount; ++slot) {
      auto& plane = (*planes)[size_t(job.scan->component[size_t(slot)].index)];
      plane.resize(width * size_t(job.frame->height));
      std::ranges::copy(row.samples[size_t(slot)], plane.begin() + ptrdiff_t(width * size_t(y)));
    }
  }
  return Status::ok;
}

Status putPlanes(const LosslessPlanes& planes, const Frame& frame, const LosslessSetup& setup,
                 RowSink& sink) {
  const std::vector<int16_t> none(size_t(frame.width), 0);
  for (int y = 0; y < frame.height; ++y) {
    std::array<const int16_t*, 4> rows{};
    for (int i = 0; i < frame.componentCount; ++i) {
      const auto& plane = planes[size_t(i)];
      rows[size_t(i)] =
          plane.empty() ? none.data() : plane.data() + size_t(frame.width) * size_t(y);
    }
    JPEG_RETURN_IF_ERROR(putRow(rows, y, setup, sink));
  }
  return Status::ok;
}

}  // namespace jpeg
