// Samples as libjpeg's routines take them: an array of row pointers, rows aligned and followed by
// room for whole vectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

class PlaneRows {
 public:
  PlaneRows(int width, int height) : m_step((width + 127) / 64 * 64), m_bytes(size(height)) {
    const size_t shift = reinterpret_cast<uintptr_t>(m_bytes.data()) % 64;
    uint8_t* row = m_bytes.data() + 128 - shift;
    // One row more on both sides, which is the neighbouring row at the image's edge.
    m_rows.push_back(row);
    for (int y = 0; y < height; ++y, row += m_step) m_rows.push_back(row);
    m_rows.push_back(m_rows.back());
  }
  PlaneRows(const PlaneRows&) = delete;
  PlaneRows& operator=(const PlaneRows&) = delete;

  int step() const { return m_step; }
  uint8_t* data() { return m_rows[1]; }
  uint8_t** rows() { return m_rows.data() + 1; }

 private:
  size_t size(int height) const { return static_cast<size_t>(m_step) * height + 256; }

  int m_step;
  std::vector<uint8_t> m_bytes;
  std::vector<uint8_t*> m_rows;
};

}  // namespace bench
