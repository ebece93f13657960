// Marker segments listed, and files written again with other metadata.
#include "rewrite.h"

#include <cstring>

#include "markers.h"

namespace jpeg {
namespace {

/// Where the next marker stands at or behind a place; the file's size if nowhere.
size_t findMarker(std::span<const uint8_t> file, size_t at) {
  while (at + 1 < file.size()) {
    const void* const found = std::memchr(file.data() + at, 0xFF, file.size() - at - 1);
    if (found == nullptr) break;
    at = size_t(static_cast<const uint8_t*>(found) - file.data());
    if (file[at + 1] != 0 && file[at + 1] != 0xFF) return at;
    ++at;
  }
  return file.size();
}

bool isApp(int marker) { return (marker >= kAPP0 && marker <= kAPP15) || marker == kCOM; }

/// A file from its first scan to EOI, metadata apart.
Status writeScans(std::span<const uint8_t> file, size_t scan, ByteSink& bytes) {
  size_t from = scan, end = file.size();
  for (const MarkerSegment& s : segmentsOf(file, false)) {
    if (s.offset <= scan) continue;
    if (s.marker == kEOI) end = s.offset + 2;
    if (!isApp(s.marker)) continue;
    JPEG_RETURN_IF_ERROR(bytes.write(file.data() + from, s.offset - from));
    from = s.offset + 4 + s.payload.size();
  }
  return bytes.write(file.data() + from, end - from);
}

}  // namespace

std::vector<MarkerSegment> segmentsOf(std::span<const uint8_t> file, bool untilScan) {
  std::vector<MarkerSegment> segments;
  size_t at = findMarker(file, 0);
  while (at < file.size()) {
    const int marker = file[at + 1];
    const size_t body = at + 2;
    if (standsAlone(marker)) {
      if (!isRestart(marker)) segments.push_back({marker, at, {}});
      if (marker == kEOI) break;
      at = findMarker(file, body);
      continue;
    }
    if (body + 2 > file.size()) break;
    const size_t length = size_t(get16(file, body));
    if (length > file.size() - body) break;
    if (length >= 2) {
      segments.push_back({marker, at, file.subspan(body + 2, length - 2)});
      if (marker == kSOS && untilScan) break;
    }
    at = findMarker(file, body + std::max<size_t>(length, 2));
  }
  return segments;
}

Status readMetadata(std::span<const uint8_t> file, Metadata* metadata) {
  MarkerReader reader(file);
  JPEG_RETURN_IF_ERROR(reader.start());
  for (const MarkerSegment& s : segmentsOf(file, true)) {
    if (isApp(s.marker)) reader.readApp(s.marker, s.payload);
  }
  reader.finishMetadata();
  *metadata = std::move(reader.metadata());
  return Status::ok;
}

Status rewriteMetadata(std::span<const uint8_t> file, const Metadata& metadata, bool keepsRest,
                       ByteSink& bytes) {
  MarkerReader reader(file);
  JPEG_RETURN_IF_ERROR(reader.start());
  MarkerWriter front, rest;
  size_t scan = 0;
  front.alone(kSOI);
  for (const MarkerSegment& s : segmentsOf(file, true)) {
    if (s.marker == kSOS) scan = s.offset;
    if (s.marker == kSOS || standsAlone(s.marker)) continue;
    const bool isKept = !isApp(s.marker) || MarkerReader::isAdobe(s.marker, s.payload);
    if (isKept) {
      rest.segment(s.marker, s.payload);
    } else if (MarkerReader::isJfif(s.marker, s.payload) && s.payload.size() >= 14) {
      std::vector<uint8_t> jfif(s.payload.begin(), s.payload.end());
      if (metadata.jfifThumbnail.empty()) {
        jfif.resize(14);
        jfif[12] = jfif[13] = 0;
      }
      front.segment(s.marker, jfif);
    }
  }
  if (scan == 0) return Status::noScan;
  JPEG_RETURN_IF_ERROR(front.metadata(metadata));
  JPEG_RETURN_IF_ERROR(bytes.write(front.bytes().data(), front.bytes().size()));
  JPEG_RETURN_IF_ERROR(bytes.write(rest.bytes().data(), rest.bytes().size()));
  return keepsRest ? bytes.write(file.data() + scan, file.size() - scan)
                   : writeScans(file, scan, bytes);
}

}  // namespace jpeg
