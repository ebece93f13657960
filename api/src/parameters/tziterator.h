/// @file
/// The iterating parameters: a test runs once for every combination of their values.
#pragma once

#include "tzlistiterator.h"
#include "tzstepiterator.h"
#include "tzenumiterator.h"
#include "tzmapiterator.h"
