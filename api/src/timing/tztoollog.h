/// @file
/// The verbose lines of one measurement. Part of the timing tool.
#pragma once

#include "tzostream.h"
#include "tzstring.h"

/// Collects lines; each writeInfo shows those since the one before to whoever wants detail, and
/// writeError shows all of them to whoever did not see them.
class tzToolLog {
 public:
  template <class T>
  tzToolLog& operator<<(const T& value) {
    m_lines << value;
    return *this;
  }

  void writeInfo() {
    if (detailShown()) g_ostrm << L_INFO << m_lines << L_END;
    m_info += m_lines;
    m_lines.clear();
  }

  void writeError() {
    writeInfo();
    // Compared as a number: traces were asked for without this detail, and do not get it.
    if (g_ostrm.outLevel() < L_INFO) g_ostrm << L_ERR << m_info << L_END;
    m_info.clear();
  }

 private:
  static bool detailShown() { return (g_ostrm.outLevel() & L_INFO) != 0; }

  tzString m_lines;
  tzString m_info;
};
