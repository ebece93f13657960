// Calls indented by their depth.
#include "tztrace.h"

#include "tzostream.h"

// As early as the console that it writes to; see there.
[[gnu::init_priority(201)]] tzTrace g_trace;

void tzTrace::putLine(const char* direction, const tzString& name) {
  const tzString line = m_indent + "*****" + direction + name + "\n";
  m_text += line;
  g_ostrm << L_TRACE << line;
  if (g_ostrm.msgLevel() <= g_ostrm.outLevel()) g_ostrm.flush();
  g_ostrm << L_END;
}

void tzTrace::traceIn(const tzString& name) {
  m_indent += "*";
  putLine(" trace into   ", name);
  m_names.push_front(name);
}

void tzTrace::traceOut(const tzString& name) {
  putLine(" trace out of ", name);
  for (auto it = m_names.begin(); it != m_names.end(); ++it) {
    m_indent.resize(m_indent.length() - 1);
    if (!(*it == name)) continue;
    m_names.erase(m_names.begin(), ++it);
    return;
  }
}

tzString tzTrace::getCurName() const { return m_names.empty() ? tzString("") : m_names.front(); }
