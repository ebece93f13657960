// The list of parameters, and what all kinds share.
#include "tzparm.h"

#include "tzcstream.h"
#include "tzistream.h"
#include "tzostream.h"

tzParameter::tzParameter(const tzString& name, const tzString& prompt) { setName(name, prompt); }

tzParameter::~tzParameter() = default;

void tzParameter::setName(const tzString& name, const tzString& prompt) {
  m_name = name;
  m_promptText = prompt.empty() ? name : prompt;
}

void tzParameter::setDeprecation(bool deprecated, const tzString& text) {
  m_deprecatedValue = deprecated;
  m_deprecationText = text;
}

void tzParameter::reset() { resetIterator(); }

tzString tzParameter::valueString() const { return tzString(); }

tzString tzParameter::defaultString() const { return valueString(); }

tzString tzParameter::validString() const { return tzString(); }

tzString tzParameter::description() const { return m_name + " = " + defaultString(); }

tzString tzParameter::prompt() const {
  const tzString valid = validString();
  return valid.empty() ? m_promptText : m_promptText + " {" + valid + "}";
}

void tzParameter::resetIterator() { m_running = false; }

bool tzParameter::firstValue() {
  resetIterator();
  return nextValue();
}

bool tzParameter::nextValue() {
  m_running = !m_running;
  return m_running;
}

bool tzParameter::isDeprecatedParm() const { return false; }

bool tzParameter::isDeprecatedValue() const { return m_deprecatedValue; }

bool tzParameter::setDeprecatedFlag(bool) {
  setDeprecation(false, "");
  return false;
}

void tzParameter::toOStream(tzOStream& os) const {
  if (!m_name.empty()) os << m_name + "=" + valueString() + " ";
}

int tzParameter::colmIndex() const { return -1; }

void tzParameter::putCell(tzCStream& cs, const tzString& text) const {
  const int column = colmIndex();
  if (column < 0) {
    cs << text;
  } else {
    cs.setColm(column, text);
  }
}

void tzParameter::toCStream(tzCStream& cs) const {
  tzString text;
  if (m_name.empty()) {
    // a silent parameter keeps its place with an empty cell
  } else if (m_deprecatedValue) {
    text = m_deprecationText;
  } else if (m_flags & QUOTED_CELL) {
    text = tzString(" \"") + valueString() + "\"";
  } else {
    text = valueString();
  }
  putCell(cs, text);
}

void tzParameter::nameToCStream(tzCStream& cs) const { putCell(cs, m_name); }

void tzParameter::translate(const tzString&) {}

/// Why `text` can't be used; nothing when it was taken.
std::optional<tzString> tzParameter::tryTranslate(const tzString& text) {
  std::optional<tzString> complaint;
  tsSignal guard;
  const bool returned = guard.call([&] {
    try {
      translate(text);
    } catch (const tzException& exception) {
      complaint = exception.info();
    }
  });
  if (!returned) complaint = guard.getInfo();
  return complaint;
}

bool tzParameter::tookAsGiven(const tzString& text) {
  m_replaced = false;
  const std::optional<tzString> complaint = tryTranslate(text);
  if (complaint) g_ostrm << L_ERR << "-" + *complaint + "\n" << L_END;
  if (complaint || m_replaced) tzMistakes::add();
  return !complaint && !m_replaced && !tzIsNothing<int>(text);
}

void tzParameter::fromIStream(tzIStream& is) {
  if (m_name.empty()) return;
  if (!m_readable) {
    g_ostrm << " " + description() + "\n";
    return;
  }
  const int outLevel = g_ostrm.outLevel();
  if (is.hasIStream()) g_ostrm.setOutLevel(L_ERR | L_WARN | L_PERF);
  const tzString text = is.getItemValue(m_name, defaultString(), prompt(), validString());
  if (!tookAsGiven(text)) is.writeBack(m_name, defaultString());
  g_ostrm << " " + description() + "\n";
  if (is.source() == tzIStream::SRC_CONSOLE) g_ostrm.flush();
  g_ostrm.setOutLevel(outLevel);
}
