/// @file
/// Files of JSON Lines against their schema.
#pragma once

#include <string>

#include "harnesskit.h"
#include "testpaths.h"

/// What the validator says of a file: "contexts rows ends cut", or the first breach.
inline std::string validated(const harnesskit::TempFolder& folder, const std::string& name) {
  const std::string here = TAZMET_TEST_DATA;
  return harnesskit::runProgram("/usr/bin/python3",
                                {here + "/validate_lines.py",
                                 here + "/../../docs/results.schema.json", folder.file(name)},
                                folder.path())
      .console;
}
