/// @file
/// Tests that are run, or asked, without anybody noticing.
#pragma once

#include "tzostream.h"
#include "tztest.h"

/// While it lives, nothing that a test does shows: neither on the console nor in a table.
class tzQuiet {
 public:
  tzQuiet()
      : m_level(g_ostrm.outLevel()), m_mistakes(tzMistakes::count()), m_before(tzTest::m_quiet) {
    g_ostrm.setOutLevel(0);
    tzTest::m_quiet = true;
  }
  ~tzQuiet() {
    tzTest::m_quiet = m_before;
    tzMistakes::reset(m_mistakes);
    g_ostrm.setOutLevel(m_level);
  }
  tzQuiet(const tzQuiet&) = delete;
  tzQuiet& operator=(const tzQuiet&) = delete;

 private:
  int m_level;
  int m_mistakes;
  bool m_before;
};
