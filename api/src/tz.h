/// @file
/// Chief header of session and tests: everything that a suite unit needs, and the entry point.
#pragma once

#include "tzconditions.h"
#include "tzinfotests.h"
#include "tzkeyactions.h"
#include "tzkeys.h"
#include "tzregistry.h"
#include "tzsession.h"
#include "tztest.h"

/// The program: makes the default session unless a suite registered its own, runs it and frees all
/// tracked memory. `main` calls nothing else.
/// @return the exit code
int tzMain(int argc, char** argv);
