/// @file
/// Watches over the two floating-point control and status registers: which exceptions a measured
/// function raised, and whether it left the control fields as they were.
#pragma once

#include <cstdint>

#include "tzstring.h"

/// The six exception flags; both units have them in the same order in their status words.
enum tzFpFlag : uint32_t {
  FP_INVALID = 0x01,
  FP_DENORMAL = 0x02,
  FP_ZERODIVIDE = 0x04,
  FP_OVERFLOW = 0x08,
  FP_UNDERFLOW = 0x10,
  FP_INEXACT = 0x20,
  FP_ALL = 0x3F
};

/// The flags of a status word as text, "?Overflow _Inexact "; "Ok" when none is set. A question
/// mark stands before every flag that spoils a measurement: all but inexact.
tzString tzFpFlagsText(uint32_t status);

/// The x87 unit's registers.
class ts87Base {
 public:
  /// The process defaults that setDefault puts in force: those with which Linux starts a process,
  /// so that measured functions see what they see in any other program.
  static constexpr uint32_t Exception = 0x003F;  ///< all six masked
  static constexpr uint32_t Precision = 0x0300;  ///< 64-bit significands
  static constexpr uint32_t Rounding = 0x0000;   ///< to nearest
  static constexpr uint32_t Fields = 0x0F3F;     ///< the control fields that setDefault sets

  static uint32_t getCW();
  static uint32_t getSW();
  /// Sets the control bits under `mask` to those of `value`.
  static void set(uint32_t value, uint32_t mask);
  static void clear();              ///< clears the exception flags
  static void enableExceptions();   ///< unmasks all six
  static void disableExceptions();  ///< masks all six
  /// Masks exactly the exceptions that are raised now, and inexact.
  static void disableInexactException();
  static void setDefault();
};

/// The SIMD unit's register; control and status share it.
class tsSSXBase {
 public:
  static constexpr uint32_t Exception = 0x1F80;  ///< all six masked
  static constexpr uint32_t Rounding = 0x0000;   ///< to nearest
  static constexpr uint32_t Denormals = 0x0000;  ///< neither flushed to zero nor read as zero
  static constexpr uint32_t Fields = 0xFFC0;     ///< the control fields that setDefault sets

  static uint32_t getCW();  ///< the register without its exception flags
  static uint32_t getSW();  ///< the exception flags alone
  static void set(uint32_t value, uint32_t mask);
  static void clear();
  static void enableExceptions();
  static void disableExceptions();
  static void disableInexactException();
  static void setDefault();
};

/// The x87 watch: what all runs since init raised.
class tz87 : public ts87Base {
 public:
  void init();    ///< forgets everything and sets the unit to its default control word
  void start();   ///< before a run: clears the unit's exception flags
  void stop();    ///< after a run: adds the unit's words to the sticky ones
  void forget();  ///< clears the sticky words and the unit's flags, not the control word

  uint32_t stickySW() const { return m_status; }
  uint32_t stickyCW() const { return m_control; }
  tzString strSW() const;
  tzString strCW() const;  ///< "Prec64 Near" and the unmasked exceptions
  /// Whether any exception other than inexact was raised.
  bool badStatus() const;

 private:
  uint32_t m_status = 0;
  uint32_t m_control = 0;
};

/// The SIMD watch.
class tzSSX : public tsSSXBase {
 public:
  void init();
  void start();
  void stop();
  void forget();
  static uint32_t get();  ///< the whole register as it stands

  uint32_t sticky() const { return m_sticky; }
  tzString strExceptionState() const;
  tzString strCW() const;  ///< "Near", "FlushToZero", "DenormalsAreZero" and unmasked exceptions
  bool badStatus() const;

 private:
  uint32_t m_sticky = 0;
};

/// Both watches together. The timing tool brackets every run with start and stop; the test that
/// measures calls init before and asks bad afterwards, so both judge by the same sticky words.
class tzCtrlWatch {
 public:
  void init();
  void start();
  void stop();
  void forget();
  bool bad() const { return m_x87.badStatus() || m_ssx.badStatus(); }
  /// One line naming each unit whose status is bad, "-- x87 status: ?Overflow _Inexact \n"; empty
  /// when none is.
  tzString badText() const;

  const tz87& x87() const { return m_x87; }
  const tzSSX& ssx() const { return m_ssx; }

 private:
  tz87 m_x87;
  tzSSX m_ssx;
};

/// The watch of this process.
extern tzCtrlWatch g_ctrlWatch;

/// Puts the control fields of both units back at the end of its life to what they were at its
/// beginning, and clears the flags if that changed anything: one function's rounding mode or one
/// interrupted by a signal must not spoil the next.
class tzCtrlKeeper {
 public:
  tzCtrlKeeper() : m_x87(ts87Base::getCW()), m_ssx(tsSSXBase::getCW()) {}
  ~tzCtrlKeeper();
  tzCtrlKeeper(const tzCtrlKeeper&) = delete;
  tzCtrlKeeper& operator=(const tzCtrlKeeper&) = delete;

 private:
  uint32_t m_x87;
  uint32_t m_ssx;
};
