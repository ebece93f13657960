// The library's Huffman coders as scans use them.
#include "entropy.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "markers.h"

namespace jpeg {

void* Object::get() {
  if (memory_ == nullptr) {
    int size = 0;
    if (getSize_(&size) != rkdStsNoErr) return nullptr;
    memory_.reset(new (std::nothrow) uint64_t[size_t(size + 7) / 8]());
  }
  return memory_.get();
}

Status EncodeSpec::init(const HuffmanTable& table) {
  auto* const spec = static_cast<RkdiEncodeHuffmanSpec*>(object_.get());
  if (spec == nullptr) return Status::noMemory;
  if (rkdiEncodeHuffmanSpecInit_JPEG_8u(table.bits.data(), table.values.data(), spec) !=
      rkdStsNoErr) {
    return Status::badHuffmanTable;
  }
  spec_ = spec;
  return Status::ok;
}

Status DecodeSpec::init(const HuffmanTable& table) {
  auto* const spec = static_cast<RkdiDecodeHuffmanSpec*>(object_.get());
  if (spec == nullptr) return Status::noMemory;
  if (rkdiDecodeHuffmanSpecInit_JPEG_8u(table.bits.data(), table.values.data(), spec) !=
      rkdStsNoErr) {
    return Status::badHuffmanTable;
  }
  spec_ = spec;
  return Status::ok;
}

HuffmanTable optimalTable(const Statistics& statistics) {
  HuffmanTable table;
  // Cannot fail: no pointer is null.
  (void)rkdiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), table.bits.data(),
                                              table.values.data());
  return table;
}

// ---- writing ----

Status Output::drain() {
  if (position == 0) return Status::ok;
  const int count = position;
  position = 0;
  written_ += size_t(count);
  return sink_->write(buffer_.data(), size_t(count));
}

Status Output::restartMarker(int number) {
  JPEG_RETURN_IF_ERROR(makeRoom());
  buffer_[size_t(position++)] = 0xFF;
  buffer_[size_t(position++)] = uint8_t(kRST0 + (number & 7));
  return Status::ok;
}

Status Output::write(std::span<const uint8_t> bytes) {
  JPEG_RETURN_IF_ERROR(drain());
  written_ += bytes.size();
  return bytes.empty() ? Status::ok : sink_->write(bytes.data(), bytes.size());
}

Status MemoryOutput::moveTo(Output& to) {
  JPEG_RETURN_IF_ERROR(output.drain());
  JPEG_RETURN_IF_ERROR(to.write(made_.bytes));
  made_.bytes.clear();
  return Status::ok;
}

Status ScanWriter::start(int restarts) {
  state_ = static_cast<RkdiEncodeHuffmanState*>(object_.get());
  if (state_ == nullptr) return Status::noMemory;
  restarts_ = restarts;
  return rkdiEncodeHuffmanStateInit_JPEG_8u(state_) == rkdStsNoErr ? Status::ok
                                                                   : Status::libraryFailed;
}

Status ScanWriter::flush() {
  JPEG_RETURN_IF_ERROR(output_->makeRoom());
  const RkdStatus status =
      rkdiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, output_->buffer(), Output::kBuffer,
                                         &output_->position, nullptr, nullptr, nullptr, state_, 1);
  return status == rkdStsNoErr ? Status::ok : Status::libraryFailed;
}

Status ScanWriter::restart() {
  JPEG_RETURN_IF_ERROR(flush());
  return output_->restartMarker(restarts_++);
}

// ---- reading ----

Status ScanReader::start(std::span<const uint8_t> file, size_t from) {
  state_ = static_cast<RkdiDecodeHuffmanState*>(object_.get());
  if (state_ == nullptr) return Status::noMemory;
  file_ = file;
  stream_ = file.data() + from;
  position_ = 0;
  length_ = 0;
  marker_ = 0;
  restarts_ = 0;
  rebase();
  return rkdiDecodeHuffmanStateInit_JPEG_8u(state_) == rkdStsNoErr ? Status::ok
                                                                   : Status::libraryFailed;
}

Status ScanReader::startBehind(const ScanReader& reader, size_t place, int restarts) {
  JPEG_RETURN_IF_ERROR(start(reader.file_, place));
  restarts_ = restarts;
  return Status::ok;
}

void ScanReader::rebase() {
  if (position_ < 1 << 30 && length_ > 0) return;
  stream_ += position_;
  position_ = 0;
  length_ = int(std::min(file_.size() - offset(), size_t(std::numeric_limits<int>::max())));
}

int ScanReader::findMarker(int from, int* at) const {
  for (int i = from; i + 1 < length_; ++i) {
    const auto* const found =
        static_cast<const uint8_t*>(std::memchr(stream_ + i, 0xFF, size_t(length_ - i - 1)));
    if (found == nullptr) break;
    i = int(found - stream_);
    if (found[1] == 0 || found[1] == 0xFF) continue;
    *at = i;
    return found[1];
  }
  *at = length_;
  return -1;
}

Resync ScanReader::restart(bool* isClean) {
  const int expected = kRST0 + (restarts_ & 7);
  *isClean = marker_ == expected && stream_[position_] == 0xFF && stream_[position_ + 1] == marker_;
  int at = position_;
  if (!*isClean) {
    for (;;) {
      const int code = findMarker(at, &at);
      if (!isRestart(code)) return Resync::end;
      const int ahead = (code - expected) & 7;
      if (ahead == 0) break;
      // A marker of the near future: what stood between is missing. One of the past is a copy.
      if (ahead < 4) {
        ++restarts_;
        position_ = at;
        marker_ = code;
        return Resync::lost;
      }
      at += 2;
    }
  }
  ++restarts_;
  position_ = at + 2;
  marker_ = 0;
  (void)rkdiDecodeHuffmanStateInit_JPEG_8u(state_);  // cannot fail
  return Resync::inStep;
}

std::vector<size_t> ScanReader::restartsAhead(int count) const {
  std::vector<size_t> places;
  int at = position_;
  for (int i = 0; i < count && findMarker(at, &at) == kRST0 + ((restarts_ + i) & 7); ++i) {
    at += 2;
    places.push_back(offset() + size_t(at));
  }
  return places;
}

size_t ScanReader::end() const {
  int at = position_;
  while (isRestart(findMarker(at, &at))) at += 2;
  return offset() + size_t(at);
}

bool ScanReader::isOutOfData() const {
  int at = 0;
  return findMarker(position_, &at) < 0;
}

}  // namespace jpeg
