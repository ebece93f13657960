#pragma once
/// @file
/// Whole JPEG files around the entropy coders: frames of coefficients, written and read scan by
/// scan with the functions under test.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "huffkit.h"

namespace huffkit {

struct Component {
  int h = 1, v = 1;
  int across = 0, down = 0;        ///< blocks in memory: whole MCUs
  int ownAcross = 0, ownDown = 0;  ///< blocks of a scan of its own
  std::vector<Block> blocks;
  int dcTable = 0, acTable = 0;
};

/// A frame as coefficients.
struct Frame {
  int width = 0, height = 0;
  bool isProgressive = false;
  std::vector<Component> components;

  int hMax() const { return highest(&Component::h); }
  int vMax() const { return highest(&Component::v); }
  int mcusAcross() const { return (width + 8 * hMax() - 1) / (8 * hMax()); }
  int mcusDown() const { return (height + 8 * vMax() - 1) / (8 * vMax()); }

  void layOut() {
    for (Component& c : components) {
      c.across = mcusAcross() * c.h;
      c.down = mcusDown() * c.v;
      c.ownAcross = (width * c.h + 8 * hMax() - 1) / (8 * hMax());
      c.ownDown = (height * c.v + 8 * vMax() - 1) / (8 * vMax());
      c.blocks.assign(size_t(c.across) * size_t(c.down), Block{});
    }
  }

 private:
  int highest(int Component::*factor) const {
    int value = 1;
    for (const Component& c : components) value = std::max(value, c.*factor);
    return value;
  }
};

/// Components, band and bits of one scan.
struct ScanHeader {
  std::vector<int> components;
  int ss = 0, se = 63, ah = 0, al = 0;
};

/// Calls unit(blocks) for each MCU of a scan, with the component and block of each of its blocks.
template <class Unit>
void forEachUnit(Frame& frame, const ScanHeader& scan, Unit unit) {
  using Place = std::pair<Component*, Block*>;
  if (scan.components.size() == 1) {
    Component& c = frame.components[size_t(scan.components[0])];
    for (int y = 0; y < c.ownDown; ++y) {
      for (int x = 0; x < c.ownAcross; ++x) {
        unit(std::vector<Place>{{&c, &c.blocks[size_t(y) * size_t(c.across) + size_t(x)]}});
      }
    }
    return;
  }
  for (int my = 0; my < frame.mcusDown(); ++my) {
    for (int mx = 0; mx < frame.mcusAcross(); ++mx) {
      std::vector<Place> places;
      for (const int i : scan.components) {
        Component& c = frame.components[size_t(i)];
        for (int b = 0; b < c.h * c.v; ++b) {
          const int y = my * c.v + b / c.h, x = mx * c.h + b % c.h;
          places.push_back({&c, &c.blocks[size_t(y) * size_t(c.across) + size_t(x)]});
        }
      }
      unit(places);
    }
  }
}

// ---- writing ----

inline void putMarker(Bytes* file, int code, const Bytes& segment) {
  const size_t length = segment.size() + 2;
  file->insert(file->end(), {0xFF, uint8_t(code), uint8_t(length >> 8), uint8_t(length)});
  file->insert(file->end(), segment.begin(), segment.end());
}

inline void putTable(Bytes* file, int place, const Table& table) {
  Bytes segment = {uint8_t(place)};
  size_t symbols = 0;
  for (const uint8_t count : table.bits) symbols += count;
  segment.insert(segment.end(), table.bits.begin(), table.bits.end());
  segment.insert(segment.end(), table.values.begin(), table.values.begin() + long(symbols));
  putMarker(file, 0xC4, segment);
}

/// One scan by the functions under test: statistics, tables of its own, stream, restart markers.
class ScanWriter {
 public:
  ScanWriter(Frame& frame, const ScanHeader& scan, int restart)
      : m_frame(frame), m_scan(scan), m_restart(restart), m_out(1 << 20) {}

  void write(Bytes* file) {
    walk([this](size_t i, const Block& b) { count(i, b); }, [this] { flushCount(); });
    for (size_t i = 0; i < m_scan.components.size(); ++i) {
      if (m_scan.ss == 0 && m_scan.ah == 0) putTable(file, int(i), makeSpec(m_dcCounts[i], &m_dc));
      if (m_scan.se > 0) putTable(file, 0x10 | int(i), makeSpec(m_acCounts[i], &m_ac));
    }
    Bytes header = {uint8_t(m_scan.components.size())};
    for (size_t i = 0; i < m_scan.components.size(); ++i) {
      header.push_back(uint8_t(m_scan.components[i] + 1));
      header.push_back(uint8_t(i << 4 | i));
    }
    header.insert(header.end(),
                  {uint8_t(m_scan.ss), uint8_t(m_scan.se), uint8_t(m_scan.ah << 4 | m_scan.al)});
    putMarker(file, 0xDA, header);
    walk([this](size_t i, const Block& b) { put(i, b); }, [this] { flush(); });
    file->insert(file->end(), m_out.bytes.begin(), m_out.bytes.begin() + m_out.position);
  }

 private:
  /// body(index of the component in the scan, block); between intervals and at the end, ends().
  template <class Body, class Ends>
  void walk(Body body, Ends ends) {
    std::fill(std::begin(m_previous), std::end(m_previous), 0);
    int units = 0, restarts = 0;
    forEachUnit(m_frame, m_scan, [&](const auto& places) {
      if (m_restart > 0 && units > 0 && units % m_restart == 0) {
        ends();
        m_out.bytes[size_t(m_out.position++)] = 0xFF;
        m_out.bytes[size_t(m_out.position++)] = uint8_t(0xD0 + restarts++ % 8);
        std::fill(std::begin(m_previous), std::end(m_previous), 0);
      }
      for (const auto& [component, block] : places) {
        const int index = int(component - m_frame.components.data());
        const auto found = std::find(m_scan.components.begin(), m_scan.components.end(), index);
        body(size_t(found - m_scan.components.begin()), *block);
      }
      ++units;
    });
    ends();
  }

  const Table& makeSpec(const std::array<int, 256>& counts,
                        std::vector<EncodeSpec<Library>>* specs) {
    Library::rawTable(counts.data(), m_table.bits.data(), m_table.values.data());
    specs->emplace_back(m_table);
    return m_table;
  }

  void count(size_t i, const Block& b) {
    RkdStatus s = rkdStsNoErr;
    if (!m_frame.isProgressive) {
      s = Library::count(b.data(), m_dcCounts[i].data(), m_acCounts[i].data(), &m_previous[i]);
    } else if (m_scan.ss == 0) {
      if (m_scan.ah == 0) {
        s = Library::countDCFirst(b.data(), m_dcCounts[i].data(), &m_previous[i], m_scan.al);
      }
    } else {
      s = bandCounter()(b.data(), m_acCounts[i].data(), m_scan.ss, m_scan.se, m_scan.al,
                        m_countState.get(), 0);
    }
    ASSERT_EQ(rkdStsNoErr, s);
  }
  void flushCount() {
    m_out.position = 0;  // this walk only counts
    if (m_frame.isProgressive && m_scan.ss > 0) {
      bandCounter()(nullptr, m_acCounts[0].data(), m_scan.ss, m_scan.se, m_scan.al,
                    m_countState.get(), 1);
    }
  }
  std::decay_t<decltype(Library::countACFirst)> bandCounter() const {
    return m_scan.ah == 0 ? Library::countACFirst : Library::countACRefine;
  }

  void put(size_t i, const Block& b) {
    uint8_t* const s = m_out.data();
    const int n = m_out.length();
    int* const at = &m_out.position;
    const auto state = m_state.get();
    RkdStatus status;
    if (!m_frame.isProgressive) {
      status = Library::encode(b.data(), s, n, at, &m_previous[i], m_dc[i].get(), m_ac[i].get(),
                               state, 0);
    } else if (m_scan.ss == 0) {
      status = m_scan.ah == 0 ? Library::encodeDCFirst(b.data(), s, n, at, &m_previous[i],
                                                       m_scan.al, m_dc[i].get(), state, 0)
                              : Library::encodeDCRefine(b.data(), s, n, at, m_scan.al, state, 0);
    } else {
      status =
          bandCoder()(b.data(), s, n, at, m_scan.ss, m_scan.se, m_scan.al, m_ac[0].get(), state, 0);
    }
    ASSERT_EQ(rkdStsNoErr, status);
  }
  void flush() {
    uint8_t* const s = m_out.data();
    if (m_frame.isProgressive && m_scan.ss > 0) {
      bandCoder()(nullptr, s, m_out.length(), &m_out.position, m_scan.ss, m_scan.se, m_scan.al,
                  m_ac[0].get(), m_state.get(), 1);
    } else {
      Library::encode(nullptr, s, m_out.length(), &m_out.position, nullptr, nullptr, nullptr,
                      m_state.get(), 1);
    }
  }
  std::decay_t<decltype(Library::encodeACFirst)> bandCoder() const {
    return m_scan.ah == 0 ? Library::encodeACFirst : Library::encodeACRefine;
  }

  Frame& m_frame;
  const ScanHeader& m_scan;
  int m_restart;
  Out m_out;
  Table m_table{};
  std::array<int, 256> m_dcCounts[4] = {}, m_acCounts[4] = {};
  std::vector<EncodeSpec<Library>> m_dc, m_ac;
  EncodeState<Library> m_state, m_countState;
  int m_previous[4] = {};
};

inline Bytes writeFile(Frame& frame, const std::vector<ScanHeader>& scans, int restart) {
  Bytes file = {0xFF, 0xD8};
  Bytes quantisers(65, 1);
  quantisers[0] = 0;
  putMarker(&file, 0xDB, quantisers);
  Bytes header = {8,
                  uint8_t(frame.height >> 8),
                  uint8_t(frame.height),
                  uint8_t(frame.width >> 8),
                  uint8_t(frame.width),
                  uint8_t(frame.components.size())};
  for (size_t i = 0; i < frame.components.size(); ++i) {
    const Component& c = frame.components[i];
    header.insert(header.end(), {uint8_t(i + 1), uint8_t(c.h << 4 | c.v), 0});
  }
  putMarker(&file, frame.isProgressive ? 0xC2 : 0xC1, header);
  if (restart > 0) putMarker(&file, 0xDD, {uint8_t(restart >> 8), uint8_t(restart)});
  for (const ScanHeader& scan : scans) ScanWriter(frame, scan, restart).write(&file);
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

// ---- reading ----

/// Decodes the scans of a file with the functions under test.
class Reader {
 public:
  explicit Reader(const Bytes& file) : m_in(file) {}

  Frame read() {
    m_in.position = 2;
    for (;;) {
      const int code = m_in.bytes.at(size_t(m_in.position) + 1);
      if (code == 0xD9) return m_frame;
      const int length =
          m_in.bytes.at(size_t(m_in.position) + 2) << 8 | m_in.bytes.at(size_t(m_in.position) + 3);
      const uint8_t* const segment = m_in.data() + m_in.position + 4;
      m_in.position += 2 + length;
      if (code == 0xC0 || code == 0xC1 || code == 0xC2) readFrame(segment, code == 0xC2);
      if (code == 0xC4) readTables(segment, segment + length - 2);
      if (code == 0xDD) m_restart = segment[0] << 8 | segment[1];
      if (code == 0xDA) readScan(segment);
      if (testing::Test::HasFatalFailure()) return m_frame;
    }
  }

 private:
  void readFrame(const uint8_t* s, bool isProgressive) {
    m_frame.isProgressive = isProgressive;
    m_frame.height = s[1] << 8 | s[2];
    m_frame.width = s[3] << 8 | s[4];
    for (int i = 0; i < s[5]; ++i) {
      Component c;
      c.h = s[7 + 3 * i] >> 4;
      c.v = s[7 + 3 * i] & 15;
      m_frame.components.push_back(c);
      m_ids.push_back(s[6 + 3 * i]);
    }
    m_frame.layOut();
  }
  void readTables(const uint8_t* s, const uint8_t* end) {
    while (s < end) {
      auto& place = m_tables[*s >> 4 & 1][*s & 3];
      Table table{};
      std::copy_n(++s, 16, table.bits.begin());
      int count = 0;
      for (const uint8_t n : table.bits) count += n;
      std::copy_n(s + 16, count, table.values.begin());
      s += 16 + count;
      place.emplace(table);
    }
  }
  void readScan(const uint8_t* s) {
    ScanHeader scan;
    for (int i = 0; i < s[0]; ++i) {
      const int index = int(std::find(m_ids.begin(), m_ids.end(), s[1 + 2 * i]) - m_ids.begin());
      scan.components.push_back(index);
      m_frame.components[size_t(index)].dcTable = s[2 + 2 * i] >> 4;
      m_frame.components[size_t(index)].acTable = s[2 + 2 * i] & 15;
    }
    s += 1 + 2 * s[0];
    scan.ss = s[0];
    scan.se = s[1];
    scan.ah = s[2] >> 4;
    scan.al = s[2] & 15;
    Library::decodeStateInit(m_state.get());
    std::array<int, 4> previous{};
    int units = 0;
    forEachUnit(m_frame, scan, [&](const auto& places) {
      if (m_restart > 0 && units > 0 && units % m_restart == 0) {
        EXPECT_EQ(0xD0 + (units / m_restart - 1) % 8, m_in.marker);
        m_in.position += 2;
        Library::decodeStateInit(m_state.get());
        previous.fill(0);
      }
      for (const auto& [component, block] : places) {
        const auto index = size_t(component - m_frame.components.data());
        ASSERT_EQ(rkdStsNoErr, take(scan, *component, block, &previous[index])) << units;
      }
      ++units;
    });
    EXPECT_GE(m_in.marker, 0xC0) << "the scan's end was not met";
  }
  RkdStatus take(const ScanHeader& scan, const Component& c, Block* block, int* previous) {
    const auto dc = [&] { return m_tables[0][c.dcTable].value().get(); };
    const auto ac = [&] { return m_tables[1][c.acTable].value().get(); };
    const uint8_t* const s = m_in.data();
    const int n = m_in.length();
    int* const at = &m_in.position;
    int16_t* const dst = block->data();
    if (!m_frame.isProgressive) {
      return Library::decode(s, n, at, dst, previous, &m_in.marker, dc(), ac(), m_state.get());
    }
    if (scan.ss == 0) {
      return scan.ah == 0
                 ? Library::decodeDCFirst(s, n, at, dst, previous, &m_in.marker, scan.al, dc(),
                                          m_state.get())
                 : Library::decodeDCRefine(s, n, at, dst, &m_in.marker, scan.al, m_state.get());
    }
    const auto function = scan.ah == 0 ? Library::decodeACFirst : Library::decodeACRefine;
    return function(s, n, at, dst, &m_in.marker, scan.ss, scan.se, scan.al, ac(), m_state.get());
  }

  In m_in;
  Frame m_frame;
  Bytes m_ids;  // of the components
  int m_restart = 0;
  std::optional<DecodeSpec<Library>> m_tables[2][4];
  DecodeState<Library> m_state;
};

/// Progressive scans of one component and of three: bands, refinements, interleaved DC.
inline const std::vector<ScanHeader> greyScans = {{{0}, 0, 0, 0, 1},  {{0}, 1, 5, 0, 2},
                                                  {{0}, 6, 63, 0, 2}, {{0}, 1, 63, 2, 1},
                                                  {{0}, 0, 0, 1, 0},  {{0}, 1, 63, 1, 0}};
inline const std::vector<ScanHeader> colourScans = {
    {{0, 1, 2}, 0, 0, 0, 1}, {{0}, 1, 5, 0, 2},  {{2}, 1, 63, 0, 1},      {{1}, 1, 63, 0, 1},
    {{0}, 6, 63, 0, 2},      {{0}, 1, 63, 2, 1}, {{0, 1, 2}, 0, 0, 1, 0}, {{2}, 1, 63, 1, 0},
    {{1}, 1, 63, 1, 0},      {{0}, 1, 63, 1, 0}};

}  // namespace huffkit
