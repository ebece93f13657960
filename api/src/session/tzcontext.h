/// @file
/// The first and the last line of a file of JSON Lines.
#pragma once

#include "tzjson.h"
#include "tzkeys.h"

class tzTestList;

/// The number of the schema that docs/results.schema.json tells. A reader of one number reads all
/// files of it; members may be added without a new one.
constexpr int kTzSchema = 1;

/// What the rows that follow were measured with: machine, keys, settings, libraries, build.
tzJson tzContextLine(const tzCommandList& keys, const tzTestList& tests);

/// How the run ended.
tzJson tzEndLine(const tzTestList& tests);
