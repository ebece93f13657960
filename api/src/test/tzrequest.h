/// @file
/// What the user asked of a run, as far as tests and reports want to know it.
#pragma once

#include "tzstring.h"

/// Filled by the session when its keys are applied.
struct tzRequest {
  bool asksTiming = false;        ///< the console is asked for the timing method (-ATiming)
  bool asksTests = false;         ///< and for each test's parameters (-AAll)
  bool namesInResults = false;    ///< parameter-name lines go into the result table (-q+)
  bool iniFunctionsOnly = false;  ///< only functions with a section in the ini file run (-P)
  tzString selection;             ///< the keys that choose what is measured, as given
  tzString program;               ///< file name of the executable
  bool compares = false;          ///< sides are compared (-D, -c): nothing is measured alone
};

extern tzRequest g_request;

/// The seed of the test data, for whoever reads the results; the suites' base class tells it.
extern long long g_dataSeed;
