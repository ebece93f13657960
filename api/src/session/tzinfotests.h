/// @file
/// The harness's own tests, which print facts about the machine.
#pragma once

/// Appends the information tests (processor, operating system, host) to the test list. A session
/// calls it once, so that they run, are listed and are selected like any other test.
void tzRegInfoTests();
