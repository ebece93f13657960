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

}  // namespace j2kkit
