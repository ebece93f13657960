/// @file
/// Files that are never half there.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

namespace report {

/// Makes a file as a whole or not at all: it is written beside its place first, so that what is
/// there may still be read. What is no plain file, such as a pipe, a device or a link, stays and is
/// written into.
/// @throws Error that names the file
void writeWhole(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace report
