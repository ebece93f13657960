#pragma once
/// @file
/// The registered tests of all suites, and their data outside any session.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "rktest.h"
#include "tzenv.h"
#include "tzostream.h"
#include "tzregistry.h"

namespace suitekit {

/// All of them, in the order of registration.
inline std::vector<rkTest*> suiteTests() {
  std::vector<rkTest*> tests;
  for (tzTest* test : tzGetTestList()) {
    if (auto* suiteTest = dynamic_cast<rkTest*>(test)) tests.push_back(suiteTest);
  }
  return tests;
}

/// The data of one test at one combination of values, outside any session.
class Prepared {
 public:
  /// @param values  of parameters by name; those that the test has not are left out
  Prepared(tzTest& test, const std::map<std::string, std::string>& values) : m_test(test) {
    setRkdEnvironment();
    g_ostrm.setOutLevel(0);
    rkVector::m_seed = rkVector::START_SEED;
    test.prepareParms();
    for (tzParameter* parm : test.parms()) {
      const auto value = values.find(parm->name().c_str());
      if (value != values.end()) {
        m_before.push_back({parm, parm->defaultString()});
        parm->translate(value->second.c_str());
      }
      parm->resetIterator();
      parm->firstValue();
    }
    m_good = test.initData();
  }
  ~Prepared() {
    m_test.flushData();
    for (const auto& [parm, values] : m_before) parm->translate(values);
    m_console.restore(g_ostrm);
  }
  Prepared(const Prepared&) = delete;
  Prepared& operator=(const Prepared&) = delete;
  bool good() const { return m_good; }

 private:
  const tzOStreamState m_console{g_ostrm};
  tzTest& m_test;
  std::vector<std::pair<tzParameter*, tzString>> m_before;
  bool m_good = false;
};

/// A size as all parameters that suites size their data by.
inline std::map<std::string, std::string> sized(const std::string& size) {
  return {{"ImageSize", size},
          {"Size", size},
          {"BlockSize", size},
          {"Length", size.substr(0, size.find('x'))}};
}

}  // namespace suitekit
