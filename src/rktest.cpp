// The base of all suites: statuses, restoring, bounded repetitions.
#include "rktest.h"

#include <algorithm>

#include "rkverify.h"
#include "tzrequest.h"
#include "tzcstream.h"
#include "tzenv.h"
#include "tzmemory.h"
#include "tzostream.h"

bool rkTest::m_checkErrorsOnly = false;
bool rkTest::m_verifying = false;

namespace {

/// "TimjAdd//RK_REG", the name of a test.
tzString registrationText(const rkLine& line) {
  tzString text(line.className);
  text += line.text;
  return text;
}

// What the tool asks when it times the call function itself and there is no wrapper to ask.
tzResult checkStatusOfCall(int status) {
  const tzTest* test = tzTest::m_pCurrentTest;
  return rkTest::checkStatus(status, test != nullptr ? test->funcName() : tzString(""));
}

}  // namespace

rkTest::rkTest(const rkLine& line)
    : tzTest(line.call, line.init, line.loop, line.stat, line.name, line.source,
             registrationText(line)),
      m_line(line),
      m_func(line.name) {
  setVerify(rkVerify::verify);
  g_dataSeed = rkVector::START_SEED;
}

tzResult rkTest::run() {
  m_checkErrorsOnly = false;
  rkVector::m_seed = rkVector::START_SEED;
  m_verifiedParms.clear();
  tzTool::m_pCheckStatus = checkStatusOfCall;
  if (!m_line.present()) return runNotSupported("the library lacks the function");
  return tzTest::run();
}

int rkTest::compareFunc(const tzTest* other) const {
  return m_func.compare(rkFunc(other->funcName()));
}

bool rkTest::canContinue() {
  const bool more = tzTest::canContinue();
  m_before = dataState();
  return more;
}

bool rkTest::isFloatFunction() const {
  return tzTest::isFloatFunction() && (m_func.find("32f", 0) >= 0 || m_func.find("64f", 0) >= 0);
}

void rkTest::funcToCstrm() {
  g_cstrm << m_func.prefix() + m_func.baseName() << m_func.typeName() << m_func.descrName();
}

tzString rkTest::regInfo() const {
  const tzString info = tzTest::regInfo();
  const int at = info.find("TZ_", 0);
  return at < 0 ? info : info.substr(0, at) + "RK_" + info.substr(at + 3);
}

tzResult rkTest::checkStatus(RkdStatus status, const tzString& name) {
  if (status == 0 || (status > 0 && m_checkErrorsOnly)) return TZ_OK;
  const bool isError = status < 0;
  g_ostrm << (isError ? L_ERR : L_WARN) << (isError ? "--RKD ERROR. " : "--RKD WARNING. ")
          << "status = " << status;
  if (!name.empty()) g_ostrm << " in " << name;
  g_ostrm << ": " << rkd_GetStatusString(status) << "\n" << L_END;
  const bool isQuiet = g_ostrm.outLevel() < L_WARN;
  raiseResult(isError ? TZ_FUNCFAIL : isQuiet ? TZ_OK : TZ_FUNCWRN);
  return isError ? TZ_FUNCFAIL : TZ_FUNCWRN;
}

tzString rkTest::emptyRefusal() const {
  const bool empty = m_sizeParm != nullptr
                         ? m_sizeParm->value().width < 1 || m_sizeParm->value().height < 1
                         : m_lengthParm != nullptr && m_lengthParm->value() < 1;
  return empty ? "there is no sample" : "";
}

int rkTest::restoreOperands() {
  resetAllVectors();
  return 0;
}

rkTest::DataState rkTest::dataState() { return {rkVector::m_seed, m_vectorNum, m_vectorShift}; }

void rkTest::setDataState(const DataState& state) {
  rkVector::m_seed = state.seed;
  m_vectorNum = state.vectorNum;
  m_vectorShift = state.vectorShift;
}

void rkTest::printAllMemoryBlocks(const tzString& heading) const {
  tzTest::printAllMemoryBlocks(heading + " " + funcName());
}

// Whole up to the size of the smallest image, beyond it the beginning: the dump of a large image
// would take minutes to print and nobody reads it.
void rkTest::printData(const tzObject& object) const {
  constexpr int kMostWhole = 64 * 64;
  constexpr int kBeginning = 512;
  const auto* vector = dynamic_cast<const rkVector*>(&object);
  if (vector == nullptr || !vector->isCreated()) return;
  if (vector->length() <= kMostWhole) {
    g_ostrm << vector->getString();
    return;
  }
  const int shown = std::min(kBeginning, vector->getRowLen());
  g_ostrm << rkVector::getDataString(vector->type(), vector->getDataConst(), shown) << "     ... "
          << vector->length() - shown << " elements more\n";
}
