// Diagnostics on their way to whoever listens.
#include "diag.h"

#include <algorithm>
#include <utility>

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
  if (++m_count[size_t(number)] > shown) return;
  if (m_out != nullptr) {
    m_out->message(textOf(number), detail);
  } else {
    m_kept.push_back({number, detail});
  }
}

std::vector<Warning> Reporter::takeKept() {
  std::vector<Warning> kept = std::exchange(m_kept, {});
  if (kept.empty()) return kept;
  for (const DiagnosticText& text : texts) {
    const int count = std::exchange(m_count[size_t(text.number)], 0);
    if (count > shown) kept.push_back({Diag(text.number), {}, count - shown});
  }
  return kept;
}

void Reporter::warnOf(const std::vector<Warning>& kept) {
  for (const Warning& warning : kept) {
    if (warning.hidden == 0) {
      warn(warning.number, warning.detail);
    } else {
      m_count[size_t(warning.number)] += warning.hidden;
    }
  }
}

void Reporter::finish() {
  for (const DiagnosticText& text : texts) {
    int& count = m_count[size_t(text.number)];
    if (count > shown && m_out != nullptr)
      m_out->message(text, std::to_string(count - shown) + " more times");
    count = 0;
  }
}

void Reporter::failed(const Failure& failure) {
  finish();
  // A warning that ends the work, as it does when they are refused, is one no longer.
  DiagnosticText told = textOf(failure.number);
  told.severity = exception;
  if (m_out != nullptr) m_out->message(told, failure.detail);
}

}  // namespace j2k
