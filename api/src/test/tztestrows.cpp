// The rows of a test: kept over passes, taken up again, told to whoever collects them.

#include "tzcache.h"
#include "tzchild.h"
#include "tzinterrupt.h"
#include "tzostream.h"
#include "tzpace.h"
#include "tzpacket.h"
#include "tzparm.h"
#include "tzpasses.h"
#include "tzplan.h"
#include "tzprogress.h"
#include "tzreference.h"
#include "tzresume.h"
#include "tztest.h"

namespace {

// What passes need to know of the rows that children measure.
class CarriedRows : public tzCarried {
 public:
  void pack(tzPacket& packet) const override {
    packet << g_plan.writesOnly;
    if (tzTest::m_pCurrentTest != nullptr) tzTest::m_pCurrentTest->packRow(packet);
  }
  void unpack(tzPacket& packet) override {
    packet >> g_plan.writesOnly;
    if (tzTest::m_pCurrentTest != nullptr) tzTest::m_pCurrentTest->unpackRow(packet);
  }
};

const CarriedRows carriedRows;

}  // namespace

void tzTest::packRow(tzPacket& packet) {
  packet << m_row << parmsText() << m_rowFresh;
  if (!m_rowFresh) return;
  m_rowFresh = false;
  std::string bytes;
  tzPack(m_rows[m_row], bytes);
  packet << bytes;
}

void tzTest::unpackRow(tzPacket& packet) {
  bool fresh = false;
  std::string bytes;
  packet >> m_row >> m_rowText >> fresh;
  if (!fresh) return;
  packet >> bytes;
  tzRow row;
  size_t at = 0;
  if (packet.good() && tzUnpack(bytes, at, row)) keepRow(m_row, row);
}

// "ImageSize=64x64 Table=q75"
tzString tzTest::parmsText() const {
  tzString text;
  for (const tzParameter* parm : m_parms) {
    const tzString& name = parm == m_cacheIterator ? m_cacheIterator->parm().name() : parm->name();
    if (name.empty()) continue;
    if (!text.empty()) text += " ";
    text += name + "=" + parm->valueString();
  }
  return text;
}

// In the last of several passes a signal ends the measuring, not the writing.
void tzTest::heedSignal() {
  if (!tzWritesRest()) tzInterrupt::check();
}

// What earlier passes know of the current combination. They may have met others: a size that is
// steered depends on what the data turn out to be.
tzRow tzTest::earlierRow() const {
  if (g_plan.passes < 2 || m_row >= m_rows.size()) return {};
  const tzRow& row = m_rows[m_row];
  return row.parameters == parmsText().str() ? row : tzRow();
}

// Hands the tool what there is.
// @return false when the row is done with that
bool tzTest::resumeRow(const tzRow& earlier) {
  m_tool.setEarlier(earlier.measurement);
  if (!g_plan.writesOnly) return true;
  if (tzIsFailure(earlier.result)) {
    m_tool.setVerdict(earlier.result, earlier.measurement.reason);
    judge(earlier.result);
    return false;
  }
  return !earlier.measurement.samples.empty();
}

void tzTest::tellRow(tzResult result) {
  tzRow row;
  row.measurement = m_tool.measurement();
  const bool told = !row.measurement.reason.empty() && !tzIsFailure(result);
  if (result != TZ_OK && !told) {
    const tzString& text = m_tool.resultText();
    row.measurement.reason = text.empty() ? tzResultString(result) : text.c_str();
  }
  row.parameters = parmsText().str();
  row.unit = getUnit().str();
  row.elements = getDivisor();
  row.result = result;
  keepRow(m_row, row);
}

void tzTest::keepRow(size_t number, const tzRow& row) {
  if (number >= m_rows.size()) m_rows.resize(number + 1);
  const double before = m_rows[number].measurement.seconds;
  const bool costly =
      g_plan.pass == 1 ? g_plan.isCostly(tzTool::seconds()) : m_rows[number].measurement.costly;
  m_rows[number] = row;
  m_rows[number].measurement.costly = costly;
  const tzMeasurement& measured = row.measurement;
  tzReferenceStream::note(measured.referenceBytes, measured.referenceClocks);
  tzPace::note(measured.width);
  g_plan.rowDone(tzTool::seconds(), measured.seconds - before);
  tzProgress::rowDone(number);
  m_rowBegin = tzTool::seconds();
  m_rowFresh = true;
}

// A row that the file of this run has already (tzResume) is told and tabled as it was measured.
// @return false when there is none
bool tzTest::takeEarlier() {
  if (!tzResume::isOn()) return false;
  const tzKnownRow* const earlier = tzResume::take(rowIdentity());
  if (earlier == nullptr) return false;
  if (m_quiet) {
    raiseResult(earlier->result);
    return true;
  }
  // A test without a cache iterator has not announced the row yet.
  std::unique_ptr<tzChild::Row> row;
  if (m_cacheIterator == nullptr) row = std::make_unique<tzChild::Row>(*this);
  m_earlier = earlier;
  m_tool.reset();
  m_verified = false;
  m_timingNote = tzString(earlier->note);
  if (earlier->result > TZ_OK) m_tool.setVerdict(earlier->result, tzString(earlier->reason));
  judge(earlier->result);
  m_earlier = nullptr;
  return true;
}

// The current row ended with its process: samples of earlier passes stay with it.
void tzTest::keepLost(const tzString& reason) {
  tzRow row;
  if (m_row < m_rows.size() && m_rows[m_row].parameters == m_rowText) row = m_rows[m_row];
  row.parameters = m_rowText;
  row.result = TZ_EXCPTFAIL;
  row.measurement.reason = reason.str();
  keepRow(m_row, row);
}

bool tzTest::hasSamples() const {
  for (const tzRow& row : m_rows) {
    if (!row.measurement.samples.empty() || tzIsFailure(row.result)) return true;
  }
  return false;
}
