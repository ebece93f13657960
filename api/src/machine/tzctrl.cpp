// The control and status words of x87 and SSE: read, compared, put back.
#include "tzctrl.h"

#include <iterator>

namespace {

// Mask bits stand in the order of the flags: at bit 0 of the x87 control word, 7 bits above the
// flags in the SIMD register.
constexpr unsigned kSsxMaskShift = 7;

constexpr uint32_t kPrecisionField = 0x0300;
constexpr unsigned x87RoundingShift = 10;
constexpr unsigned kSsxRoundingShift = 13;
constexpr uint32_t kDenormalsAreZero = 0x0040;
constexpr uint32_t kFlushToZero = 0x8000;

struct FlagText {
  uint32_t flag;
  const char* text;
};
constexpr FlagText kFlagTexts[] = {
    {FP_INVALID, "?Invalid "},   {FP_DENORMAL, "?Denormal "},   {FP_ZERODIVIDE, "?Zerodivide "},
    {FP_OVERFLOW, "?Overflow "}, {FP_UNDERFLOW, "?Underflow "}, {FP_INEXACT, "_Inexact "},
};

const char* roundingText(uint32_t field) {
  static constexpr const char* texts[] = {"Near", "Down", "Up", "Zero"};
  return texts[field & 3];
}

const char* precisionText(uint32_t controlWord) {
  static constexpr const char* texts[] = {"Prec24 ", "Prec? ", "Prec53 ", "Prec64 "};
  return texts[(controlWord & kPrecisionField) >> 8];
}

tzString unmaskedText(uint32_t masks) {
  const uint32_t unmasked = ~masks & FP_ALL;
  return unmasked == 0 ? tzString("") : " unmasked: " + tzFpFlagsText(unmasked);
}

bool isBad(const tzString& description) { return description.find("?") >= 0; }

void loadX87(uint32_t controlWord) {
  const auto word = static_cast<uint16_t>(controlWord);
  __asm__ volatile("fldcw %0" : : "m"(word));
}

uint32_t loadedSsx() { return __builtin_ia32_stmxcsr(); }

}  // namespace

tzCtrlWatch g_ctrlWatch;

tzString tzFpFlagsText(uint32_t status) {
  tzString text("");
  for (const FlagText& entry : kFlagTexts) {
    if (status & entry.flag) text += entry.text;
  }
  return text.empty() ? tzString("Ok") : text;
}

// The forms of the x87 instructions without a wait are used wherever there is one: a pending
// unmasked exception would otherwise strike in the harness.

uint32_t ts87Base::getCW() {
  uint16_t word = 0;
  __asm__ volatile("fnstcw %0" : "=m"(word));
  return word;
}

uint32_t ts87Base::getSW() {
  uint16_t word = 0;
  __asm__ volatile("fnstsw %0" : "=m"(word));
  return word;
}

void ts87Base::set(uint32_t value, uint32_t mask) { loadX87((getCW() & ~mask) | (value & mask)); }
void ts87Base::clear() { __asm__ volatile("fnclex" : : : "memory"); }
void ts87Base::enableExceptions() { set(0, FP_ALL); }
void ts87Base::disableExceptions() { set(FP_ALL, FP_ALL); }
void ts87Base::disableInexactException() { set((getSW() & FP_ALL) | FP_INEXACT, FP_ALL); }

void ts87Base::setDefault() {
  clear();
  set(Exception | Precision | Rounding, Fields);
}

uint32_t tsSSXBase::getCW() { return loadedSsx() & ~uint32_t{FP_ALL}; }
uint32_t tsSSXBase::getSW() { return loadedSsx() & FP_ALL; }

void tsSSXBase::set(uint32_t value, uint32_t mask) {
  __builtin_ia32_ldmxcsr((loadedSsx() & ~mask) | (value & mask));
}

void tsSSXBase::clear() { set(0, FP_ALL); }
void tsSSXBase::enableExceptions() { set(0, FP_ALL << kSsxMaskShift); }
void tsSSXBase::disableExceptions() { set(FP_ALL << kSsxMaskShift, FP_ALL << kSsxMaskShift); }

void tsSSXBase::disableInexactException() {
  set((getSW() | FP_INEXACT) << kSsxMaskShift, FP_ALL << kSsxMaskShift);
}

void tsSSXBase::setDefault() {
  clear();
  set(Exception | Rounding | Denormals, Fields);
}

void tz87::init() {
  setDefault();
  m_status = 0;
  m_control = 0;
}

void tz87::start() { clear(); }

void tz87::stop() {
  m_status |= getSW();
  m_control |= getCW();
}

void tz87::forget() {
  clear();
  m_status = 0;
  m_control = 0;
}

tzString tz87::strSW() const { return tzFpFlagsText(m_status); }

tzString tz87::strCW() const {
  tzString text(precisionText(m_control));
  return text << roundingText(m_control >> x87RoundingShift) << unmaskedText(m_control);
}

bool tz87::badStatus() const { return isBad(strSW()); }

void tzSSX::init() {
  setDefault();
  m_sticky = 0;
}

void tzSSX::start() { clear(); }
void tzSSX::stop() { m_sticky |= get(); }

void tzSSX::forget() {
  clear();
  m_sticky = 0;
}

uint32_t tzSSX::get() { return loadedSsx(); }
tzString tzSSX::strExceptionState() const { return tzFpFlagsText(m_sticky); }

tzString tzSSX::strCW() const {
  tzString text(roundingText(m_sticky >> kSsxRoundingShift));
  if (m_sticky & kFlushToZero) text += " FlushToZero";
  if (m_sticky & kDenormalsAreZero) text += " DenormalsAreZero";
  return text << unmaskedText(m_sticky >> kSsxMaskShift);
}

bool tzSSX::badStatus() const { return isBad(strExceptionState()); }

void tzCtrlWatch::init() {
  m_x87.init();
  m_ssx.init();
}

void tzCtrlWatch::start() {
  m_x87.start();
  m_ssx.start();
}

void tzCtrlWatch::stop() {
  m_x87.stop();
  m_ssx.stop();
}

void tzCtrlWatch::forget() {
  m_x87.forget();
  m_ssx.forget();
}

tzString tzCtrlWatch::badText() const {
  tzString text("");
  if (m_x87.badStatus()) text << "-- x87 status: " << m_x87.strSW() << "\n";
  if (m_ssx.badStatus()) text << "-- SIMD status: " << m_ssx.strExceptionState() << "\n";
  return text;
}

tzCtrlKeeper::~tzCtrlKeeper() {
  // Flags go first: under masks that the function left open they would strike when these load.
  if (ts87Base::getCW() != m_x87) {
    ts87Base::clear();
    ts87Base::set(m_x87, 0xFFFF);
  }
  if (tsSSXBase::getCW() != m_ssx) __builtin_ia32_ldmxcsr(m_ssx);
}
