// Marker segments read and checked.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "markers.h"

namespace jpeg {
namespace {

bool startsWith(std::span<const uint8_t> bytes, std::string_view name) {
  return bytes.size() >= name.size() && std::memcmp(bytes.data(), name.data(), name.size()) == 0;
}

constexpr std::string_view kJfifName("JFIF\0", 5);
constexpr std::string_view kExifName("Exif\0", 5);
constexpr std::string_view kIccName("ICC_PROFILE\0", 12);
constexpr std::string_view kAdobeName("Adobe", 5);

/// Frame headers of processes that this codec does not have.
Status refusal(int marker) {
  switch (marker) {
    case 0xC9:
    case 0xCA:
    case 0xCB:
      return Status::arithmetic;
    case 0xC5:
    case 0xC6:
    case 0xC7:
    case 0xCD:
    case 0xCE:
    case 0xCF:
    case kDHP:
      return Status::hierarchical;
    case kSOF55:
      return Status::jpegLs;
    default:
      return Status::ok;
  }
}

Status checkPrecision(const Frame& frame) {
  const int bits = frame.precision;
  bool isKnown = bits == 8 || bits == 12;
  if (frame.process == Process::baseline) isKnown = bits == 8;
  if (frame.process == Process::lossless) isKnown = bits >= 2 && bits <= 16;
  return isKnown ? Status::ok : Status::unsupportedPrecision;
}

}  // namespace

Status MarkerReader::start() {
  // Some writers put bytes in front; a marker must follow what is to be taken for SOI.
  constexpr size_t kJunk = 1024;
  for (size_t at = 0; at + 2 < file_.size() && at < kJunk; ++at) {
    if (file_[at] != 0xFF || file_[at + 1] != kSOI || file_[at + 2] != 0xFF) continue;
    if (at > 0) warn(Status::extraBytes);
    position_ = at + 2;
    return Status::ok;
  }
  return Status::notJpeg;
}

/// The code of the next marker, position behind it; -1 at the end of the data.
int MarkerReader::nextMarker() {
  bool isExtra = false;
  while (position_ + 1 < file_.size()) {
    const auto* const found = static_cast<const uint8_t*>(
        std::memchr(file_.data() + position_, 0xFF, file_.size() - position_ - 1));
    if (found == nullptr) break;
    const size_t at = size_t(found - file_.data());
    isExtra |= at != position_;
    const int code = file_[at + 1];
    position_ = at + 1;
    if (code == 0xFF) continue;  // a fill byte
    ++position_;
    if (code == 0) {
      isExtra = true;
      continue;
    }
    if (isExtra) warn(Status::extraBytes);
    return code;
  }
  position_ = file_.size();
  return -1;
}

Status MarkerReader::next(Found* found) {
  for (;;) {
    const int marker = nextMarker();
    if (marker < 0 || marker == kEOI) {
      *found = marker < 0 ? Found::outOfData : Found::end;
      return Status::ok;
    }
    if (standsAlone(marker)) continue;
    if (position_ + 2 > file_.size()) continue;
    const size_t length = size_t(get16(file_, position_));
    if (length < 2) {
      warn(Status::badSegment);
      continue;
    }
    if (length > file_.size() - position_) {
      *found = Found::outOfData;
      position_ = file_.size();
      return refusal(marker);
    }
    const Payload payload = file_.subspan(position_ + 2, length - 2);
    position_ += length;
    if (marker == kSOS) {
      *found = Found::scan;
      return readScan(payload);
    }
    JPEG_RETURN_IF_ERROR(segment(marker, payload));
  }
}

Status MarkerReader::segment(int marker, Payload payload) {
  JPEG_RETURN_IF_ERROR(refusal(marker));
  if (marker >= kSOF0 && marker <= 0xC3) return readFrame(marker, payload);
  if (marker == kDQT) return readQuantisers(payload);
  if (marker == kDHT) return readHuffman(payload);
  if (marker == kDRI) {
    if (payload.size() < 2) {
      warn(Status::badSegment);
    } else {
      tables_.restartInterval = get16(payload, 0);
    }
  } else if (marker == kDNL) {
    readHeight(payload);
  } else if ((marker >= kAPP0 && marker <= kAPP15) || marker == kCOM) {
    readApp(marker, payload);
  }
  return Status::ok;
}

Status MarkerReader::readFrame(int marker, Payload payload) {
  if (hasFrame_) return Status::secondFrame;
  if (payload.size() < 6) return Status::badFrame;
  Frame frame;
  frame.process = Process(marker - kSOF0);
  frame.precision = payload[0];
  frame.height = get16(payload, 1);
  frame.width = get16(payload, 3);
  frame.componentCount = payload[5];
  if (frame.componentCount > kMaxComponents) return Status::manyComponents;
  if (payload.size() < 6 + 3 * size_t(frame.componentCount)) return Status::badFrame;
  if (payload.size() > 6 + 3 * size_t(frame.componentCount)) warn(Status::badSegment);
  for (int i = 0; i < frame.componentCount; ++i) {
    Component& c = frame.component[size_t(i)];
    const uint8_t* const entry = payload.data() + 6 + 3 * i;
    c.id = entry[0];
    c.h = entry[1] >> 4;
    c.v = entry[1] & 15;
    c.quantTable = entry[2];
  }
  JPEG_RETURN_IF_ERROR(checkPrecision(frame));
  JPEG_RETURN_IF_ERROR(frame.derive());
  frame_ = frame;
  hasFrame_ = true;
  return Status::ok;
}

Status MarkerReader::readScan(Payload payload) {
  if (!hasFrame_) return Status::noFrame;
  const size_t count = payload.empty() ? 0 : payload[0];
  if (count < 1 || count > kMaxComponents || payload.size() < 4 + 2 * count) {
    return Status::badScan;
  }
  if (payload.size() > 4 + 2 * count) warn(Status::badSegment);
  Scan scan;
  scan.componentCount = int(count);
  for (size_t i = 0; i < count; ++i) {
    int index = 0;
    while (index < frame_.componentCount &&
           frame_.component[size_t(index)].id != payload[1 + 2 * i]) {
      ++index;
    }
    for (size_t j = 0; j < i; ++j) {
      if (scan.component[j].index == index) return Status::badScan;
    }
    const int tables = payload[2 + 2 * i];
    if (index == frame_.componentCount || (tables & 0xCC) != 0) return Status::badScan;
    scan.component[i] = {index, tables >> 4, tables & 15};
  }
  scan.ss = payload[1 + 2 * count];
  scan.se = payload[2 + 2 * count];
  scan.ah = payload[3 + 2 * count] >> 4;
  scan.al = payload[3 + 2 * count] & 15;
  if (ScanGeometry::of(frame_, scan).blocksInUnit > kMaxBlocksInMcu) return Status::badScan;
  scan_ = scan;
  return Status::ok;
}

Status MarkerReader::readQuantisers(Payload payload) {
  while (!payload.empty()) {
    const int number = payload[0] & 15, isWide = payload[0] >> 4;
    const size_t bytes = isWide != 0 ? 128 : 64;
    if (number > 3 || isWide > 1 || payload.size() < 1 + bytes) {
      warn(Status::badSegment);
      return Status::ok;
    }
    Quantisers q;
    for (size_t i = 0; i < 64; ++i) {
      const int value = isWide != 0 ? get16(payload, 1 + 2 * i) : payload[1 + i];
      q[zigzag()[i]] = uint16_t(std::max(value, 1));
      if (value == 0) warn(Status::badSegment);
    }
    if (isWide != 0 && hasFrame_ && frame_.process == Process::baseline) {
      warn(Status::baselineTables);
    }
    tables_.quantisers[size_t(number)] = q;
    payload = payload.subspan(1 + bytes);
  }
  return Status::ok;
}

Status MarkerReader::readHuffman(Payload payload) {
  while (payload.size() >= 17) {
    const int number = payload[0] & 15, kind = payload[0] >> 4;
    HuffmanTable table;
    std::copy_n(payload.begin() + 1, 16, table.bits.begin());
    const size_t count = size_t(table.count());
    if (number > 3 || kind > 1 || count > 256 || payload.size() < 17 + count) {
      warn(Status::badSegment);
      return Status::ok;
    }
    std::copy_n(payload.begin() + 17, count, table.values.begin());
    payload = payload.subspan(17 + count);
    if (count == 0) {  // as good as no table
      warn(Status::badSegment);
      continue;
    }
    auto& slot = kind == 0 ? tables_.dc : tables_.ac;
    auto& version = kind == 0 ? tables_.dcVersion : tables_.acVersion;
    slot[size_t(number)] = table;
    ++version[size_t(number)];
  }
  if (!payload.empty()) warn(Status::badSegment);
  return Status::ok;
}

/// DNL: counts only where the frame header has left the height open.
void MarkerReader::readHeight(Payload payload) {
  if (payload.size() < 2 || !hasFrame_) {
    warn(Status::badSegment);
  } else if (frame_.height == 0) {
    frame_.height = get16(payload, 0);
    if (isError(frame_.derive())) warn(Status::badSegment);
  }
}

void MarkerReader::readJfif(Payload payload) {
  hasJfif_ = true;
  if (payload.size() < 14) return;
  density_ = {payload[7], get16(payload, 8), get16(payload, 10)};
  const size_t pixels = size_t(payload[12]) * payload[13] * 3;
  if (pixels == 0 || payload.size() < 14 + pixels) return;
  metadata_.jfifThumbnailWidth = payload[12];
  metadata_.jfifThumbnailHeight = payload[13];
  metadata_.jfifThumbnail.assign(payload.begin() + 14, payload.begin() + 14 + ptrdiff_t(pixels));
}

bool MarkerReader::isJfif(int marker, Payload payload) {
  return marker == kAPP0 && startsWith(payload, kJfifName);
}

bool MarkerReader::isAdobe(int marker, Payload payload) {
  return marker == kAPP0 + 14 && startsWith(payload, kAdobeName) && payload.size() >= 12;
}

void MarkerReader::readApp(int marker, Payload payload) {
  if (isJfif(marker, payload)) {
    readJfif(payload);
  } else if (isAdobe(marker, payload)) {
    adobeTransform_ = payload[11];
  } else if (marker == kAPP0 + 1 && startsWith(payload, kExifName) && payload.size() > 6 &&
             metadata_.exif.empty()) {
    metadata_.exif.assign(payload.begin() + 6, payload.end());
  } else if (marker == kAPP0 + 2 && startsWith(payload, kIccName) && payload.size() >= 14) {
    iccChunks_.emplace_back(payload[12], payload.subspan(14));
  } else {
    metadata_.other.push_back({uint8_t(marker), {payload.begin(), payload.end()}});
  }
}

void MarkerReader::finishMetadata() {
  std::ranges::stable_sort(iccChunks_, {}, [](const auto& chunk) { return chunk.first; });
  metadata_.icc.clear();
  int last = -1;
  for (const auto& [number, payload] : iccChunks_) {
    if (number == last) {
      warn(Status::badSegment);
      continue;
    }
    last = number;
    metadata_.icc.insert(metadata_.icc.end(), payload.begin(), payload.end());
  }
}

std::vector<Status> MarkerReader::takeWarnings() { return std::exchange(warnings_, {}); }

Color colorOf(const Frame& frame, bool hasJfif, int adobeTransform) {
  const auto isId = [&](int a, int b, int c) {
    return frame.component[0].id == a && frame.component[1].id == b && frame.component[2].id == c;
  };
  switch (frame.componentCount) {
    case 1:
      return Color::gray;
    case 3:
      if (frame.isLossless() && !hasJfif && adobeTransform != 1) return Color::rgb;
      if (hasJfif) return Color::ycbcr;
      if (adobeTransform >= 0) return adobeTransform == 0 ? Color::rgb : Color::ycbcr;
      return isId('R', 'G', 'B') ? Color::rgb : Color::ycbcr;
    case 4:
      return adobeTransform == 2 ? Color::ycck : Color::cmyk;
    default:
      return Color::unknown;
  }
}

int heightFromDnl(std::span<const uint8_t> file, size_t from) {
  for (size_t at = from; at + 5 < file.size(); ++at) {
    const auto* const found =
        static_cast<const uint8_t*>(std::memchr(file.data() + at, 0xFF, file.size() - at - 5));
    if (found == nullptr) return 0;
    at = size_t(found - file.data());
    const int code = file[at + 1];
    if (code == kDNL) return get16(file, at + 4);
    if (code != 0 && code != 0xFF && !isRestart(code)) return 0;
  }
  return 0;
}

}  // namespace jpeg
