// Diagnostics on their way to whoever listens.
#include "diag.h"

#include <algorithm>

namespace j2k {
namespace {

constexpr Severity warning = Severity::warning;
constexpr Severity exception = Severity::exception;

constexpr DiagnosticText texts[] = {
#define J2K_DIAG_TEXT(number, name, severity, summary, text) {number, severity, summary, text},
    J2K_DIAGNOSTICS(J2K_DIAG_TEXT)
#undef J2K_DIAG_TEXT
};

const DiagnosticText& textOf(Diag number) {
  return *std::find_if(std::begin(texts), std::end(texts),
                       [number](const DiagnosticText& t) { return t.number == int(number); });
}

}  // namespace

std::span<const DiagnosticText> diagnosticTexts() { return texts; }

void Diagnostics::message(const DiagnosticText&, std::string_view) {}
void Diagnostics::line(std::string_view) {}

void Reporter::warn(Diag number, const std::string& detail) {
  if (m_strict) fail(number, detail);
  if (++m_count[size_t(number)] <= shown) m_out.message(textOf(number), detail);
}

void Reporter::finish() {
  for (const DiagnosticText& text : texts) {
    int& count = m_count[size_t(text.number)];
    if (count > shown) m_out.message(text, std::to_string(count - shown) + " more times");
    count = 0;
  }
}

void Reporter::failed(const Failure& failure) {
  finish();
  // A warning that ends the work, as it does when they are refused, is one no longer.
  DiagnosticText told = textOf(failure.number);
  told.severity = exception;
  m_out.message(told, failure.detail);
}

}  // namespace j2k
