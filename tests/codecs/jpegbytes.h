#pragma once
/// @file
/// Files of JPEG edited byte by byte.

#include <algorithm>

#include "jpegkit.h"

namespace jpegkit {

inline bool warnsOf(const Decoded& d, jpeg::Status status) {
  return std::ranges::find(d.warnings, status) != d.warnings.end();
}

/// Where the first marker of a kind stands; the file's size if nowhere.
inline size_t findMarker(const Bytes& file, int marker, size_t from = 2) {
  for (size_t at = from; at + 1 < file.size(); ++at) {
    if (file[at] == 0xFF && file[at + 1] == marker) return at;
  }
  return file.size();
}

inline Bytes without(Bytes file, int marker) {
  for (size_t at; (at = findMarker(file, marker)) < file.size();) {
    const size_t length = size_t(file[at + 2] << 8 | file[at + 3]) + 2;
    file.erase(file.begin() + ptrdiff_t(at), file.begin() + ptrdiff_t(at + length));
  }
  return file;
}

inline Bytes inserted(Bytes file, size_t at, const Bytes& bytes) {
  file.insert(file.begin() + ptrdiff_t(at), bytes.begin(), bytes.end());
  return file;
}

}  // namespace jpegkit
