/// @file
/// What a run of the method Spread says for people at its end.
#pragma once

class tzTestList;

/// The rows that are not OK with their reasons, and the rows whose samples spread most.
void tzPutRunSummary(const tzTestList& tests);
