/// @file
/// Passes over the selected tests: the earlier ones measure quietly, the last one measures and
/// writes. What they measure of a row stays with its test.
#pragma once

#include <vector>

class tzTest;

/// Settles what the plan asks for against what this run can do: passes are for the method Spread,
/// and for runs that ask nothing before each test.
void tzSettlePasses();

/// Makes all passes of g_plan but the last over these tests; ends early when a signal came. Tests
/// that print facts are left out.
/// @param runOne  runs one test
void tzRunEarlierPasses(const std::vector<tzTest*>& tests, void (*runOne)(tzTest&));

/// When a signal came in a run with passes, what there is of the rows is still to be written; from
/// the first call on that finds so, nothing is measured any more.
/// @return false: there is no signal, or nothing to write
bool tzWritesRest();
