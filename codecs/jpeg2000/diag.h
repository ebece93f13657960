#pragma once
/// @file
/// Warnings and exceptions: numbers, texts, and the way from where they are met to whoever listens.

#include <array>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "diagtexts.h"
#include "jpeg2000.h"

namespace j2k {

/// Numbers of the catalogue by name.
enum class Diag : int {
#define J2K_DIAG_ENUM(number, name, severity, summary, text) name = (number),
  J2K_DIAGNOSTICS(J2K_DIAG_ENUM)
#undef J2K_DIAG_ENUM
};

/// Thrown inside the codec, caught at its public functions.
struct Failure {
  Diag number;
  std::string detail;
};

[[noreturn]] inline void fail(Diag number, std::string detail = {}) {
  throw Failure{number, std::move(detail)};
}

/// A warning that waits to be told.
struct Warning {
  Diag number;
  std::string detail;
  int hidden = 0;  ///< how many there were beyond those that are shown; 0: this one is
};

/// Takes warnings; with `strict` the first one is an exception.
class Reporter {
 public:
  Reporter(Diagnostics& out, bool strict) : m_out(&out), m_strict(strict) {}
  /// Keeps warnings for another one to tell.
  explicit Reporter(bool strict) : m_strict(strict) {}

  void warn(Diag number, const std::string& detail = {});
  /// What was kept since the last time, as far as it may be shown.
  std::vector<Warning> takeKept();
  /// Warns as if what another one kept had been met here.
  void warnOf(const std::vector<Warning>& kept);
  /// Tells how often warnings came that were held back: a damaged stream may cause millions.
  void finish();
  void failed(const Failure& failure);

 private:
  static constexpr int shown = 4;

  Diagnostics* m_out = nullptr;
  bool m_strict;
  std::array<int, 1000> m_count{};
  std::vector<Warning> m_kept;
};

/// Runs one step of the codec; what it throws becomes a message and a status. A status that it
/// throws is of something that has told its own.
template <typename Step>
Status guarded(Reporter& report, const Step& step) {
  try {
    step();
    report.finish();
    return Status::ok;
  } catch (const Failure& failure) {
    report.failed(failure);
  } catch (const std::bad_alloc&) {
    report.failed({Diag::outOfMemory, {}});
  } catch (Status) {
  }
  return Status::failed;
}

}  // namespace j2k
