// Cells and lines of csv tables.
#include "tzcstream.h"

#include <algorithm>
#include <unordered_map>

[[gnu::init_priority(201)]] tzCStream g_cstrm;
[[gnu::init_priority(201)]] tzCStream g_qstrm;
[[gnu::init_priority(201)]] tzCStream g_ustrm;
[[gnu::init_priority(201)]] tzCStream g_mstrm;

namespace {

std::string oneLine(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

tzString oneCell(const tzString& text) {
  std::string cell = oneLine(text.str());
  std::replace(cell.begin(), cell.end(), ',', ';');
  return cell;
}

}  // namespace

tzCStream& tzCStream::operator<<(const tzString& text) {
  if (text == "\n") {
    lineOut(0);
  } else if (m_used < NUM_CELLS) {
    cell(m_used++) = oneCell(text);
  }
  return *this;
}

void tzCStream::putJoinedCells(const tzString& text) {
  if (m_used < NUM_CELLS) cell(m_used++) = oneLine(text.str());
}

void tzCStream::setColm(int i, const tzString& text) {
  if (i >= 0 && i < NUM_CELLS) cell(i) = oneCell(text);
}

bool tzCStream::getColm(int i, tzString& text) const {
  if (i < 0 || i >= NUM_CELLS) return false;
  text = m_cells[static_cast<std::size_t>(i)];
  return true;
}

void tzCStream::tableOut(int count) {
  std::string line;
  const int width = count == 0 ? m_used : count;
  for (int i = 0; i < width; ++i) {
    if (i > 0) line += ',';
    const bool filled = i < m_used && !cell(i).empty();
    line += filled ? cell(i).str() : "-";
  }
  line += '\n';
  put(line.data(), line.size());
  flush();
}

void tzCStream::lineOut(int count) {
  tableOut(count);
  ++m_lines;
  if (m_checkWidth > 0) {
    std::string row;
    for (int i = 0; i < m_checkWidth; ++i) row += cell(i).str() + '\n';
    m_written.push_back(std::move(row));
  }
  tableFlush();
}

void tzCStream::tableFlush() {
  m_used = 0;
  m_cells.fill(tzString(""));
}

void tzCStream::linePostpone() {
  m_postponed.push_back(m_cells);
  tableFlush();
}

void tzCStream::linePostponeOut(int count) {
  for (const Row& row : m_postponed) {
    m_cells = row;
    m_used = std::clamp(count, 0, NUM_CELLS);
    lineOut(count);
  }
  m_postponed.clear();
}

void tzCStream::pack(tzPacket& packet) const {
  tzTargets::pack(packet);
  packet << m_lines << m_postponed.size();
  for (const Row& row : m_postponed) {
    for (const tzString& text : row) packet << text;
  }
}

void tzCStream::unpack(tzPacket& packet) {
  tzTargets::unpack(packet);
  std::size_t count = 0;
  packet >> m_lines >> count;
  m_postponed.clear();
  for (std::size_t i = 0; i < count && packet.good(); ++i) {
    for (tzString& text : m_postponed.emplace_back()) packet >> text;
  }
}

void tzCStream::identicalLinesStart(int width) {
  m_checkWidth = std::clamp(width, 0, NUM_CELLS);
  m_written.clear();
}

bool tzCStream::identicalLinesStop() {
  if (m_checkWidth == 0 || m_written.empty()) return false;
  const bool found = identicalLinesCheck();
  identicalLinesStart(0);
  return found;
}

// The first pair is the one whose first line is the earliest.
bool tzCStream::identicalLinesCheck() const {
  const std::size_t count = m_written.size();
  std::unordered_map<std::string_view, std::size_t> later;  // nearest line below with these cells
  std::size_t first = count;
  std::size_t second = count;
  for (std::size_t i = count; i-- > 0;) {
    const auto [found, isNew] = later.try_emplace(m_written[i], i);
    if (isNew) continue;
    first = i;
    second = std::exchange(found->second, i);
  }
  if (first == count) return false;
  const std::size_t before = static_cast<std::size_t>(m_lines) - count;
  g_ostrm << L_WARN << " Performance table warning:\n"
          << " Lines " << before + first + 1 << " & " << before + second + 1
          << " have identical parameters\n"
          << L_ENDFLUSH;
  return true;
}
