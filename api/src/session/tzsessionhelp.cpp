// What the session prints instead of measuring: version, help, listing.

#include "tzcstream.h"
#include "tzmachine.h"
#include "tzregistry.h"
#include "tzreportlist.h"
#include "tzsession.h"

namespace {

constexpr const char* kLongName = "Tazmet, performance measurement of JPEG primitives, version ";
constexpr const char* kBuildDate = "Mar 16 2010";
constexpr const char* kIndent = "     ";

tzString indented(const tzString& text) {
  tzString out;
  bool lineStart = true;
  for (const char* c = text.c_str(); *c != 0; ++c) {
    if (lineStart) out += kIndent;
    out += *c;
    lineStart = *c == '\n';
  }
  return out;
}

tzString heading(const char* title, bool withHidden) {
  return tzString(title) + (withHidden ? " with hidden keys" : "") + "\n";
}

}  // namespace

bool tzSession::quickOutput() {
  const int kNoEnumerationAbove = 1;
  const bool help = m_hint != HINT_NONE;
  if (help || m_version) {
    g_ostrm << tzString("\n") + kLongName + TAZMET_VERSION + " " + kBuildDate + "\n";
  }
  if (help) {
    hint(m_hint, m_hintHidden);
    return true;
  }
  if (m_enumMode > kNoEnumerationAbove) {
    if (m_factsOnly && !m_version) g_ostrm << tzFactsText(tzMachineFacts());
    return m_version || m_factsOnly;
  }
  if (m_enumMode == 0 && !m_dontSort) tzGetTestList().sortFunc();
  listTests(m_enumMode);
  return true;
}

void tzSession::listTests(int mode) {
  const tzReportList report(tzGetTestList(), m_conditions, mode);
  g_ostrm << report;
  g_cstrm << report;
}

void tzSession::hint(char key, bool withHidden) {
  switch (key) {
    case HINT_QUICK:
      hint_quick(withHidden);
      break;
    case HINT_FULL:
      hint_full(withHidden);
      break;
    default:
      hint_descr(key);
      break;
  }
}

void tzSession::hint_quick(bool withHidden) {
  g_ostrm << heading("QUICK HELP", withHidden);
  for (const tzOption& option : m_options) {
    if (withHidden || !option.hidden) g_ostrm << option.helpLines();
  }
}

void tzSession::hint_full(bool withHidden) {
  g_ostrm << heading("EXTENDED HELP", withHidden);
  for (const tzOption& option : m_options) {
    if (withHidden || !option.hidden) {
      g_ostrm << option.helpLines() + indented(option.details()) + "\n";
    }
  }
}

void tzSession::hint_descr(char key) {
  const tzOption* option = getOption(key);
  if (option == nullptr) {
    g_ostrm << tzString("Key -") + key + " is not valid\n";
    return;
  }
  g_ostrm << tzString("EXTENDED KEY HELP\n") + option->helpLines();
  if (option->hidden) g_ostrm << "This is hidden key used by developers only\n";
  const tzString details = option->details();
  g_ostrm << (details.empty() ? tzString("No detailed description for this key\n")
                              : indented(details));
}
