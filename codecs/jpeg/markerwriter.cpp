// Marker segments written.
#include <algorithm>
#include <string_view>

#include "markers.h"

namespace jpeg {
namespace {

constexpr size_t kMaxPayload = 65533;
constexpr std::string_view kExifName("Exif\0\0", 6);
constexpr std::string_view kIccName("ICC_PROFILE\0", 12);

}  // namespace

void MarkerWriter::alone(int marker) {
  put8(0xFF);
  put8(marker);
}

void MarkerWriter::begin(int marker, int payload) {
  alone(marker);
  put16(payload + 2);
}

void MarkerWriter::segment(int marker, std::span<const uint8_t> payload) {
  begin(marker, int(payload.size()));
  bytes_.insert(bytes_.end(), payload.begin(), payload.end());
}

void MarkerWriter::jfif(const Density& density) {
  begin(kAPP0, 14);
  for (const char c : {'J', 'F', 'I', 'F', '\0'}) put8(c);
  put16(0x0102);
  put8(density.unit);
  put16(density.x);
  put16(density.y);
  put16(0);  // no thumbnail
}

void MarkerWriter::adobe(int transform) {
  begin(kAPP0 + 14, 12);
  for (const char c : {'A', 'd', 'o', 'b', 'e'}) put8(c);
  put16(100);
  put16(0);
  put16(0);
  put8(transform);
}

Status MarkerWriter::metadata(const Metadata& metadata) {
  // Extensions of JFIF come right behind it.
  for (const Metadata::Segment& s : metadata.other) {
    if (s.marker != kAPP0) continue;
    if (s.payload.size() > kMaxPayload) return Status::metadataTooLong;
    segment(s.marker, s.payload);
  }
  if (metadata.exif.size() + kExifName.size() > kMaxPayload) return Status::metadataTooLong;
  if (!metadata.exif.empty()) {
    begin(kAPP0 + 1, int(kExifName.size() + metadata.exif.size()));
    bytes_.insert(bytes_.end(), kExifName.begin(), kExifName.end());
    bytes_.insert(bytes_.end(), metadata.exif.begin(), metadata.exif.end());
  }
  const size_t chunk = kMaxPayload - kIccName.size() - 2;
  const size_t chunks = (metadata.icc.size() + chunk - 1) / chunk;
  if (chunks > 255) return Status::metadataTooLong;
  for (size_t i = 0; i < chunks; ++i) {
    const size_t from = i * chunk, count = std::min(chunk, metadata.icc.size() - from);
    begin(kAPP0 + 2, int(kIccName.size() + 2 + count));
    bytes_.insert(bytes_.end(), kIccName.begin(), kIccName.end());
    put8(int(i + 1));
    put8(int(chunks));
    const auto first = metadata.icc.begin() + ptrdiff_t(from);
    bytes_.insert(bytes_.end(), first, first + ptrdiff_t(count));
  }
  for (const Metadata::Segment& s : metadata.other) {
    if (s.marker == kAPP0) continue;
    if (s.payload.size() > kMaxPayload) return Status::metadataTooLong;
    segment(s.marker, s.payload);
  }
  return Status::ok;
}

void MarkerWriter::quantisers(int number, const Quantisers& quantisers) {
  const bool isWide = std::ranges::any_of(quantisers, [](uint16_t q) { return q > 255; });
  begin(kDQT, 1 + (isWide ? 128 : 64));
  put8((isWide ? 0x10 : 0) | number);
  for (const uint8_t at : zigzag()) {
    if (isWide) {
      put16(quantisers[at]);
    } else {
      put8(quantisers[at]);
    }
  }
}

void MarkerWriter::huffman(bool isAc, int number, const HuffmanTable& table) {
  const int count = table.count();
  begin(kDHT, 17 + count);
  put8((isAc ? 0x10 : 0) | number);
  bytes_.insert(bytes_.end(), table.bits.begin(), table.bits.end());
  bytes_.insert(bytes_.end(), table.values.begin(), table.values.begin() + count);
}

void MarkerWriter::frame(const Frame& frame) {
  constexpr Marker kMarkers[] = {kSOF0, kSOF1, kSOF2, kSOF3};
  begin(kMarkers[int(frame.process)], 6 + 3 * frame.componentCount);
  put8(frame.precision);
  put16(frame.height);
  put16(frame.width);
  put8(frame.componentCount);
  for (int i = 0; i < frame.componentCount; ++i) {
    const Component& c = frame.component[size_t(i)];
    put8(c.id);
    put8(c.h << 4 | c.v);
    put8(c.quantTable);
  }
}

void MarkerWriter::restartInterval(int units) {
  begin(kDRI, 2);
  put16(units);
}

void MarkerWriter::scan(const Frame& frame, const Scan& scan) {
  begin(kSOS, 4 + 2 * scan.componentCount);
  put8(scan.componentCount);
  for (int i = 0; i < scan.componentCount; ++i) {
    const ScanComponent& c = scan.component[size_t(i)];
    put8(frame.component[size_t(c.index)].id);
    put8(c.dcTable << 4 | c.acTable);
  }
  put8(scan.ss);
  put8(scan.se);
  put8(scan.ah << 4 | scan.al);
}

}  // namespace jpeg
