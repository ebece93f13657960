/// @file
/// Which runs measured the same thing in the same way.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

/// What figures depend on, as one text: for runs with the same one on one machine, rows may stand
/// beside each other. Keys that choose tests, files and what shows have no say.
std::string settingsIdentity(const Context& context);
/// The computer and its processor.
std::string machineIdentity(const Context& context);
/// Both.
std::string runIdentity(const Context& context);

}  // namespace report
