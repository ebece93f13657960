#pragma once
/// @file
/// Warnings and exceptions: numbers, texts, and the way from where they are met to whoever listens.

#include <array>
#include <string>
#include <string_view>

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

/// Takes warnings; with `strict` the first one is an exception.
class Reporter {
 public:
  Reporter(Diagnostics& out, bool strict) : m_out(out), m_strict(strict) {}

  void warn(Diag number, const std::string& detail = {});
  /// Tells how often warnings came that were held back: a damaged stream may cause millions.
  void finish();
  void failed(const Failure& failure);
  Diagnostics& out() { return m_out; }

 private:
  static constexpr int shown = 4;

  Diagnostics& m_out;
  bool m_strict;
  std::array<int, 1000> m_count{};
};

}  // namespace j2k
