// Pieces of entropy-coded data, joined bit by bit.
#include "bitjoin.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace jpeg {
namespace {

struct Code {
  uint32_t bits = 0;
  int length = 0;
};

/// The code of symbol 0. @see ITU-T T.81, Annex C
Code codeOfZero(const HuffmanTable& table) {
  uint32_t code = 0;
  size_t at = 0;
  for (int length = 1; length <= 16; ++length, code <<= 1) {
    for (int i = 0; i < table.bits[size_t(length - 1)]; ++i, ++code) {
      if (table.values[at++] == 0) return {code, length};
    }
  }
  return {};
}

uint64_t bigEndian(const uint8_t* bytes) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return __builtin_bswap64(word);
}

bool hasFF(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101, kTops = kOnes << 7;
  return ((~word - kOnes) & word & kTops) != 0;
}

}  // namespace

EndMark::EndMark(const HuffmanTable& dc, const HuffmanTable& ac) {
  const Code difference = codeOfZero(dc), end = codeOfZero(ac);
  length_ = difference.length + end.length;
  onesAtEnd_ = std::countr_one(uint64_t{difference.bits} << end.length | end.bits);
}

void BitJoiner::putByte(uint8_t value) {
  output_->buffer()[output_->position++] = value;
  if (value == 0xFF) output_->buffer()[output_->position++] = 0;
}

void BitJoiner::put(uint64_t bits, int count) {
  for (int left = count; left > 0;) {
    const int taken = std::min(left, 8 - count_);
    left -= taken;
    pending_ = pending_ << taken | (bits >> left & ((1U << taken) - 1));
    count_ += taken;
    if (count_ < 8) return;
    putByte(uint8_t(pending_));
    pending_ = 0;
    count_ = 0;
  }
}

Status BitJoiner::appendBytes(std::span<const uint8_t> stuffed) {
  if (count_ == 0) return output_->write(stuffed);
  constexpr size_t kStretch = Output::kRoom / 2 - 8;  // every byte may become two
  const int high = 8 - count_;
  const uint64_t kept = (1U << count_) - 1;
  for (size_t i = 0; i < stuffed.size();) {
    JPEG_RETURN_IF_ERROR(output_->makeRoom());
    const size_t end = std::min(stuffed.size(), i + kStretch);
    while (i < end) {
      if (i + 8 <= stuffed.size()) {
        const uint64_t word = bigEndian(&stuffed[i]);
        const uint64_t shifted = pending_ << (56 + high) | word >> count_;
        if (!hasFF(word) && !hasFF(shifted)) {
          const uint64_t bytes = __builtin_bswap64(shifted);
          std::memcpy(output_->buffer() + output_->position, &bytes, sizeof bytes);
          output_->position += 8;
          pending_ = word & kept;
          i += 8;
          continue;
        }
      }
      const uint8_t byte = stuffed[i];
      i += byte == 0xFF ? 2 : 1;
      const uint64_t both = pending_ << 8 | byte;
      putByte(uint8_t(both >> count_));
      pending_ = both & kept;
    }
  }
  return Status::ok;
}

Status BitJoiner::append(std::span<const uint8_t> piece, const EndMark& mark) {
  // The last eight bytes as they were before stuffing: mark, filling and more.
  size_t from = piece.size();
  uint64_t tail = 0;
  int bits = 0;
  for (; from > 0 && bits < 64; bits += 8) {
    const bool isStuffed = from > 1 && piece[from - 1] == 0 && piece[from - 2] == 0xFF;
    from -= isStuffed ? 2 : 1;
    tail |= uint64_t{piece[from]} << bits;
  }
  const int filling = std::countr_one(tail) - mark.onesAtEnd();
  const int dropped = filling + mark.length();
  if (filling < 0 || filling > 7 || dropped > bits) return Status::libraryFailed;
  JPEG_RETURN_IF_ERROR(appendBytes(piece.first(from)));
  JPEG_RETURN_IF_ERROR(output_->makeRoom());
  put(tail >> dropped, bits - dropped);
  return Status::ok;
}

Status BitJoiner::finish() {
  JPEG_RETURN_IF_ERROR(output_->makeRoom());
  if (count_ > 0) put(0xFF, 8 - count_);
  return Status::ok;
}

}  // namespace jpeg
