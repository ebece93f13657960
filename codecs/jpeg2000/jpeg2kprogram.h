#pragma once
/// @file
/// What the program jpeg2kcodec does between its arguments and its exit code.

namespace j2k {

/// @return the exit code; errors are one line on standard error
int runProgram(int argc, const char* const* argv);

}  // namespace j2k
