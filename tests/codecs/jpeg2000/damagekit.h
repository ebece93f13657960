#pragma once
/// @file
/// Streams of a small picture, with fields changed and segments put in or taken out.

#include "j2kkit.h"

namespace j2kkit {

/// Where a marker stands, behind `from`.
inline size_t find(const Bytes& file, int marker, size_t from = 0) {
  for (size_t i = from; i + 1 < file.size(); ++i) {
    if (file[i] == marker >> 8 && file[i + 1] == (marker & 255)) return i;
  }
  ADD_FAILURE() << "no marker " << marker;
  return 0;
}

inline void put(Bytes& file, size_t at, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) file.at(at + size_t(i)) = uint8_t(value >> 8 * (bytes - 1 - i));
}

inline void insert(Bytes& file, size_t at, const Bytes& bytes) {
  file.insert(file.begin() + std::ptrdiff_t(at), bytes.begin(), bytes.end());
}

inline Picture small() { return photograph(40, 30); }

inline Bytes stream(const j2k::Options& asked = {}) {
  j2k::Options options = asked;
  options.rawStream = true;
  Picture picture = small();
  return encoded(picture, options);
}

inline Bytes boxed() {
  Picture picture = small();
  return encoded(picture, {});
}

constexpr int sizMarker = 0xFF51, codMarker = 0xFF52, qcdMarker = 0xFF5C, comMarker = 0xFF64,
              sotMarker = 0xFF90, sodMarker = 0xFF93;

/// A stream with a field of a marker segment changed.
inline Bytes edited(int marker, size_t offset, uint32_t value, int bytes) {
  Bytes file = stream();
  put(file, find(file, marker) + offset, value, bytes);
  return file;
}

/// A stream with a segment more, before the marker.
inline Bytes with(int before, const Bytes& segment) {
  Bytes file = stream();
  insert(file, find(file, before), segment);
  return file;
}

/// A stream without the segment.
inline Bytes without(int marker, int next) {
  Bytes file = stream();
  const size_t at = find(file, marker);
  file.erase(file.begin() + std::ptrdiff_t(at),
             file.begin() + std::ptrdiff_t(find(file, next, at)));
  return file;
}

inline Bytes boxOf(const char* type, const Bytes& content) {
  Bytes box = {0, 0, 0, uint8_t(content.size() + 8)};
  box.insert(box.end(), type, type + 4);
  box.insert(box.end(), content.begin(), content.end());
  return box;
}

/// Where a box tells its type, four bytes behind its start.
inline size_t typeAt(const Bytes& file, const char* type) {
  return std::string(file.begin(), file.end()).find(type);
}

/// A file with boxes at the end of its header super box.
inline Bytes withBoxes(Bytes file, const Bytes& boxes) {
  const size_t super = typeAt(file, "jp2h") - 4, stream = typeAt(file, "jp2c") - 4;
  put(file, super, uint32_t(stream - super + boxes.size()), 4);
  insert(file, stream, boxes);
  return file;
}

/// A picture of many packets with SOP markers.
inline Picture sopPicture() { return photograph(200, 160); }
inline Bytes sopStream() {
  Picture picture = sopPicture();
  j2k::Options options;
  options.rawStream = true;
  options.sop = true;
  options.precincts = {{0, 0, 32, 32}};
  options.blockWidth = options.blockHeight = 16;
  return encoded(picture, options);
}

}  // namespace j2kkit
